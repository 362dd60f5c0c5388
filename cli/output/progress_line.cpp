#include "cli/output/progress_line.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>

namespace zorel::tools {

namespace {

constexpr std::chrono::milliseconds kInterval{100};

std::size_t TerminalColumns() {
    winsize size{};
    const bool known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    return known ? size.ws_col - 1U : 79U;
}

}  // namespace

CProgressLine::CProgressLine()
    : m_next(std::chrono::steady_clock::now() + kInterval),
      m_isTerminal(::isatty(STDERR_FILENO) == 1) {}

bool CProgressLine::IsDue() const {
    return m_isTerminal && std::chrono::steady_clock::now() >= m_next;
}

void CProgressLine::Show(const std::string& text) {
    if (!IsDue()) {
        return;
    }
    m_next = std::chrono::steady_clock::now() + kInterval;
    m_isShown = true;
    const std::string line = "\r" + text.substr(0, TerminalColumns()) + "\033[K";
    static_cast<void>(std::fputs(line.c_str(), stderr));
}

void CProgressLine::Clear() {
    if (m_isShown) {
        static_cast<void>(std::fputs("\r\033[K", stderr));
        m_isShown = false;
    }
}

}  // namespace zorel::tools

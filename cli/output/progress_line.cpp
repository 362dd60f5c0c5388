#include "cli/output/progress_line.h"

#include <cstdio>

#include "cli/output/terminal.h"

namespace zorel::cli {

namespace {

constexpr std::chrono::milliseconds kInterval{100};

}  // namespace

CProgressLine::CProgressLine()
    : m_next(std::chrono::steady_clock::now() + kInterval), m_isTerminal(IsErrorTerminal()) {}

bool CProgressLine::IsDue() const {
    return m_isTerminal && std::chrono::steady_clock::now() >= m_next;
}

void CProgressLine::Show(const std::string& text) {
    if (!IsDue()) {
        return;
    }
    m_next = std::chrono::steady_clock::now() + kInterval;
    m_isShown = true;
    const std::string line = "\r" + text.substr(0, ErrorTerminalColumns()) + "\033[K";
    static_cast<void>(std::fputs(line.c_str(), stderr));
}

void CProgressLine::Clear() {
    if (m_isShown) {
        static_cast<void>(std::fputs("\r\033[K", stderr));
        m_isShown = false;
    }
}

}  // namespace zorel::cli

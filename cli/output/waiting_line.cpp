#include "cli/output/waiting_line.h"

#include <chrono>
#include <utility>

#include "cli/output/progress_line.h"
#include "cli/output/terminal.h"

namespace zorel::cli {

CWaitingLine::CWaitingLine(std::string what) : m_what(std::move(what)) {
    if (IsErrorTerminal()) {
        m_thread = std::thread([this] { Run(); });
    }
}

CWaitingLine::~CWaitingLine() {
    if (m_thread.joinable()) {
        {
            const std::lock_guard guard(m_lock);
            m_isOver = true;
        }
        m_changed.notify_one();
        m_thread.join();
    }
}

void CWaitingLine::Run() {
    using std::chrono::steady_clock;
    CProgressLine line;
    const auto start = steady_clock::now();
    std::unique_lock guard(m_lock);
    while (
        !m_changed.wait_for(guard, std::chrono::milliseconds(500), [this] { return m_isOver; })) {
        const auto waited =
            std::chrono::duration_cast<std::chrono::seconds>(steady_clock::now() - start);
        line.Show(m_what + ", " + std::to_string(waited.count()) + " s");
    }
}

}  // namespace zorel::cli

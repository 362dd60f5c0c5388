// Shows on a terminal that a long call is still running.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace zorel::tools {

// While it lives, a line such as "Searching, 3 s" stands on the terminal behind standard
// error once the wait has lasted a moment; a thread of its own keeps it. Nothing is shown
// without a terminal.
class CWaitingLine {
public:
    explicit CWaitingLine(std::string what);
    CWaitingLine(const CWaitingLine&) = delete;
    CWaitingLine& operator=(const CWaitingLine&) = delete;
    ~CWaitingLine();

private:
    void Keep();

    std::string m_what;
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_isOver = false;
    std::thread m_thread;
};

}  // namespace zorel::tools

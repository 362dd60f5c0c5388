#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace zorel::cli {

// A progress line such as "Searching, 3 s" during a long call: shown from half a second after
// construction until destruction, by a thread of its own.
class CWaitingLine {
public:
    explicit CWaitingLine(std::string what);
    CWaitingLine(const CWaitingLine&) = delete;
    CWaitingLine& operator=(const CWaitingLine&) = delete;
    ~CWaitingLine();

private:
    void Run();

    std::string m_what;
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_isOver = false;
    std::thread m_thread;
};

}  // namespace zorel::cli

#pragma once

#include <functional>
#include <memory>
#include <stdexcept>

namespace zorel::cli {

// A write to a closed pipe or beyond a size limit fails, instead of ending the process.
void IgnoreWriteSignals();

// Ends a command that a signal has interrupted, after its unfinished files are removed.
class CInterrupted : public std::runtime_error {
public:
    CInterrupted() : std::runtime_error("interrupted") {}
};

// The exit code of a program that a signal has ended: 128 and its number, 130 for Ctrl-C. Only
// after a signal.
int InterruptExitCode();

// During its lifetime the signals that end a program only set a flag, so that the command
// can remove its unfinished files. Signals that were ignored stay ignored. At most one.
class CInterruptGuard {
public:
    CInterruptGuard();
    ~CInterruptGuard();
    CInterruptGuard(const CInterruptGuard&) = delete;
    CInterruptGuard& operator=(const CInterruptGuard&) = delete;

private:
    struct PreviousActions;
    std::unique_ptr<PreviousActions> m_previous;
};

// Whether such a signal has arrived.
bool IsInterrupted();

// During its lifetime a signal that ends a program calls `cleanUp` on a thread of its own and then
// ends the process with the exit code of the signal. For commands that wait for a long call of the
// library. Create it before other threads. At most one.
class CInterruptWatcher {
public:
    explicit CInterruptWatcher(std::function<void()> cleanUp);
    ~CInterruptWatcher();
    CInterruptWatcher(const CInterruptWatcher&) = delete;
    CInterruptWatcher& operator=(const CInterruptWatcher&) = delete;

private:
    struct Watch;
    std::unique_ptr<Watch> m_watch;
};

}  // namespace zorel::cli

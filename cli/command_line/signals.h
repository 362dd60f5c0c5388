#pragma once

#include <memory>

namespace zorel::cli {

// A write to a closed pipe or beyond a size limit fails, instead of ending the process.
void IgnoreWriteSignals();

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

}  // namespace zorel::cli

#include "cli/command_line/signals.h"

#include <csignal>

#include <iterator>

namespace zorel::cli {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

volatile sig_atomic_t g_isInterrupted = 0;

}  // namespace

struct CInterruptGuard::PreviousActions {
    struct sigaction actions[std::size(kSignals)];
};

void IgnoreWriteSignals() {
    static_cast<void>(::signal(SIGPIPE, SIG_IGN));
    static_cast<void>(::signal(SIGXFSZ, SIG_IGN));
}

CInterruptGuard::CInterruptGuard() : m_previous(std::make_unique<PreviousActions>()) {
    struct sigaction action {};
    action.sa_handler = [](int) { g_isInterrupted = 1; };
    for (std::size_t i = 0; i < std::size(kSignals); ++i) {
        struct sigaction& previous = m_previous->actions[i];
        ::sigaction(kSignals[i], nullptr, &previous);
        if (previous.sa_handler != SIG_IGN) {
            ::sigaction(kSignals[i], &action, nullptr);
        }
    }
}

CInterruptGuard::~CInterruptGuard() {
    for (std::size_t i = 0; i < std::size(kSignals); ++i) {
        ::sigaction(kSignals[i], &m_previous->actions[i], nullptr);
    }
}

bool IsInterrupted() {
    return g_isInterrupted != 0;
}

}  // namespace zorel::cli

#include "cli/command_line/signals.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>

#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <system_error>
#include <thread>
#include <utility>

namespace zorel::cli {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

volatile sig_atomic_t g_signal = 0;

constexpr int ExitCodeOf(int signal) {
    return 128 + signal;
}

}  // namespace

struct CInterruptGuard::PreviousActions {
    struct sigaction actions[std::size(kSignals)];
};

void IgnoreWriteSignals() {
    static_cast<void>(::signal(SIGPIPE, SIG_IGN));
    static_cast<void>(::signal(SIGXFSZ, SIG_IGN));
}

int InterruptExitCode() {
    return ExitCodeOf(g_signal);
}

CInterruptGuard::CInterruptGuard() : m_previous(std::make_unique<PreviousActions>()) {
    struct sigaction action {};
    action.sa_handler = [](int signal) { g_signal = signal; };
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
    return g_signal != 0;
}

// The signals are blocked in every thread and read from a descriptor.
struct CInterruptWatcher::Watch {
    explicit Watch(std::function<void()> action) : cleanUp(std::move(action)) {
        sigset_t wanted;
        sigemptyset(&wanted);
        for (const int signal : kSignals) {
            struct sigaction current {};
            ::sigaction(signal, nullptr, &current);
            if (current.sa_handler != SIG_IGN) {
                sigaddset(&wanted, signal);
            }
        }
        signals = ::signalfd(-1, &wanted, SFD_CLOEXEC);
        end = ::eventfd(0, EFD_CLOEXEC);
        if (signals < 0 || end < 0) {
            const std::system_error error(errno, std::generic_category(), "signals");
            Close();
            throw error;
        }
        ::pthread_sigmask(SIG_BLOCK, &wanted, &previous);
        thread = std::thread([this] { Run(); });
    }

    ~Watch() {
        ::eventfd_write(end, 1);
        thread.join();
        ::pthread_sigmask(SIG_SETMASK, &previous, nullptr);
        Close();
    }

    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    void Run() const {
        pollfd sources[] = {{signals, POLLIN, 0}, {end, POLLIN, 0}};
        while (::poll(sources, std::size(sources), -1) < 0) {
        }
        signalfd_siginfo info{};
        if (sources[0].revents != 0 && ::read(signals, &info, sizeof info) == sizeof info) {
            cleanUp();
            std::_Exit(ExitCodeOf(static_cast<int>(info.ssi_signo)));
        }
    }

    void Close() const {
        ::close(signals);
        ::close(end);
    }

    std::function<void()> cleanUp;
    int signals = -1;
    int end = -1;
    sigset_t previous{};
    std::thread thread;
};

CInterruptWatcher::CInterruptWatcher(std::function<void()> cleanUp)
    : m_watch(std::make_unique<Watch>(std::move(cleanUp))) {}

CInterruptWatcher::~CInterruptWatcher() = default;

}  // namespace zorel::cli

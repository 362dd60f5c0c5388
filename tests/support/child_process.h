// Functions that run in a child process, and limits for it.
#pragma once

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <functional>

namespace support {

// Runs `work` in a child process and returns its result (0 to 255); -1 when the child cannot be
// created or is killed. The child runs no destructors and reports no failed checks.
inline int RunInChild(const std::function<int()>& work) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(work());
    }
    int status = 0;
    return child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status)
               ? WEXITSTATUS(status)
               : -1;
}

// Limits the files of this process to `bytes`, permanently.
inline void LimitFileSize(std::uint64_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, bytes};
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

// Limits this process to `count` open files, permanently.
inline void LimitOpenFiles(std::uint64_t count) {
    const rlimit limit{count, count};
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

// The peak memory of this process in bytes; 0 with a sanitizer, which uses memory itself.
inline std::uint64_t PeakMemory() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return 0;
#else
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
#endif
}

}  // namespace support

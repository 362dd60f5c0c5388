// Fault injection for the file-system calls of a program on Linux: replaces the calls of the C
// library. For programs of one thread; included by one source file.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <ctime>
#include <functional>
#include <limits>
#include <map>
#include <random>
#include <ranges>
#include <string>
#include <utility>
#include <vector>

namespace support {

enum class EFault {
    FailOnce,      // the call fails, a write after half of its bytes
    FailFromThen,  // the call and all later ones fail
    ShortWrite,    // a write transfers half of its bytes; other calls succeed
    Delay,         // every call is delayed by a random time
    Kill,          // the process ends in the call, a write after half of its bytes
    PowerCut,      // as Kill, and half of the changes that were not flushed are lost
    PowerCutAll,   // as Kill, and all of these changes are lost
    PowerCutSome,  // as Kill, and each of these changes is lost or not, by chance
    Visit,         // `visit` runs before the call, which succeeds
};

// The changes of a file that were not flushed.
struct Unsynced {
    int descriptor = -1;
    off_t from = std::numeric_limits<off_t>::max();  // the start of the added content
    bool isExtended = false;                         // added by one change of the size
    std::vector<std::pair<off_t, std::string>>
        overwritten;  // the former bytes before it, for PowerCutAll
};

// A byte that cannot be read, in every file.
struct BadByte {
    off_t at = -1;       // -1: none
    bool once = false;   // only one read fails
    bool whole = false;  // a failing read does not deliver the bytes before it
};

// The calls of this process, counted since Arm.
struct DiskFaults {
    static constexpr int kDied = 77;  // the exit code of an ended process

    int step = 0;  // the number of the faulty call, from 1; 0: none
    int calls = 0;
    EFault fault = EFault::FailOnce;
    unsigned seed = 0;  // of PowerCutSome; when odd, a failing write ends at an even byte
    bool failNextWrite = false;
    bool refusesUnnamed = false;  // no file can be created without a name
    bool isDelayed = false;       // closing and setting times are counted, too
    BadByte badByte;
    std::function<void()> visit;
    std::function<void()> sleep;  // replaces pauses
    std::map<std::pair<dev_t, ino_t>, Unsynced> unsynced;
    // Source, target; without a source for a new name of a file.
    std::vector<std::pair<std::string, std::string>> unsyncedMoves;
    std::vector<std::string> unsyncedDeletions;

    void Arm(int atStep, EFault what) {
        step = atStep;
        calls = 0;
        fault = what;
    }
    // The number of calls since Arm.
    int Disarm() {
        step = 0;
        failNextWrite = isDelayed = false;
        return calls;
    }

    bool IsFaulty() {
        if (step == 0 || ++calls < step) {
            return false;
        }
        if (fault == EFault::Delay) {
            const timespec pause{0, static_cast<long>(std::random_device()() % 2'000'000)};
            ::syscall(SYS_nanosleep, &pause, nullptr);
            return false;
        }
        if (fault == EFault::Visit && calls == step) {
            step = 0;  // the calls of `visit` are not counted
            visit();
            step = calls;
        }
        return fault == EFault::FailFromThen || (fault != EFault::Visit && calls == step);
    }
    // True when this call has to fail, with errno.
    bool Fails(int code) {
        if (!IsFaulty() || fault == EFault::ShortWrite) {
            return false;
        }
        EndIfFatal();
        errno = code;
        return true;
    }
    // Makes a call of the system, unless it has to fail with `code`; 0: it cannot fail.
    template <class... Args>
    int Call(int code, long number, Args... args) {
        return code != 0 && Fails(code) ? -1 : static_cast<int>(::syscall(number, args...));
    }
    void EndIfFatal() {
        if (fault >= EFault::PowerCut) {
            CutPower();
        }
        if (fault >= EFault::Kill) {
            ::_exit(kDied);
        }
    }

    // Called before `length` bytes of an open file change, from `from` on; 0: all bytes.
    void BeforeChange(int descriptor, off_t from, off_t length = 0) {
        struct stat info {};
        if (step == 0 || fault < EFault::PowerCut || ::fstat(descriptor, &info) != 0) {
            return;
        }
        const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
        Unsynced& file = unsynced[{info.st_dev, info.st_ino}];
        if (file.descriptor < 0) {
            file.descriptor = Call(0, SYS_openat, AT_FDCWD, path.c_str(), O_RDWR | O_CLOEXEC);
        }
        const off_t end = std::min(info.st_size, from + length);
        if (fault >= EFault::PowerCutAll && from < end) {
            std::string bytes(static_cast<std::size_t>(end - from), '\0');
            ::syscall(SYS_pread64, file.descriptor, bytes.data(), bytes.size(), from);
            file.overwritten.emplace_back(from, std::move(bytes));
        }
        file.from = std::min(file.from, length == 0 ? from : std::max(from, info.st_size));
    }
    void BeforeResize(int descriptor, off_t length) {
        struct stat info {};
        const bool isExtended = ::fstat(descriptor, &info) == 0 && info.st_size < length;
        BeforeChange(descriptor, std::min(info.st_size, length));
        if (const auto file = unsynced.find({info.st_dev, info.st_ino}); file != unsynced.end()) {
            file->second.isExtended = isExtended;
        }
    }
    void Synced(int descriptor) {
        struct stat info {};
        if (::fstat(descriptor, &info) == 0 && S_ISDIR(info.st_mode)) {
            for (const auto& [source, target] : std::exchange(unsyncedMoves, {})) {
                ::syscall(SYS_unlinkat, AT_FDCWD, Lost(target).c_str(), 0);
            }
            for (const std::string& path : std::exchange(unsyncedDeletions, {})) {
                ::syscall(SYS_unlinkat, AT_FDCWD, Lost(path).c_str(), 0);
            }
        }
        if (const auto file = unsynced.extract({info.st_dev, info.st_ino})) {
            ::close(file.mapped().descriptor);
        }
    }
    // The name of a deleted or replaced file until the change is flushed.
    static std::string Lost(const std::string& path) { return path + ".lost~"; }
    void CutPower() {
        std::minstd_rand random(seed * 1000 + static_cast<unsigned>(step));
        const auto isKept = [&] { return fault == EFault::PowerCutSome && random() % 4 < 2; };
        // Half of the deletions: the first file exists again, the later ones do not.
        for (std::size_t i = 0; i < unsyncedDeletions.size(); ++i) {
            const std::string& path = unsyncedDeletions[i];
            if (fault == EFault::PowerCutSome ? !isKept() : i == 0) {
                ::syscall(SYS_renameat2, AT_FDCWD, Lost(path).c_str(), AT_FDCWD, path.c_str(), 1);
            }
        }
        for (; !unsyncedMoves.empty(); unsyncedMoves.pop_back()) {
            if (isKept()) {
                continue;
            }
            const auto& [source, target] = unsyncedMoves.back();
            source.empty()
                ? ::syscall(SYS_unlinkat, AT_FDCWD, target.c_str(), 0)
                : ::syscall(SYS_renameat2, AT_FDCWD, target.c_str(), AT_FDCWD, source.c_str(), 1);
            ::syscall(SYS_renameat2, AT_FDCWD, Lost(target).c_str(), AT_FDCWD, target.c_str(), 1);
        }
        for (const auto& [file, what] : unsynced) {
            for (const auto& [at, bytes] : what.overwritten | std::views::reverse) {
                if (!isKept()) {
                    ::syscall(SYS_pwrite64, what.descriptor, bytes.data(), bytes.size(), at);
                }
            }
            const off_t size = ::lseek(what.descriptor, 0, SEEK_END);
            const off_t lost = std::max<off_t>(size - what.from, 0);
            const off_t half = what.isExtended ? lost : lost / 2 | 1;
            const off_t kept = fault == EFault::PowerCut || isKept() ? half : 0;
            ::syscall(SYS_ftruncate, what.descriptor, std::min(size, what.from + kept));
        }
    }
};

inline DiskFaults g_diskFaults;

extern "C" {

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const bool isUnnamed = (flags & O_TMPFILE) == O_TMPFILE;
    const bool hasMode = isUnnamed || (flags & O_CREAT) != 0;
    const unsigned mode = hasMode ? va_arg(arguments, unsigned) : 0;
    va_end(arguments);
    if (isUnnamed && g_diskFaults.refusesUnnamed) {
        errno = EOPNOTSUPP;
        return -1;
    }
    return g_diskFaults.Call(EIO, SYS_openat, AT_FDCWD, path, flags, mode);
}

ssize_t read(int descriptor, void* buffer, std::size_t length) {
    BadByte& bad = g_diskFaults.badByte;
    const off_t before = bad.at < 0 ? -1 : bad.at - ::lseek(descriptor, 0, SEEK_CUR);
    if (before < 0 || before >= static_cast<off_t>(length)) {
        return ::syscall(SYS_read, descriptor, buffer, length);
    }
    if (before > 0 && !bad.whole) {
        return ::syscall(SYS_read, descriptor, buffer, before);
    }
    bad = bad.once ? BadByte() : bad;
    errno = EIO;
    return -1;
}

ssize_t write(int descriptor, const void* buffer, std::size_t length) {
    const off_t from = ::lseek(descriptor, 0, SEEK_CUR);
    g_diskFaults.BeforeChange(descriptor, from, static_cast<off_t>(length));
    const bool isSecondHalf = std::exchange(g_diskFaults.failNextWrite, false);
    if (!isSecondHalf && !g_diskFaults.IsFaulty()) {
        return ::syscall(SYS_write, descriptor, buffer, length);
    }
    const std::size_t odd = (length - 1) / 2 | 1;
    const std::size_t half = isSecondHalf ? 0 : odd - g_diskFaults.seed % 2;
    const ssize_t written = ::syscall(SYS_write, descriptor, buffer, half);
    g_diskFaults.EndIfFatal();
    g_diskFaults.failNextWrite = half != 0 && g_diskFaults.fault != EFault::ShortWrite;
    errno = ENOSPC;
    return half != 0 ? written : -1;
}

ssize_t copy_file_range(int in, off64_t* inAt, int out, off64_t* outAt, std::size_t length,
                        unsigned flags) {
    g_diskFaults.BeforeChange(out, ::lseek(out, 0, SEEK_CUR));
    return g_diskFaults.Call(ENOSPC, SYS_copy_file_range, in, inAt, out, outAt, length, flags);
}

int ftruncate(int descriptor, off_t length) noexcept {
    g_diskFaults.BeforeResize(descriptor, length);
    return g_diskFaults.Call(EIO, SYS_ftruncate, descriptor, length);
}

int fsync(int descriptor) {
    if (g_diskFaults.Fails(EIO)) {
        return -1;
    }
    g_diskFaults.Synced(descriptor);
    return g_diskFaults.Call(0, SYS_fsync, descriptor);
}

// A failing close reports a delayed write that failed.
int close(int descriptor) {
    struct stat info {};
    const bool fails = g_diskFaults.isDelayed && g_diskFaults.Fails(ENOSPC);
    if (fails && ::fstat(descriptor, &info) == 0 && S_ISREG(info.st_mode)) {
        ::syscall(SYS_ftruncate, descriptor, info.st_size / 4 * 2);  // fails if read-only
    }
    const int result = g_diskFaults.Call(0, SYS_close, descriptor);
    errno = fails ? ENOSPC : errno;
    return fails ? -1 : result;
}

int futimens(int descriptor, const timespec* times) noexcept {
    const int code = g_diskFaults.isDelayed ? EIO : 0;
    return g_diskFaults.Call(code, SYS_utimensat, descriptor, nullptr, times, 0);
}

int renameat2(int, const char* source, int, const char* target, unsigned flags) noexcept {
    if (g_diskFaults.step != 0 && g_diskFaults.fault >= EFault::PowerCut &&
        g_diskFaults.fault <= EFault::PowerCutSome) {
        // The replaced file exists until the rename is flushed.
        const std::string lost = g_diskFaults.Lost(target);
        g_diskFaults.Call(0, SYS_linkat, AT_FDCWD, target, AT_FDCWD, lost.c_str(), 0);
    }
    const int result =
        g_diskFaults.Call(EIO, SYS_renameat2, AT_FDCWD, source, AT_FDCWD, target, flags);
    if (result == 0 && g_diskFaults.step != 0) {
        g_diskFaults.unsyncedMoves.emplace_back(source, target);
    }
    return result;
}

int linkat(int, const char* source, int, const char* target, int flags) noexcept {
    const int result =
        g_diskFaults.Call(EIO, SYS_linkat, AT_FDCWD, source, AT_FDCWD, target, flags);
    if (result == 0 && g_diskFaults.step != 0) {
        g_diskFaults.unsyncedMoves.emplace_back("", target);
    }
    return result;
}

int rename(const char* source, const char* target) noexcept {
    return renameat2(AT_FDCWD, source, AT_FDCWD, target, 0);
}

int unlink(const char* path) noexcept {
    if (g_diskFaults.step == 0 ||
        (g_diskFaults.fault != EFault::PowerCut && g_diskFaults.fault != EFault::PowerCutSome)) {
        return g_diskFaults.Call(EIO, SYS_unlinkat, AT_FDCWD, path, 0);
    }
    const std::string lost = g_diskFaults.Lost(path);
    g_diskFaults.unsyncedDeletions.emplace_back(path);
    return g_diskFaults.Call(EIO, SYS_renameat2, AT_FDCWD, path, AT_FDCWD, lost.c_str(), 0);
}

int nanosleep(const timespec* pause, timespec* rest) {
    return g_diskFaults.sleep ? (g_diskFaults.sleep(), 0)
                              : g_diskFaults.Call(0, SYS_nanosleep, pause, rest);
}

}  // extern "C"

}  // namespace support

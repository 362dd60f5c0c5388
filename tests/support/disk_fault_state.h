// The faults that disk_faults.h injects. For programs of one thread.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
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
    off_t room = -1;              // bytes that the disk can still take; -1: any number
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

    // The bytes for which there is no room in a file that is to end at `end`. A write takes the
    // room there is, a change of the size all that it needs, and frees room.
    off_t Lack(int descriptor, off_t end, bool isWrite) {
        struct stat info {};
        ::fstat(descriptor, &info);
        const off_t growth = std::max<off_t>(end - info.st_size, isWrite ? 0 : -info.st_size);
        const off_t taken = std::min(growth, room);
        room -= isWrite || taken == growth ? taken : 0;
        return growth - taken;
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

}  // namespace support

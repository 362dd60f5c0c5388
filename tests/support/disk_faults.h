// Fault injection for the file-system calls of a program on Linux: replaces the calls of the C
// library. Included by one source file.
#pragma once

#include <cstdarg>

#include "support/disk_fault_state.h"

namespace support {

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
    if (g_diskFaults.room >= 0) {
        const off_t end = from + static_cast<off_t>(length);
        length -= static_cast<std::size_t>(g_diskFaults.Lack(descriptor, end, true));
        errno = ENOSPC;
        return length == 0 ? -1 : ::syscall(SYS_write, descriptor, buffer, length);
    }
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
    if (g_diskFaults.room >= 0) {
        errno = EXDEV;  // the caller writes
        return -1;
    }
    return g_diskFaults.Call(ENOSPC, SYS_copy_file_range, in, inAt, out, outAt, length, flags);
}

int ftruncate(int descriptor, off_t length) noexcept {
    g_diskFaults.BeforeResize(descriptor, length);
    if (g_diskFaults.room >= 0 && g_diskFaults.Lack(descriptor, length, false) != 0) {
        errno = ENOSPC;
        return -1;
    }
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
    struct stat info {};
    g_diskFaults.room += g_diskFaults.room >= 0 && ::stat(path, &info) == 0 ? info.st_size : 0;
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

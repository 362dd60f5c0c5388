// Times and attributes.
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <iterator>

#include "platform/errors.h"
#include "platform/files.h"
#include "platform/posix/attributes.h"
#include "platform/posix/errno_map.h"
#include "platform/posix/open_file.h"
#include "platform/posix/path.h"
#include "platform/posix/ticks.h"

namespace platform {

using posix::Fail;
using posix::FailErrno;
using posix::FileOf;
using posix::OpenFile;

namespace {

// Special values of a time to set.
constexpr std::int64_t kUnchanged = 0;
constexpr std::int64_t kKeepCurrent = -1;
constexpr std::int64_t kFollowChanges = -2;

bool IsValidTime(const std::int64_t* ticks) {
    return ticks == nullptr || *ticks >= kFollowChanges;
}

// The effect of a SetFileTime call on one of the times.
struct TimeChange {
    std::timespec set{0, UTIME_OMIT};
    std::timespec kept;

    TimeChange(const std::int64_t* ticks, const std::timespec& current,
               const std::timespec& keptNow)
        : kept(keptNow) {
        if (ticks == nullptr || *ticks == kUnchanged) {
            return;
        }
        if (*ticks == kKeepCurrent) {
            kept = current;
        } else if (*ticks == kFollowChanges) {
            kept = {0, UTIME_OMIT};
        } else {
            set = kept = posix::TimespecFromTicks(*ticks);
        }
    }
};

// Sets the times of an open file, also of one opened with O_PATH; 0 or -1.
int SetTimes(int descriptor, const std::timespec (&times)[2]) noexcept {
    if (::futimens(descriptor, times) == 0) {
        return 0;
    }
    if (errno != EBADF) {
        return -1;
    }
    char link[32] = "/proc/self/fd/";
    char* const number = link + std::strlen(link);
    *std::to_chars(number, std::end(link) - 1, descriptor).ptr = '\0';
    return ::utimensat(AT_FDCWD, link, times, 0);
}

}  // namespace

namespace posix {

std::int64_t CreationTicks(int folder, const char* name, int flags, const struct stat& info) {
    std::int64_t earliest =
        std::min({TicksFromTimespec(info.st_mtim), TicksFromTimespec(info.st_ctim),
                  TicksFromTimespec(info.st_atim)});
    struct statx more {};
    if (::statx(folder, name, flags, STATX_BTIME, &more) == 0 &&
        (more.stx_mask & STATX_BTIME) != 0) {
        const std::timespec birth{more.stx_btime.tv_sec, static_cast<long>(more.stx_btime.tv_nsec)};
        earliest = std::min(earliest, TicksFromTimespec(birth));
    }
    return earliest;
}

std::uint32_t AttributesOf(const struct stat& info) noexcept {
    const std::uint32_t kind = S_ISDIR(info.st_mode) ? kAttributeDirectory : kAttributeArchive;
    // The permissions of a link itself have no effect.
    const bool readOnly = !S_ISLNK(info.st_mode) && IsReadOnly(info);
    return readOnly ? kind | kAttributeReadOnly : kind;
}

}  // namespace posix

bool GetFileTime(FileHandle handle, std::int64_t* creation, std::int64_t* lastAccess,
                 std::int64_t* lastWrite) noexcept {
    const OpenFile* file = FileOf(handle);
    if (file == nullptr) {
        return false;
    }
    struct stat info {};
    if (::fstat(file->descriptor.Get(), &info) != 0) {
        return FailErrno();
    }
    if (creation != nullptr) {
        *creation = posix::CreationTicks(file->descriptor.Get(), "", AT_EMPTY_PATH, info);
    }
    if (lastAccess != nullptr) {
        *lastAccess = posix::TicksFromTimespec(info.st_atim);
    }
    if (lastWrite != nullptr) {
        *lastWrite = posix::TicksFromTimespec(info.st_mtim);
    }
    return true;
}

bool SetFileTime(FileHandle handle, const std::int64_t* creation, const std::int64_t* lastAccess,
                 const std::int64_t* lastWrite) noexcept {
    const OpenFile* file = FileOf(handle);
    if (file == nullptr) {
        return false;
    }
    if ((file->access & (kGenericWrite | kWriteAttributes)) == 0) {
        return Fail(win32err::kAccessDenied);
    }
    if (!IsValidTime(creation) || !IsValidTime(lastAccess) || !IsValidTime(lastWrite)) {
        return Fail(win32err::kInvalidParameter);
    }
    struct stat info {};
    if (::fstat(file->descriptor.Get(), &info) != 0) {
        return FailErrno();
    }
    std::timespec(&kept)[2] = file->state->keptTimes;
    const TimeChange access(lastAccess, info.st_atim, kept[0]);
    const TimeChange write(lastWrite, info.st_mtim, kept[1]);
    const std::timespec times[2] = {access.set, write.set};
    if (SetTimes(file->descriptor.Get(), times) != 0) {
        return FailErrno();
    }
    kept[0] = access.kept;
    kept[1] = write.kept;
    return true;
}

std::u16string FoldFileName(std::u16string_view name) {
    return std::u16string(name);
}

std::uint32_t GetFileAttributesW(std::u16string_view path) {
    const auto native = posix::NativePath(path);
    if (!native) {
        return kInvalidAttributes;
    }
    struct stat info {};
    if (::stat(native->c_str(), &info) != 0) {
        FailErrno(*native);
        return kInvalidAttributes;
    }
    return posix::AttributesOf(info);
}

bool SetFileAttributesW(std::u16string_view path, std::uint32_t attributes) {
    const auto native = posix::NativePath(path);
    if (!native) {
        return false;
    }
    struct stat info {};
    if (::stat(native->c_str(), &info) != 0) {
        return FailErrno(*native);
    }
    const bool readOnly = (attributes & kAttributeReadOnly) != 0;
    if (readOnly == posix::IsReadOnly(info)) {
        return true;
    }
    const mode_t mode = info.st_mode & 07777;
    const mode_t changed = readOnly ? mode & ~posix::kWriteBits : mode | S_IWUSR;
    return ::chmod(native->c_str(), changed) == 0 || FailErrno(*native);
}

}  // namespace platform

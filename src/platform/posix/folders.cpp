// Creating, removing and moving entries.
#include <fcntl.h>

#include <cerrno>
#include <cstdio>

#include "platform/errors.h"
#include "platform/files.h"
#include "platform/posix/copy.h"
#include "platform/posix/errno_map.h"
#include "platform/posix/open_file.h"
#include "platform/posix/path.h"

namespace platform {

using posix::Fail;
using posix::FailErrno;

namespace {

// An entry that the read-only attribute protects against removal and replacement.
bool IsProtected(const struct stat& info) {
    return !S_ISLNK(info.st_mode) && posix::IsReadOnly(info);
}

// Whether an entry may replace `target`. If so, `lock` excludes writers of `target`; if not,
// sets the last error.
bool MayReplace(const struct stat& source, const std::string& target, posix::CDescriptor& lock) {
    struct stat info {};
    if (::lstat(target.c_str(), &info) != 0) {
        return true;
    }
    const bool refused = S_ISDIR(info.st_mode) || S_ISDIR(source.st_mode) || IsProtected(info);
    return (!refused && posix::LockForRemoval(target, info, lock)) || Fail(win32err::kAccessDenied);
}

bool MoveToOtherVolume(const std::string& source, const std::string& target, std::uint32_t flags) {
    const bool failIfExists = (flags & kMoveReplaceExisting) == 0;
    if (!posix::CopyFileTo(source, target, failIfExists, (flags & kMoveWriteThrough) != 0)) {
        return Fail(GetLastError() == win32err::kFileExists ? win32err::kAlreadyExists
                                                            : GetLastError());
    }
    // The move succeeds even if the source cannot be removed, as documented for the call.
    ::unlink(source.c_str());
    return true;
}

bool SyncFolders(const std::string& source, const std::string& target) {
    const std::string from = posix::ParentFolder(source);
    const std::string to = posix::ParentFolder(target);
    return (posix::SyncFolder(to) && (from == to || posix::SyncFolder(from))) || FailErrno();
}

bool Move(const std::string& source, const std::string& target, std::uint32_t flags) {
    struct stat info {};
    if (::lstat(source.c_str(), &info) != 0) {
        return FailErrno(source);
    }
    const bool replace = (flags & kMoveReplaceExisting) != 0;
    posix::CDescriptor sourceLock;
    posix::CDescriptor targetLock;
    if (!posix::LockForRemoval(source, info, sourceLock) ||
        (replace && !MayReplace(info, target, targetLock))) {
        return false;
    }
    if ((replace ? ::rename(source.c_str(), target.c_str())
                 : posix::RenameWithoutReplacing(source.c_str(), target.c_str())) == 0) {
        return true;
    }
    if (errno == EXDEV && (flags & kMoveCopyAllowed) != 0 && S_ISREG(info.st_mode)) {
        targetLock.Reset();
        return MoveToOtherVolume(source, target, flags);
    }
    return FailErrno(target);
}

}  // namespace

namespace posix {

int RenameWithoutReplacing(const char* source, const char* target) noexcept {
    if (::renameat2(AT_FDCWD, source, AT_FDCWD, target, RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return -1;
    }
    struct stat info {};
    if (::lstat(target, &info) == 0) {
        errno = EEXIST;
        return -1;
    }
    return ::rename(source, target);
}

}  // namespace posix

bool CreateDirectoryW(std::u16string_view path) {
    const auto native = posix::NativePath(path);
    return native && (::mkdir(native->c_str(), 0777) == 0 || FailErrno(*native));
}

bool RemoveDirectoryW(std::u16string_view path) {
    const auto native = posix::NativePath(path);
    if (!native) {
        return false;
    }
    struct stat info {};
    if (::lstat(native->c_str(), &info) != 0) {
        return FailErrno(*native);
    }
    if (!S_ISDIR(info.st_mode)) {
        return Fail(win32err::kDirectory);
    }
    if (IsProtected(info)) {
        return Fail(win32err::kAccessDenied);
    }
    return ::rmdir(native->c_str()) == 0 || FailErrno(*native);
}

bool DeleteFileW(std::u16string_view path) {
    const auto native = posix::NativePath(path);
    if (!native) {
        return false;
    }
    struct stat info {};
    if (::lstat(native->c_str(), &info) != 0) {
        return FailErrno(*native);
    }
    if (S_ISDIR(info.st_mode) || IsProtected(info)) {
        return Fail(win32err::kAccessDenied);
    }
    posix::CDescriptor lock;
    return posix::LockForRemoval(*native, info, lock) &&
           (::unlink(native->c_str()) == 0 || FailErrno(*native));
}

bool MoveFileExW(std::u16string_view source, std::u16string_view target, std::uint32_t flags) {
    const auto from = posix::NativePath(source);
    if (!from) {
        return false;
    }
    const auto to = posix::NativePath(target);
    if (!to || !Move(*from, *to, flags)) {
        return false;
    }
    return (flags & kMoveWriteThrough) == 0 || SyncFolders(*from, *to);
}

}  // namespace platform

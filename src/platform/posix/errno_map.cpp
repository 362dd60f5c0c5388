#include "platform/posix/errno_map.h"

#include <sys/stat.h>

#include <cerrno>

#include "platform/errors.h"
#include "platform/posix/path.h"

namespace platform::posix {

namespace {

bool IsFolder(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace

std::uint32_t Win32FromErrno(int error) noexcept {
    switch (error) {
        case 0:
            return win32err::kSuccess;
        case ENOENT:
        case ESTALE:
            return win32err::kFileNotFound;
        case ENOTDIR:
            return win32err::kPathNotFound;
        case EMFILE:
        case ENFILE:
            return win32err::kTooManyOpenFiles;
        case EACCES:
        case EPERM:
        case EISDIR:
            return win32err::kAccessDenied;
        case EBADF:
            return win32err::kInvalidHandle;
        case ENOMEM:
            return win32err::kNotEnoughMemory;
        case EXDEV:
            return win32err::kNotSameDevice;
        case EROFS:
            return win32err::kWriteProtect;
        case EWOULDBLOCK:
        case ETXTBSY:
            return win32err::kSharingViolation;
        case ENOSYS:
        case EOPNOTSUPP:
            return win32err::kNotSupported;
        case EINVAL:
        case EFAULT:
            return win32err::kInvalidParameter;
        case ENOSPC:
        case EDQUOT:
            return win32err::kDiskFull;
        case ENOTEMPTY:
            return win32err::kDirNotEmpty;
        case EBUSY:
            return win32err::kBusy;
        case EEXIST:
            return win32err::kAlreadyExists;
        case ENAMETOOLONG:
            return win32err::kFilenameTooLong;
        case EFBIG:
        case EOVERFLOW:
            return win32err::kFileTooLarge;
        case EIO:
            return win32err::kIoDevice;
        case ELOOP:
            return win32err::kCantResolveFilename;
        default:
            return win32err::kGenFailure;
    }
}

std::uint32_t Win32FromErrno(int error, const std::string& path) {
    if (error == ENOENT && !IsFolder(ParentFolder(path))) {
        return win32err::kPathNotFound;
    }
    return Win32FromErrno(error);
}

bool Fail(std::uint32_t code) noexcept {
    SetLastError(code);
    return false;
}

bool FailErrno() noexcept {
    return Fail(Win32FromErrno(errno));
}

bool FailErrno(const std::string& path) {
    return Fail(Win32FromErrno(errno, path));
}

}  // namespace platform::posix

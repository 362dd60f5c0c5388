#include "platform/posix/copy.h"

#include <array>
#include <cerrno>

#include "platform/errors.h"
#include "platform/files.h"
#include "platform/posix/errno_map.h"
#include "platform/posix/open_file.h"
#include "platform/posix/path.h"

namespace platform {

namespace posix {

namespace {

constexpr std::size_t kBlock = 64 * 1024;  // bytes

bool WriteAll(int target, const char* data, std::size_t length) noexcept {
    while (length > 0) {
        const ssize_t count = ::write(target, data, length);
        if (count > 0) {
            data += count;
            length -= static_cast<std::size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            errno = count == 0 ? ENOSPC : errno;
            return false;
        }
    }
    return true;
}

bool CopyByReading(int source, int target) noexcept {
    std::array<char, kBlock> block;
    for (;;) {
        const ssize_t count = ::read(source, block.data(), block.size());
        if (count == 0) {
            return true;
        }
        if (count < 0 && errno != EINTR) {
            return false;
        }
        if (count > 0 && !WriteAll(target, block.data(), static_cast<std::size_t>(count))) {
            return false;
        }
    }
}

// Copies from the file positions on. Content that copy_file_range does not copy (another
// volume, a special file, a file with size 0 that has content) is read and written.
bool CopyContent(int source, int target) noexcept {
    constexpr std::size_t kMaxPiece = std::size_t{1} << 30;
    ssize_t count = 0;
    do {
        count = ::copy_file_range(source, nullptr, target, nullptr, kMaxPiece, 0);
    } while (count > 0 || (count < 0 && errno == EINTR));
    if (count < 0 && (errno == ENOSPC || errno == EDQUOT || errno == EIO || errno == EFBIG)) {
        return false;
    }
    return CopyByReading(source, target);
}

// The read-only attribute and the last-write time.
bool CopyAttributes(const struct stat& source, const Opened& target) noexcept {
    if (!S_ISREG(target.info.st_mode)) {
        return true;
    }
    const int descriptor = target.descriptor.Get();
    const mode_t mode = target.info.st_mode & 07777 & ~kWriteBits;
    if (IsReadOnly(source) && !IsReadOnly(target.info) && ::fchmod(descriptor, mode) != 0) {
        return false;
    }
    const std::timespec times[2] = {{0, UTIME_OMIT}, source.st_mtim};
    return ::futimens(descriptor, times) == 0;
}

}  // namespace

Opened OpenToCopy(const std::string& source, std::uint32_t flags) {
    return OpenShared({source, kGenericRead, kShareRead | kShareWrite, kOpenExisting, flags});
}

bool CopyOpened(const Opened& source, const Opened& target, bool sync) noexcept {
    const int descriptor = target.descriptor.Get();
    return Truncate(descriptor) && CopyContent(source.descriptor.Get(), descriptor) &&
           CopyAttributes(source.info, target) && (!sync || ::fsync(descriptor) == 0);
}

bool CopyFileTo(const std::string& source, const std::string& target, bool failIfExists,
                bool sync) {
    const Opened from = OpenToCopy(source, 0);
    if (!from.descriptor) {
        return false;
    }
    Opened to = OpenShared({target, kGenericWrite, 0, failIfExists ? kCreateNew : kOpenAlways, 0,
                            from.info.st_mode & 0777});
    if (!to.descriptor) {
        return false;
    }
    if (to.info.st_dev == from.info.st_dev && to.info.st_ino == from.info.st_ino) {
        return Fail(win32err::kSharingViolation);
    }
    // Some file systems report a failed write at the close only.
    if (CopyOpened(from, to, sync) && (::close(to.descriptor.Detach()) == 0 || errno == EINTR)) {
        return true;
    }
    const std::uint32_t code = Win32FromErrno(errno);
    if (to.created) {
        ::unlink(target.c_str());
    }
    return Fail(code);
}

}  // namespace posix

bool CopyFileW(std::u16string_view source, std::u16string_view target, bool failIfExists) {
    const auto from = posix::NativePath(source);
    if (!from) {
        return false;
    }
    const auto to = posix::NativePath(target);
    return to && posix::CopyFileTo(*from, *to, failIfExists, false);
}

}  // namespace platform

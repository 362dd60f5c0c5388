#include "platform/files.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <new>
#include <utility>

#include "platform/errors.h"
#include "platform/posix/errno_map.h"
#include "platform/posix/open_file.h"
#include "platform/posix/path.h"
#include "platform/system.h"

namespace platform {

using posix::Fail;
using posix::FailErrno;
using posix::FileOf;
using posix::OpenFile;

namespace {

// The absolute path of the folder that contains `path`.
std::string AbsoluteFolder(const std::string& path) {
    std::string folder = posix::ParentFolder(path);
    char working[PATH_MAX];
    if (folder.front() != '/' && ::getcwd(working, sizeof working) != nullptr) {
        folder = std::string(working) + '/' + folder;
    }
    return folder;
}

// Moves `length` bytes by calls of `transfer`(offset, rest) and continues after interrupted
// and short ones; 0 ends the transfer early. False with errno; `transferred` is set in every
// case.
template <class Transfer>
bool TransferAll(std::size_t length, std::size_t& transferred, Transfer transfer) noexcept {
    transferred = 0;
    while (transferred < length) {
        const ssize_t count = transfer(transferred, length - transferred);
        if (count == 0) {
            break;
        }
        if (count > 0) {
            transferred += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

// Stores the new position in `target`. Returns 0, or the Win32 code of the failure.
std::uint32_t MoveTarget(const OpenFile& file, std::int64_t distance, EMoveMethod method,
                         std::int64_t& target) noexcept {
    std::int64_t base = 0;
    if (method == EMoveMethod::Current) {
        base = ::lseek(file.descriptor.Get(), 0, SEEK_CUR);
    } else if (method == EMoveMethod::End) {
        struct stat info {};
        base = ::fstat(file.descriptor.Get(), &info) == 0 ? info.st_size : -1;
    }
    if (base < 0) {
        return posix::Win32FromErrno(errno);
    }
    if (__builtin_add_overflow(base, distance, &target)) {
        return win32err::kInvalidParameter;
    }
    return target < 0 ? win32err::kNegativeSeek : win32err::kSuccess;
}

}  // namespace

FileHandle CreateFileW(std::u16string_view path, std::uint32_t access, std::uint32_t share,
                       std::uint32_t disposition, std::uint32_t flags) {
    if (disposition < kCreateNew || disposition > kOpenAlways) {
        Fail(win32err::kInvalidParameter);
        return kInvalidFileHandle;
    }
    auto native = posix::NativePath(path);
    if (!native) {
        return kInvalidFileHandle;
    }
    auto file = posix::NewOpenFile(access);
    std::string folder = disposition == kOpenExisting ? std::string() : AbsoluteFolder(*native);
    const mode_t mode = (flags & kAttributeReadOnly) != 0 ? posix::kDefaultMode & ~posix::kWriteBits
                                                          : posix::kDefaultMode;
    posix::Opened opened = posix::OpenShared({*native, access, share, disposition, flags, mode});
    if (!opened.descriptor) {
        return kInvalidFileHandle;
    }
    if (disposition == kCreateAlways && !opened.created &&
        !posix::Truncate(opened.descriptor.Get())) {
        FailErrno();
        return kInvalidFileHandle;
    }
    file->descriptor = std::move(opened.descriptor);
    if (opened.created) {
        file->state->folderToSync = std::move(folder);
    }
    if (disposition == kCreateAlways || disposition == kOpenAlways) {
        SetLastError(opened.created ? win32err::kSuccess : win32err::kAlreadyExists);
    }
    return posix::MakeHandle(std::move(file));
}

bool CloseHandle(FileHandle handle) noexcept {
    const std::unique_ptr<OpenFile> file(FileOf(handle));
    if (!file) {
        return false;
    }
    // An interrupted close has released the descriptor.
    return ::close(file->descriptor.Detach()) == 0 || errno == EINTR || FailErrno();
}

FileHandle DuplicateHandle(FileHandle handle) noexcept {
    const OpenFile* file = FileOf(handle);
    if (file == nullptr) {
        return kInvalidFileHandle;
    }
    std::unique_ptr<OpenFile> copy(new (std::nothrow) OpenFile);
    if (!copy) {
        Fail(win32err::kNotEnoughMemory);
        return kInvalidFileHandle;
    }
    copy->descriptor.Reset(::fcntl(file->descriptor.Get(), F_DUPFD_CLOEXEC, 0));
    if (!copy->descriptor) {
        FailErrno();
        return kInvalidFileHandle;
    }
    copy->access = file->access;
    copy->state = file->state;
    return posix::MakeHandle(std::move(copy));
}

bool ReadFile(FileHandle handle, void* buffer, std::size_t length,
              std::size_t& transferred) noexcept {
    transferred = 0;
    const OpenFile* file = FileOf(handle);
    if (file == nullptr || !file->Allows(kGenericRead)) {
        return false;
    }
    const auto read = [&](std::size_t offset, std::size_t rest) {
        return ::read(file->descriptor.Get(), static_cast<char*>(buffer) + offset, rest);
    };
    return TransferAll(length, transferred, read) || FailErrno();
}

bool WriteFile(FileHandle handle, const void* buffer, std::size_t length,
               std::size_t& transferred) noexcept {
    transferred = 0;
    const OpenFile* file = FileOf(handle);
    if (file == nullptr || !file->Allows(kGenericWrite)) {
        return false;
    }
    const auto write = [&](std::size_t offset, std::size_t rest) {
        const char* from = static_cast<const char*>(buffer) + offset;
        const ssize_t count = ::write(file->descriptor.Get(), from, rest);
        if (count == 0) {
            errno = ENOSPC;
        }
        return count == 0 ? ssize_t{-1} : count;
    };
    const bool complete = TransferAll(length, transferred, write);
    const std::uint32_t code = complete ? win32err::kSuccess : posix::Win32FromErrno(errno);
    const bool restored = transferred == 0 || file->RestoreTimes() || FailErrno();
    return complete ? restored : Fail(code);
}

bool SetFilePointerEx(FileHandle handle, std::int64_t distance, std::int64_t* newPosition,
                      EMoveMethod method) noexcept {
    const OpenFile* file = FileOf(handle);
    if (file == nullptr) {
        return false;
    }
    std::int64_t target = 0;
    const std::uint32_t refused = MoveTarget(*file, distance, method, target);
    if (refused != win32err::kSuccess) {
        return Fail(refused);
    }
    if (::lseek(file->descriptor.Get(), target, SEEK_SET) < 0) {
        return FailErrno();
    }
    if (newPosition != nullptr) {
        *newPosition = target;
    }
    return true;
}

bool GetFileSizeEx(FileHandle handle, std::int64_t& size) noexcept {
    const OpenFile* file = FileOf(handle);
    if (file == nullptr) {
        return false;
    }
    struct stat info {};
    if (::fstat(file->descriptor.Get(), &info) != 0) {
        return FailErrno();
    }
    size = info.st_size;
    return true;
}

bool SetEndOfFile(FileHandle handle) noexcept {
    const OpenFile* file = FileOf(handle);
    if (file == nullptr || !file->Allows(kGenericWrite)) {
        return false;
    }
    const off_t position = ::lseek(file->descriptor.Get(), 0, SEEK_CUR);
    if (position < 0) {
        return FailErrno();
    }
    int result = 0;
    do {
        result = ::ftruncate(file->descriptor.Get(), position);
    } while (result != 0 && errno == EINTR);
    return (result == 0 && file->RestoreTimes()) || FailErrno();
}

bool FlushFileBuffers(FileHandle handle) noexcept {
    const OpenFile* file = FileOf(handle);
    if (file == nullptr || !file->Allows(kGenericWrite)) {
        return false;
    }
    int result = 0;
    do {
        result = ::fsync(file->descriptor.Get());
    } while (result != 0 && errno == EINTR);
    // EINVAL: a special file without storage.
    if (result != 0 && errno != EINVAL) {
        return FailErrno();
    }
    std::string& folder = file->state->folderToSync;
    if (!folder.empty()) {
        if (!posix::SyncFolder(folder)) {
            return FailErrno();
        }
        folder.clear();
    }
    return true;
}

}  // namespace platform

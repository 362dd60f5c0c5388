#include "platform/posix/open_file.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

#include "platform/errors.h"
#include "platform/posix/errno_map.h"

namespace platform::posix {

namespace {

// A file that other processes replace this often between open and lock counts as in use.
constexpr int kMaxAttempts = 100;

bool Writes(const OpenRequest& request) {
    return (request.access & kGenericWrite) != 0 || request.disposition == kCreateAlways;
}

bool MayCreate(const OpenRequest& request) {
    return request.disposition != kOpenExisting;
}

// The lock for the open's access and sharing, 0 for none. A reader that shares writing needs
// none.
int LockOf(const OpenRequest& request) {
    if (Writes(request)) {
        return LOCK_EX;
    }
    if ((request.access & kGenericRead) == 0) {
        return 0;
    }
    if ((request.share & kShareRead) == 0) {
        return LOCK_EX;
    }
    return (request.share & kShareWrite) == 0 ? LOCK_SH : 0;
}

int OpenFlags(const OpenRequest& request) {
    // Without O_NONBLOCK, opening a pipe waits for its other end.
    const int noFollow = (request.flags & kFlagNoFollow) != 0 ? O_NOFOLLOW : 0;
    const int always = O_CLOEXEC | O_NOCTTY | O_NONBLOCK | noFollow;
    if (Writes(request)) {
        const bool reads = (request.access & kGenericRead) != 0;
        return always | (reads ? O_RDWR : O_WRONLY);
    }
    const bool attributesOnly = (request.access & kGenericRead) == 0;
    return attributesOnly && !MayCreate(request) ? O_CLOEXEC | O_PATH : always | O_RDONLY;
}

int OpenRetrying(const char* path, int flags, mode_t mode) noexcept {
    int descriptor = -1;
    do {
        descriptor = ::open(path, flags, mode);
    } while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

// Opens without creating.
int OpenExisting(const OpenRequest& request) {
    const int flags = OpenFlags(request);
    const int descriptor = OpenRetrying(request.path.c_str(), flags, 0);
    if (descriptor < 0 && errno == EISDIR && (request.flags & kFlagBackupSemantics) != 0) {
        return OpenRetrying(request.path.c_str(), O_CLOEXEC | O_RDONLY | O_DIRECTORY, 0);
    }
    return descriptor;
}

// Creates; `exclusive` fails for any existing name, also for a dangling link.
int Create(const OpenRequest& request, bool exclusive) {
    return OpenRetrying(request.path.c_str(),
                        OpenFlags(request) | O_CREAT | (exclusive ? O_EXCL : 0), request.mode);
}

// One attempt to open by the disposition; a negative descriptor with errno on failure.
int OpenOnce(const OpenRequest& request, bool firstAttempt, bool& created) {
    created = request.disposition == kCreateNew;
    if (created) {
        return Create(request, true);
    }
    const int existing = OpenExisting(request);
    if (existing >= 0 || errno != ENOENT || !MayCreate(request)) {
        return existing;
    }
    created = true;
    return Create(request, firstAttempt);
}

// Whether the entry may be opened; sets the last error if not.
bool CheckKind(const OpenRequest& request, const Opened& opened) {
    const mode_t mode = opened.info.st_mode;
    if (S_ISDIR(mode)) {
        const bool allowed =
            (request.flags & kFlagBackupSemantics) != 0 && request.disposition != kCreateAlways;
        return allowed || Fail(win32err::kAccessDenied);
    }
    if (S_ISFIFO(mode) || S_ISSOCK(mode)) {
        return Fail(win32err::kAccessDenied);
    }
    if (S_ISREG(mode)) {
        if (opened.created || !Writes(request)) {
            return true;
        }
        if ((request.flags & kFlagNoFollow) != 0 && opened.info.st_nlink > 1) {
            return Fail(win32err::kCantResolveFilename);
        }
        return !IsReadOnly(opened.info) || Fail(win32err::kAccessDenied);
    }
    const int flags = ::fcntl(opened.descriptor.Get(), F_GETFL);
    ::fcntl(opened.descriptor.Get(), F_SETFL, flags & ~O_NONBLOCK);
    return true;
}

enum class ELock { Held, Refused, Stale };

bool NamesFile(const std::string& path, const struct stat& info) {
    struct stat named {};
    return ::stat(path.c_str(), &named) == 0 && named.st_dev == info.st_dev &&
           named.st_ino == info.st_ino;
}

// False when another holder excludes the lock. A file system without locks excludes none.
bool TryLock(int descriptor, int kind) noexcept {
    int result = 0;
    do {
        result = ::flock(descriptor, kind | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    return result == 0 || errno != EWOULDBLOCK;
}

ELock Lock(const OpenRequest& request, const Opened& opened) {
    const int kind = LockOf(request);
    if (kind == 0 || !S_ISREG(opened.info.st_mode)) {
        return ELock::Held;
    }
    if (!TryLock(opened.descriptor.Get(), kind)) {
        return ELock::Refused;
    }
    // The file may have been moved away or replaced before the lock was held.
    const bool mustBeNamed = Writes(request) || MayCreate(request);
    return mustBeNamed && !NamesFile(request.path, opened.info) ? ELock::Stale : ELock::Held;
}

std::uint32_t OpenError(const OpenRequest& request) {
    if (errno == EEXIST) {
        return win32err::kFileExists;
    }
    return Win32FromErrno(errno, request.path);
}

}  // namespace

bool OpenFile::Allows(std::uint32_t wanted) const noexcept {
    return (access & wanted) == wanted || Fail(win32err::kAccessDenied);
}

bool OpenFile::RestoreTimes() const noexcept {
    const std::timespec* times = state->keptTimes;
    if (times[0].tv_nsec == UTIME_OMIT && times[1].tv_nsec == UTIME_OMIT) {
        return true;
    }
    return ::futimens(descriptor.Get(), times) == 0;
}

OpenFile* FileOf(FileHandle handle) noexcept {
    if (handle == nullptr || handle == kInvalidFileHandle) {
        SetLastError(win32err::kInvalidHandle);
        return nullptr;
    }
    return static_cast<OpenFile*>(handle);
}

std::unique_ptr<OpenFile> NewOpenFile(std::uint32_t access) {
    auto file = std::make_unique<OpenFile>();
    file->access = access;
    file->state = std::make_shared<OpenState>(OpenState{{{0, UTIME_OMIT}, {0, UTIME_OMIT}}, {}});
    return file;
}

FileHandle MakeHandle(std::unique_ptr<OpenFile> file) noexcept {
    return file.release();
}

Opened OpenShared(const OpenRequest& request) {
    for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
        Opened opened;
        opened.descriptor.Reset(OpenOnce(request, attempt == 0, opened.created));
        if (!opened.descriptor) {
            if (errno == EEXIST && request.disposition != kCreateNew) {
                continue;  // created by another process in the meantime
            }
            SetLastError(OpenError(request));
            return opened;
        }
        if (::fstat(opened.descriptor.Get(), &opened.info) != 0) {
            FailErrno();
            return {};
        }
        if (!CheckKind(request, opened)) {
            return {};
        }
        switch (Lock(request, opened)) {
            case ELock::Held:
                return opened;
            case ELock::Refused:
                Fail(win32err::kSharingViolation);
                return {};
            case ELock::Stale:
                break;
        }
    }
    Fail(win32err::kSharingViolation);
    return {};
}

bool LockForRemoval(const std::string& path, const struct stat& info, CDescriptor& lock) noexcept {
    if (!S_ISREG(info.st_mode)) {
        return true;
    }
    lock.Reset(OpenRetrying(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW, 0));
    // Readers may continue to use a file without a name. A file that cannot be opened is not
    // checked.
    return !lock || TryLock(lock.Get(), LOCK_SH) || Fail(win32err::kSharingViolation);
}

bool Truncate(int descriptor) noexcept {
    int result = 0;
    do {
        result = ::ftruncate(descriptor, 0);
    } while (result != 0 && errno == EINTR);
    return result == 0 || errno == EINVAL;
}

bool SyncFolder(const std::string& folder) noexcept {
    const CDescriptor descriptor(
        OpenRetrying(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0));
    if (!descriptor) {
        return errno == EACCES;  // a folder that cannot be read is not flushed
    }
    // EINVAL: the file system does not write folders separately.
    return ::fsync(descriptor.Get()) == 0 || errno == EINVAL;
}

}  // namespace platform::posix

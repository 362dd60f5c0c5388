#include "cli/catalogue/replacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "cli/catalogue/posix/directory.h"

namespace zorel::cli {

namespace {

void Sync(const std::string& path, int flags, const std::string& target) {
    CDescriptor descriptor(::open(path.c_str(), flags | O_CLOEXEC));
    // Some file systems cannot sync a folder and report EINVAL.
    const bool isSynced = descriptor && (::fsync(descriptor.Get()) == 0 ||
                                         ((flags & O_DIRECTORY) != 0 && errno == EINVAL));
    if (!isSynced || descriptor.Close() != 0) {
        ThrowSystemError(target, errno);
    }
}

}  // namespace

void TakeAttributes(const std::string& path, const std::string& target) {
    struct stat wanted {};
    struct stat own {};
    if (!IsRegularFile(target, wanted)) {
        return;
    }
    const CDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    if (!file) {
        ThrowSystemError(target, errno);
    }
    mode_t mode = wanted.st_mode & 07777;
    // Without privileges the owner cannot change, and the group only to one of the process.
    if (::fchown(file.Get(), wanted.st_uid, wanted.st_gid) != 0 &&
        ::fchown(file.Get(), static_cast<uid_t>(-1), wanted.st_gid) != 0) {
        mode &= ~static_cast<mode_t>(S_IRWXG);  // another group has no permission
    }
    // File systems without permissions report EPERM for every change.
    if (::fstat(file.Get(), &own) != 0 ||
        ((own.st_mode & 07777) != mode && ::fchmod(file.Get(), mode) != 0)) {
        ThrowSystemError(target, errno);
    }
}

void SyncFile(const std::string& path, const std::string& target) {
    Sync(path, O_RDONLY, target);
}

void SyncFolder(const std::string& path, const std::string& target) {
    Sync(path, O_RDONLY | O_DIRECTORY, target);
}

}  // namespace zorel::cli

#include "cli/catalogue/temporary_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <regex>
#include <utility>
#include <vector>

#include "cli/catalogue/posix/directory.h"

namespace zorel::cli {

namespace {

// ".", when the path has no folder.
std::string FolderOf(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

void Sync(const std::string& path, int flags, const std::string& target) {
    CDescriptor descriptor(::open(path.c_str(), flags | O_CLOEXEC));
    // Some file systems cannot sync a folder and report EINVAL.
    const bool isSynced = descriptor && (::fsync(descriptor.Get()) == 0 ||
                                         ((flags & O_DIRECTORY) != 0 && errno == EINVAL));
    if (!isSynced || descriptor.Close() != 0) {
        ThrowSystemError(target, errno);
    }
}

bool IsRegularFile(const std::string& path, struct stat& status) {
    return ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// Gives the file the owner and the permissions of the target that it replaces.
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

// Whether no process has the file open for writing: CFileWriter holds this lock.
bool IsUnused(int folder, const std::string& name) {
    const CDescriptor file(
        ::openat(folder, name.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat status {};
    return file && ::fstat(file.Get(), &status) == 0 && S_ISREG(status.st_mode) &&
           ::flock(file.Get(), LOCK_EX | LOCK_NB) == 0;
}

}  // namespace

CTemporaryFile::CTemporaryFile(std::string target) : m_target(std::move(target)) {
    const std::string name = m_target.substr(m_target.find_last_of('/') + 1);
    const std::string stem = FolderOf(m_target) + "/." + name + "." + std::to_string(::getpid());
    struct stat status {};
    const mode_t mode = IsRegularFile(m_target, status) ? 0600 : 0666;
    CDescriptor descriptor;
    for (int attempt = 0; !descriptor; ++attempt) {
        m_path = stem + "-" + std::to_string(attempt) + ".tmp";
        descriptor = CDescriptor(
            ::open(m_path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode));
        if (!descriptor && errno != EEXIST && errno != EINTR) {
            ThrowSystemError(m_target, errno);
        }
    }
}

CTemporaryFile::~CTemporaryFile() {
    if (!m_path.empty()) {
        ::unlink(m_path.c_str());
    }
}

void CTemporaryFile::Commit() {
    TakeAttributes(m_path, m_target);
    Sync(m_path, O_RDONLY, m_target);
    if (std::rename(m_path.c_str(), m_target.c_str()) != 0) {
        ThrowSystemError(m_target, errno);
    }
    m_path.clear();
    // The new name is on the disk only when the folder is.
    Sync(FolderOf(m_target), O_RDONLY | O_DIRECTORY, m_target);
}

void RemoveUnfinishedDataFiles(const std::string& folder) {
    const std::regex form("\\.[A-Z]\\.dat\\.[0-9]+-[0-9]+\\.tmp");
    const CDescriptor descriptor = OpenFolder(folder);
    std::vector<std::string> names;
    ForEachName(descriptor.Get(), [&](const std::string& name) {
        if (std::regex_match(name, form)) {
            names.push_back(name);
        }
        return true;
    });
    for (const std::string& name : names) {
        if (IsUnused(descriptor.Get(), name)) {
            ::unlinkat(descriptor.Get(), name.c_str(), 0);
        }
    }
}

}  // namespace zorel::cli

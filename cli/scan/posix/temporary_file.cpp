#include "cli/scan/temporary_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

#include "cli/scan/posix/descriptor.h"

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

}  // namespace

CTemporaryFile::CTemporaryFile(std::string target) : m_target(std::move(target)) {
    const std::string name = m_target.substr(m_target.find_last_of('/') + 1);
    const std::string stem = FolderOf(m_target) + "/." + name + "." + std::to_string(::getpid());
    CDescriptor descriptor;
    for (int attempt = 0; !descriptor; ++attempt) {
        m_path = stem + "-" + std::to_string(attempt) + ".tmp";
        descriptor = CDescriptor(
            ::open(m_path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666));
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
    Sync(m_path, O_RDONLY, m_target);
    if (std::rename(m_path.c_str(), m_target.c_str()) != 0) {
        ThrowSystemError(m_target, errno);
    }
    m_path.clear();
    // The new name is on the disk only when the folder is.
    Sync(FolderOf(m_target), O_RDONLY | O_DIRECTORY, m_target);
}

}  // namespace zorel::cli

#include "cli/catalogue/temporary_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <random>
#include <regex>
#include <utility>
#include <vector>

#include "cli/catalogue/posix/directory.h"
#include "cli/catalogue/replacement.h"

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

// 64 random bits, which no other user can guess.
std::string RandomDigits() {
    std::random_device random;
    const std::uint64_t bits = std::uint64_t{random()} << 32 | random();
    char digits[17];
    static_cast<void>(
        std::snprintf(digits, sizeof(digits), "%016llx", static_cast<unsigned long long>(bits)));
    return digits;
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
    const std::string start = FolderOf(m_target) + "/." + name + ".";
    struct stat status {};
    const mode_t mode = IsRegularFile(m_target, status) ? 0600 : 0666;
    CDescriptor descriptor;
    while (!descriptor) {
        m_path = start + RandomDigits() + ".tmp";
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
    SyncFile(m_path, m_target);
    if (std::rename(m_path.c_str(), m_target.c_str()) != 0) {
        ThrowSystemError(m_target, errno);
    }
    m_path.clear();
    // The new name is on the disk only when the folder is.
    SyncFolder(FolderOf(m_target), m_target);
}

void RemoveUnfinishedFiles(const std::string& folder) {
    const std::regex form("\\.[A-Z]\\.(dat|scan\\.mtf)\\.[0-9a-f-]+\\.tmp");
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

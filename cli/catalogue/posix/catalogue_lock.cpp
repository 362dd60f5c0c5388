#include "cli/catalogue/catalogue_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "cli/catalogue/posix/directory.h"
#include "cli/command_line/signals.h"

namespace zorel::cli {

CCatalogueLock::CCatalogueLock(const std::string& folder)
    : m_folder(std::make_unique<CDescriptor>(OpenFolder(folder))) {
    while (::flock(m_folder->Get(), LOCK_EX) != 0) {
        if (errno != EINTR) {
            ThrowSystemError(folder, errno);
        }
        if (IsInterrupted()) {
            throw CInterrupted();
        }
    }
}

CCatalogueLock::CCatalogueLock(std::unique_ptr<CDescriptor> folder) : m_folder(std::move(folder)) {}

std::unique_ptr<CCatalogueLock> CCatalogueLock::Try(const std::string& folder) {
    auto own = std::make_unique<CDescriptor>(OpenSubfolder(AT_FDCWD, folder.c_str()));
    struct stat status {};
    const bool isLocked = *own && ::fstat(own->Get(), &status) == 0 &&
                          status.st_uid == ::geteuid() &&
                          ::flock(own->Get(), LOCK_EX | LOCK_NB) == 0;
    return isLocked ? std::unique_ptr<CCatalogueLock>(new CCatalogueLock(std::move(own))) : nullptr;
}

CCatalogueLock::~CCatalogueLock() = default;

}  // namespace zorel::cli

#include "cli/catalogue/catalogue_lock.h"

#include <sys/file.h>

#include <cerrno>

#include "cli/catalogue/posix/directory.h"
#include "cli/command_line/signals.h"

namespace zorel::cli {

CCatalogueLock::CCatalogueLock(const std::string& folder)
    : m_folder(std::make_unique<CDescriptor>(OpenFolder(folder))) {
    while (::flock(m_folder->Get(), LOCK_EX) != 0) {
        if (errno != EINTR || IsInterrupted()) {
            ThrowSystemError(folder, errno);
        }
    }
}

CCatalogueLock::~CCatalogueLock() = default;

}  // namespace zorel::cli

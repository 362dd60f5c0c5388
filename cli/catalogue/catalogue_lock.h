#pragma once

#include <memory>
#include <string>

namespace zorel::cli {

class CDescriptor;

// Excludes other processes during its lifetime: from reading and changing the volume list of a
// catalogue, and from changing a set of text data files.
class CCatalogueLock {
public:
    // Waits for the lock. Throws std::system_error with the folder, and CInterrupted when a
    // signal ends the wait while a CInterruptGuard is active.
    explicit CCatalogueLock(const std::string& folder);
    // Null when another process has the lock, and when the path is not that of a folder of the
    // user, which a link is not either.
    static std::unique_ptr<CCatalogueLock> Try(const std::string& folder);
    ~CCatalogueLock();
    CCatalogueLock(const CCatalogueLock&) = delete;
    CCatalogueLock& operator=(const CCatalogueLock&) = delete;

private:
    explicit CCatalogueLock(std::unique_ptr<CDescriptor> folder);

    std::unique_ptr<CDescriptor> m_folder;
};

}  // namespace zorel::cli

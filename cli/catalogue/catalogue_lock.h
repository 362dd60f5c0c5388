#pragma once

#include <memory>
#include <string>

namespace zorel::cli {

class CDescriptor;

// Excludes other scans from reading and changing the volume list of a catalogue during its
// lifetime.
class CCatalogueLock {
public:
    // Waits for the lock. Throws std::system_error with the folder, also when a signal ends
    // the wait while a CInterruptGuard is active.
    explicit CCatalogueLock(const std::string& folder);
    ~CCatalogueLock();
    CCatalogueLock(const CCatalogueLock&) = delete;
    CCatalogueLock& operator=(const CCatalogueLock&) = delete;

private:
    std::unique_ptr<CDescriptor> m_folder;
};

}  // namespace zorel::cli

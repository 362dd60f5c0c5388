#pragma once

#include <sys/types.h>

#include <optional>

namespace zorel::cli {

// The file systems in which the system presents itself: processes, its state and devices.
class CSystemFileSystems {
public:
    CSystemFileSystems();
    // Whether the open folder, whose device number is `device`, is in one of them.
    bool Contain(int folder, dev_t device) const;

private:
    std::optional<dev_t> m_devices;  // the file system of /dev, if it has one of its own
};

}  // namespace zorel::cli

#include "cli/scan/posix/system_file_systems.h"

#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>

namespace zorel::cli {

CSystemFileSystems::CSystemFileSystems() {
    struct stat root {};
    struct stat devices {};
    if (::stat("/", &root) == 0 && ::stat("/dev", &devices) == 0 && root.st_dev != devices.st_dev) {
        m_devices = devices.st_dev;
    }
}

bool CSystemFileSystems::Contain(int folder, dev_t device) const {
    struct statfs info {};
    const bool isKnown = ::fstatfs(folder, &info) == 0;
    return device == m_devices ||
           (isKnown && (info.f_type == PROC_SUPER_MAGIC || info.f_type == SYSFS_MAGIC));
}

}  // namespace zorel::cli

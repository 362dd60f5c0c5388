#include "cli/scan/host_name.h"

#include <unistd.h>

namespace zorel::cli {

std::string HostName() {
    char name[256] = {};
    return ::gethostname(name, sizeof(name) - 1) == 0 ? name : "";
}

}  // namespace zorel::cli

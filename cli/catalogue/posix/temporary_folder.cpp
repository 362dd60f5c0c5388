#include "cli/catalogue/temporary_folder.h"

#include <cerrno>
#include <cstdlib>

#include "cli/catalogue/posix/descriptor.h"

namespace zorel::cli {

std::string CTemporaryFolder::Make(const std::string& start) {
    std::string path = start + "XXXXXX";
    if (::mkdtemp(path.data()) == nullptr) {
        ThrowSystemError(path, errno);
    }
    return path;
}

}  // namespace zorel::cli

#include "cli/generate/file_state.h"

#include <sys/stat.h>

namespace zorel::cli {

std::optional<FileState> ReadFileState(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return FileState{std::chrono::seconds(status.st_ctim.tv_sec) +
                         std::chrono::nanoseconds(status.st_ctim.tv_nsec),
                     static_cast<std::uint64_t>(status.st_size)};
}

}  // namespace zorel::cli

#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace zorel::cli {

struct FileState {
    // Set by the system at each change of the file; programs cannot set it.
    std::chrono::nanoseconds changed{};
    std::uint64_t bytes = 0;
};

// None when there is no such file.
std::optional<FileState> ReadFileState(const std::string& path);

}  // namespace zorel::cli

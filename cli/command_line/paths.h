// Paths as the library takes them.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>

#include "ZorelText.h"

namespace zorel::cli {

// Both / and \ are separators for the library.
inline std::string WithSlashes(std::string path) {
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

inline std::u16string AbsolutePath(const std::string& path) {
    return ToUtf16(std::filesystem::absolute(WithSlashes(path)).string());
}

}  // namespace zorel::cli

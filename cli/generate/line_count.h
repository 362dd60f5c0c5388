#pragma once

#include <cstdint>
#include <string>

namespace zorel::cli {

// The lines of a text data file; keeps the times of the file as far as the system allows. Throws
// std::system_error with the path.
std::int64_t CountLines(const std::string& path);

}  // namespace zorel::cli

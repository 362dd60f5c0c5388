#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zorel::cli {

// What the tables of a data file contain.
struct VolumeFacts {
    std::int64_t dataFileSize = 0;  // bytes
    std::int64_t folders = 0;       // without the root
    std::int64_t files = 0;
    std::int64_t bytes = 0;
    std::int64_t owners = 0;
    std::optional<std::int64_t> oldest;  // file times; none without files
    std::optional<std::int64_t> newest;
};

// Reads every record. Throws client::CError and std::system_error with the path.
VolumeFacts ReadVolumeFacts(const std::string& dataFile);

}  // namespace zorel::cli

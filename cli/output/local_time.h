#pragma once

#include <cstdint>

namespace zorel::cli {

// The offset from UTC, in seconds, that the time zone of the machine has at a moment, in seconds
// since 1970-01-01 UTC; 0 for a moment that the system cannot convert.
std::int64_t LocalOffset(std::int64_t moment);

}  // namespace zorel::cli

// Dates and times: as text, as DATE and as file time.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "ZorelAutomation.h"

namespace zorel::cli {

// "2024-03-01", `separator`, "12:34:56"; none for a date outside the years 100 to 9999. For rows
// of listings there is CDateFormatter.
std::optional<std::string> FormatDate(DATE date, std::string_view separator);

// 2024-03-01, 2024-03-01T12:30 or 2024-03-01T12:30:15 in UTC, also with a blank for T and
// with Z at the end; none for any other text.
std::optional<std::chrono::sys_seconds> ParseMoment(std::string_view text);

// The moment that is 45s, 10min, 12h, 30d, 2w or 1y (365 days) ago; none for any other text.
std::optional<std::chrono::sys_seconds> ParseAge(std::string_view text);

// The year is limited to the range 100 to 9999.
DATE ToDate(std::chrono::sys_seconds moment);

// A file time: intervals of 100 ns since 1601-01-01 UTC, limited to the first and the last second
// that both a file time and a DATE can hold. `seconds` counts from 1970-01-01 UTC.
std::int64_t ToTicks(std::int64_t seconds, std::int64_t nanoseconds = 0);

// The second in which a file time is; none outside the years 100 to 9999.
std::optional<std::chrono::sys_seconds> MomentOf(std::int64_t ticks);

}  // namespace zorel::cli

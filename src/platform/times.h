// Conversions between FILETIME ticks, calendar times and automation dates, and the clock.
//
// Ticks are 100-nanosecond intervals since 1601-01-01 UTC. A DATE counts days since
// 1899-12-30; before that day the time of day is added to the magnitude, so -1.25 is
// 1899-12-29 06:00.
#pragma once

#include <cstdint>

namespace platform {

inline constexpr std::int64_t kTicksPerSecond = 10'000'000;
inline constexpr std::int64_t kSecondsPerDay = 86'400;
inline constexpr double kMinDate = -657'434;      // 0100-01-01, the first DATE
inline constexpr double kEndOfDates = 2'958'466;  // the day after 9999-12-31

struct SystemTime {
    std::uint16_t year;
    std::uint16_t month;      // 1 to 12
    std::uint16_t dayOfWeek;  // 0 is Sunday
    std::uint16_t day;
    std::uint16_t hour;
    std::uint16_t minute;
    std::uint16_t second;
    std::uint16_t milliseconds;
};

// Keeps whole seconds, ignores milliseconds and dayOfWeek. True for the years 100 to
// 9999, months 1 to 12, days 0 to 31, hours 0 to 23, minutes and seconds 0 to 59; a day
// past the end of its month counts on into the next month, and day 0 is the last day of the
// previous month. False, with `date` untouched, for anything else and for day 0 of 0100-01.
bool SystemTimeToDate(const SystemTime& time, double& date) noexcept;

// Rounds to whole seconds; milliseconds become 0. False, with `time` untouched, for dates
// outside the years 100 to 9999 and for values that are not numbers.
bool DateToSystemTime(double date, SystemTime& time) noexcept;

// Converts ticks to a DATE of whole seconds. False, with `date` untouched, for negative ticks
// (last error 87) and after the year 9999. Fast enough for one call per file of a listing.
bool FileTimeToDate(std::int64_t ticks, double& date) noexcept;

// The current time, by the clock and time zone of the machine.
SystemTime GetLocalTime() noexcept;

void Sleep(std::uint32_t milliseconds) noexcept;

}  // namespace platform

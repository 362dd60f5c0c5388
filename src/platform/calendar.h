// The Gregorian calendar. Inline, for callers with a date for every record.
#pragma once

#include <chrono>
#include <cstdint>

namespace platform {

struct CalendarDate {
    std::uint32_t year;
    std::uint32_t month;  // 1 to 12
    std::uint32_t day;    // 1 to 31
};

inline CalendarDate CalendarDateOf(std::chrono::sys_days day) noexcept {
    const std::chrono::year_month_day date(day);
    return {static_cast<std::uint32_t>(static_cast<int>(date.year())),
            static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day())};
}

// The date of a day that is counted from 1601-01-01, up to the year 32767.
inline CalendarDate DateOfDay(std::uint32_t day) noexcept {
    constexpr std::chrono::sys_days kFirst{std::chrono::year(1601) / 1 / 1};
    return CalendarDateOf(kFirst + std::chrono::days(day));
}

}  // namespace platform

// The arithmetic is this library's own on every system: the system's routines read years
// below 100 as two-digit ones and disagree about values out of range.
#include "platform/times.h"

#include <cmath>

#include "platform/errors.h"

namespace platform {

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;

// Days are counted from 0000-03-01, so that the leap day ends a year. These are the days
// of 1601-01-01, 1899-12-30, 0100-01-01 and 9999-12-31.
constexpr std::int64_t kTicksEpoch = 584'694;
constexpr std::int64_t kDateEpoch = 693'899;
constexpr std::int64_t kFirstDay = 36'465;
constexpr std::int64_t kLastDay = 3'652'364;

constexpr std::uint32_t kDaysPer400Years = 146'097;

constexpr std::int64_t DayNumber(std::uint32_t year, std::uint32_t month, std::uint32_t day) {
    const std::uint32_t y = month <= 2 ? year - 1 : year;
    const std::uint32_t fromMarch = month <= 2 ? month + 9 : month - 3;
    return std::int64_t{y} * 365 + y / 4 - y / 100 + y / 400 + (153 * fromMarch + 2) / 5 + day - 1;
}
static_assert(DayNumber(1601, 1, 1) == kTicksEpoch && DayNumber(1899, 12, 30) == kDateEpoch);
static_assert(DayNumber(100, 1, 1) == kFirstDay && DayNumber(9999, 12, 31) == kLastDay);

// The calendar day and the time of day; milliseconds become 0.
SystemTime MakeSystemTime(std::int64_t dayNumber, std::uint32_t secondOfDay) noexcept {
    const auto days = static_cast<std::uint32_t>(dayNumber);
    const std::uint32_t inEra = days % kDaysPer400Years;
    const std::uint32_t yearOfEra =
        (inEra - inEra / 1460 + inEra / 36524 - inEra / (kDaysPer400Years - 1)) / 365;
    const std::uint32_t inYear = inEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::uint32_t fromMarch = (5 * inYear + 2) / 153;
    const std::uint32_t month = fromMarch < 10 ? fromMarch + 3 : fromMarch - 9;
    const std::uint32_t year = days / kDaysPer400Years * 400 + yearOfEra + (month <= 2 ? 1U : 0U);

    SystemTime time{};
    time.year = static_cast<std::uint16_t>(year);
    time.month = static_cast<std::uint16_t>(month);
    time.dayOfWeek = static_cast<std::uint16_t>((days + 3) % 7);
    time.day = static_cast<std::uint16_t>(inYear - (153 * fromMarch + 2) / 5 + 1);
    time.hour = static_cast<std::uint16_t>(secondOfDay / 3600);
    time.minute = static_cast<std::uint16_t>(secondOfDay / 60 % 60);
    time.second = static_cast<std::uint16_t>(secondOfDay % 60);
    return time;
}

double MakeDate(std::int64_t dayNumber, std::int64_t secondOfDay) noexcept {
    const auto days = static_cast<double>(dayNumber - kDateEpoch);
    const double fraction = static_cast<double>(secondOfDay) / 86400.0;
    return days < 0 ? days - fraction : days + fraction;
}

}  // namespace

bool FileTimeToSystemTime(std::int64_t ticks, SystemTime& time) noexcept {
    if (ticks < 0) {
        SetLastError(win32err::kInvalidParameter);
        return false;
    }
    const std::int64_t seconds = ticks / kTicksPerSecond;
    time = MakeSystemTime(kTicksEpoch + seconds / kSecondsPerDay,
                          static_cast<std::uint32_t>(seconds % kSecondsPerDay));
    time.milliseconds = static_cast<std::uint16_t>(ticks / 10'000 % 1000);
    return true;
}

bool SystemTimeToDate(const SystemTime& time, double& date) noexcept {
    if (time.year < 100 || time.year > 9999 || time.month < 1 || time.month > 12 || time.day > 31 ||
        time.hour > 23 || time.minute > 59 || time.second > 59) {
        return false;
    }
    const std::int64_t day = DayNumber(time.year, time.month, 1) + time.day - 1;
    if (day < kFirstDay) {
        return false;
    }
    date = MakeDate(day, time.hour * 3600 + time.minute * 60 + time.second);
    return true;
}

bool DateToSystemTime(double date, SystemTime& time) noexcept {
    const double whole = std::trunc(date);
    if (!(whole >= static_cast<double>(kFirstDay - kDateEpoch) &&
          whole <= static_cast<double>(kLastDay - kDateEpoch))) {
        return false;
    }
    const auto seconds = static_cast<std::int64_t>(std::abs(date - whole) * 86400.0 + 0.5);
    const std::int64_t day =
        kDateEpoch + static_cast<std::int64_t>(whole) + seconds / kSecondsPerDay;
    if (day > kLastDay) {
        return false;
    }
    time = MakeSystemTime(day, static_cast<std::uint32_t>(seconds % kSecondsPerDay));
    return true;
}

bool FileTimeToDate(std::int64_t ticks, double& date) noexcept {
    if (ticks < 0) {
        SetLastError(win32err::kInvalidParameter);
        return false;
    }
    const std::int64_t seconds = ticks / kTicksPerSecond;
    const std::int64_t day = kTicksEpoch + seconds / kSecondsPerDay;
    if (day > kLastDay) {
        return false;
    }
    date = MakeDate(day, seconds % kSecondsPerDay);
    return true;
}

}  // namespace platform

// No calendar function of the system is used: on some systems these take years below 100 for
// two-digit ones, and they differ for values out of range.
#include "platform/times.h"

#include <cmath>

#include "platform/calendar.h"
#include "platform/errors.h"

namespace platform {

namespace {

namespace chrono = std::chrono;
using namespace std::chrono_literals;

// Days are counted from 1970-01-01.
constexpr std::int64_t DayNumber(chrono::year_month_day date) noexcept {
    return chrono::sys_days(date).time_since_epoch().count();
}

constexpr std::int64_t kTicksEpoch = DayNumber(1601y / 1 / 1);
constexpr std::int64_t kDateEpoch = DayNumber(1899y / 12 / 30);
constexpr std::int64_t kFirstDay = DayNumber(100y / 1 / 1);
constexpr std::int64_t kLastDay = DayNumber(9999y / 12 / 31);
static_assert(kMinDate == kFirstDay - kDateEpoch && kEndOfDates == kLastDay + 1 - kDateEpoch);

chrono::sys_days DayOf(std::int64_t dayNumber) noexcept {
    return chrono::sys_days(chrono::days(dayNumber));
}

// The calendar day and the time of day; milliseconds become 0.
SystemTime MakeSystemTime(std::int64_t dayNumber, std::int64_t secondOfDay) noexcept {
    const chrono::sys_days day = DayOf(dayNumber);
    const CalendarDate date = CalendarDateOf(day);
    SystemTime time{};
    time.year = static_cast<std::uint16_t>(date.year);
    time.month = static_cast<std::uint16_t>(date.month);
    time.dayOfWeek = static_cast<std::uint16_t>(chrono::weekday(day).c_encoding());
    time.day = static_cast<std::uint16_t>(date.day);
    time.hour = static_cast<std::uint16_t>(secondOfDay / 3600);
    time.minute = static_cast<std::uint16_t>(secondOfDay / 60 % 60);
    time.second = static_cast<std::uint16_t>(secondOfDay % 60);
    return time;
}

double MakeDate(std::int64_t dayNumber, std::int64_t secondOfDay) noexcept {
    const auto days = static_cast<double>(dayNumber - kDateEpoch);
    const double fraction = static_cast<double>(secondOfDay) / double{kSecondsPerDay};
    return days < 0 ? days - fraction : days + fraction;
}

}  // namespace

bool SystemTimeToDate(const SystemTime& time, double& date) noexcept {
    if (time.year < 100 || time.year > 9999 || time.month < 1 || time.month > 12 || time.day > 31 ||
        time.hour > 23 || time.minute > 59 || time.second > 59) {
        return false;
    }
    const std::int64_t day = DayNumber(chrono::year(time.year) / time.month / 1) + time.day - 1;
    if (day < kFirstDay) {
        return false;
    }
    date = MakeDate(day, time.hour * 3600 + time.minute * 60 + time.second);
    return true;
}

bool DateToSystemTime(double date, SystemTime& time) noexcept {
    const double whole = std::trunc(date);
    if (!(whole >= kMinDate && whole < kEndOfDates)) {
        return false;
    }
    // A day has few seconds, so that the sum is exact enough and costs less than a call.
    const double rounded = std::abs(date - whole) * double{kSecondsPerDay} + 0.5;
    const auto seconds = static_cast<std::int64_t>(rounded);
    const std::int64_t day =
        kDateEpoch + static_cast<std::int64_t>(whole) + seconds / kSecondsPerDay;
    if (day > kLastDay) {
        return false;
    }
    time = MakeSystemTime(day, seconds % kSecondsPerDay);
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

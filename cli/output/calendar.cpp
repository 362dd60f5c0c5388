#include "cli/output/calendar.h"

#include <algorithm>
#include <charconv>

#include "cli/output/date_formatter.h"

namespace zorel::cli {

namespace {

using namespace std::chrono;

constexpr sys_seconds kFirstMoment = sys_days(year(100) / January / 1);
constexpr sys_seconds kLastMoment = sys_days(year(9999) / December / 31) + hours(24) - seconds(1);
constexpr sys_seconds kEpoch = sys_days(year(1601) / January / 1);  // of file times
constexpr std::int64_t kTicksPerSecond = 10'000'000;

// Removes an unsigned number of at most `maxDigits` digits from the start of `text`.
bool TakeNumber(std::string_view& text, std::size_t maxDigits, int& number) {
    const std::string_view digits = text.substr(0, maxDigits);
    unsigned value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    text.remove_prefix(static_cast<std::size_t>(end - digits.data()));
    number = static_cast<int>(value);
    return error == std::errc();
}

// Removes one of these characters from the start of `text`.
bool TakeAnyOf(std::string_view& text, std::string_view characters) {
    const bool isFound = !text.empty() && characters.find(text.front()) != std::string_view::npos;
    text.remove_prefix(isFound ? 1 : 0);
    return isFound;
}

std::optional<sys_days> TakeDay(std::string_view& text) {
    int y = 0;
    int m = 0;
    int d = 0;
    if (!TakeNumber(text, 4, y) || !TakeAnyOf(text, "-") || !TakeNumber(text, 2, m) ||
        !TakeAnyOf(text, "-") || !TakeNumber(text, 2, d)) {
        return std::nullopt;
    }
    const year_month_day day(year(y), month(static_cast<unsigned>(m)),
                             std::chrono::day(static_cast<unsigned>(d)));
    return day.ok() ? std::optional(sys_days(day)) : std::nullopt;
}

// The time of day in the rest of `text`; midnight when nothing is left.
std::optional<seconds> ParseTimeOfDay(std::string_view text) {
    int h = 0;
    int m = 0;
    int s = 0;
    if (!text.empty() && (!TakeAnyOf(text, "T ") || !TakeNumber(text, 2, h) ||
                          !TakeAnyOf(text, ":") || !TakeNumber(text, 2, m))) {
        return std::nullopt;
    }
    if (!text.empty() && (!TakeAnyOf(text, ":") || !TakeNumber(text, 2, s) || !text.empty())) {
        return std::nullopt;
    }
    const bool isValid = h < 24 && m < 60 && s < 60;
    return isValid ? std::optional<seconds>(hours(h) + minutes(m) + seconds(s)) : std::nullopt;
}

// The length of "s", "min", "h", "d", "w" or "y".
std::optional<seconds> ParseUnit(std::string_view text) {
    struct Unit {
        std::string_view name;
        seconds length;
    };
    constexpr Unit kUnits[] = {{"s", seconds(1)}, {"min", minutes(1)}, {"h", hours(1)},
                               {"d", days(1)},    {"w", weeks(1)},     {"y", days(365)}};
    const auto* const unit = std::find_if(std::begin(kUnits), std::end(kUnits),
                                          [&](const Unit& known) { return known.name == text; });
    return unit != std::end(kUnits) ? std::optional(unit->length) : std::nullopt;
}

}  // namespace

std::optional<std::string> FormatDate(DATE date, std::string_view separator) {
    constexpr std::size_t kDayWidth = 10;
    CTextBuffer text;
    if (!CDateFormatter().Append(text, date, ' ')) {
        return std::nullopt;
    }
    return std::string(text.View()).replace(kDayWidth, 1, separator);
}

std::optional<sys_seconds> ParseMoment(std::string_view text) {
    const std::optional<sys_days> day = TakeDay(text);
    text.remove_suffix(text.ends_with('Z') ? 1 : 0);
    const std::optional<seconds> time = ParseTimeOfDay(text);
    if (!day || !time || *day + *time < kFirstMoment) {
        return std::nullopt;
    }
    return *day + *time;
}

std::optional<sys_seconds> ParseAge(std::string_view text) {
    std::int64_t count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    const std::optional<seconds> unit = ParseUnit(text);
    if (error != std::errc() || count < 0 || !unit) {
        return std::nullopt;
    }
    const sys_seconds now = floor<seconds>(system_clock::now());
    const std::int64_t maxCount = (now - kFirstMoment) / *unit;
    return now - std::min(count, maxCount) * *unit;
}

DATE ToDate(sys_seconds moment) {
    moment = std::clamp(moment, kFirstMoment, kLastMoment);
    const sys_days day = floor<days>(moment);
    const year_month_day date(day);
    const hh_mm_ss time(moment - day);
    SYSTEMTIME fields{};
    fields.wYear = static_cast<WORD>(static_cast<int>(date.year()));
    fields.wMonth = static_cast<WORD>(static_cast<unsigned>(date.month()));
    fields.wDay = static_cast<WORD>(static_cast<unsigned>(date.day()));
    fields.wHour = static_cast<WORD>(time.hours().count());
    fields.wMinute = static_cast<WORD>(time.minutes().count());
    fields.wSecond = static_cast<WORD>(time.seconds().count());
    DATE result = 0;
    SystemTimeToVariantTime(&fields, &result);
    return result;
}

std::int64_t ToTicks(std::int64_t unixSeconds, std::int64_t nanoseconds) {
    if (unixSeconds < kEpoch.time_since_epoch().count()) {
        return 0;
    }
    if (unixSeconds >= kLastMoment.time_since_epoch().count()) {
        return (kLastMoment - kEpoch).count() * kTicksPerSecond;
    }
    return (unixSeconds - kEpoch.time_since_epoch().count()) * kTicksPerSecond + nanoseconds / 100;
}

std::optional<sys_seconds> MomentOf(std::int64_t ticks) {
    using Ticks = duration<std::int64_t, std::ratio<1, kTicksPerSecond>>;
    const sys_seconds moment = kEpoch + floor<seconds>(Ticks(ticks));
    const bool isValid = moment >= kFirstMoment && moment <= kLastMoment;
    return isValid ? std::optional(moment) : std::nullopt;
}

}  // namespace zorel::cli

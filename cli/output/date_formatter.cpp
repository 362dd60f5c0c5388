#include "cli/output/date_formatter.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>

#include "cli/output/local_time.h"

namespace zorel::cli {

namespace {

constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr std::int64_t kQuarterHour = 900;  // offsets change at whole quarters of an hour
// Seconds from 1970-01-01 to 1899-12-30.
constexpr std::int64_t kFirstDay =
    std::chrono::sys_seconds(std::chrono::sys_days(std::chrono::year(1899) / 12 / 30))
        .time_since_epoch()
        .count();

void PutTwoDigits(char* to, std::int64_t value) {
    to[0] = static_cast<char>('0' + value / 10);
    to[1] = static_cast<char>('0' + value % 10);
}

std::int64_t FloorDivide(std::int64_t value, std::int64_t by) {
    return value / by - (value % by < 0 ? 1 : 0);
}

}  // namespace

const CDateFormatter::Day* CDateFormatter::Find(std::int64_t number) {
    Day& day = m_days[static_cast<std::uint64_t>(number) % m_days.size()];
    if (day.isKnown && day.number == number) {
        return &day;
    }
    SYSTEMTIME date{};
    if (VariantTimeToSystemTime(static_cast<DATE>(number), &date) == 0) {
        return nullptr;
    }
    day = {static_cast<std::int32_t>(number), true, {}};
    char* const text = day.text.data();
    text[4] = text[7] = '-';
    PutTwoDigits(text, date.wYear / 100);
    PutTwoDigits(text + 2, date.wYear % 100);
    PutTwoDigits(text + 5, date.wMonth);
    PutTwoDigits(text + 8, date.wDay);
    return &day;
}

std::int64_t CDateFormatter::ToLocal(std::int64_t seconds) {
    const std::int64_t period = FloorDivide(seconds, kQuarterHour);
    if (!m_isOffsetKnown || period != m_offsetPeriod) {
        m_offset = LocalOffset(seconds + kFirstDay);
        m_offsetPeriod = period;
        m_isOffsetKnown = true;
    }
    return seconds + m_offset;
}

// Before 1899-12-30 a date is negative; its fraction still counts forward from the start of the
// day.
std::int64_t CDateFormatter::SecondsOf(DATE date) {
    const auto day = static_cast<std::int64_t>(date);
    const DATE fraction = std::abs(date - static_cast<DATE>(day));
    return day * kSecondsPerDay +
           static_cast<std::int64_t>(fraction * double{kSecondsPerDay} + 0.5);
}

bool CDateFormatter::Append(CTextBuffer& out, DATE date, char separator) {
    constexpr DATE kBeyondEveryDate = 1e7;
    if (!(std::abs(date) < kBeyondEveryDate)) {
        return false;
    }
    std::int64_t seconds = SecondsOf(date);
    if (m_isLocal) {
        seconds = ToLocal(seconds);
    }
    const std::int64_t number = FloorDivide(seconds, kSecondsPerDay);
    const Day* const day = Find(number);
    if (day == nullptr) {
        return false;
    }
    const std::int64_t second = seconds - number * kSecondsPerDay;
    char text[kWidth];
    std::copy(day->text.begin(), day->text.end(), text);
    text[10] = separator;
    PutTwoDigits(text + 11, second / 3600);
    text[13] = text[16] = ':';
    PutTwoDigits(text + 14, second / 60 % 60);
    PutTwoDigits(text + 17, second % 60);
    out.Append({text, sizeof text});
    return true;
}

void CDateFormatter::AppendZone(CTextBuffer& out) const {
    if (!m_isLocal) {
        out.Append('Z');
        return;
    }
    const std::int64_t minutes = std::abs(m_offset) / 60;
    char text[] = "+hh:mm";
    text[0] = m_offset < 0 ? '-' : '+';
    PutTwoDigits(text + 1, minutes / 60);
    PutTwoDigits(text + 4, minutes % 60);
    out.Append({text, sizeof text - 1});
}

}  // namespace zorel::cli

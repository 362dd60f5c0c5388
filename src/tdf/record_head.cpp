#include "tdf/record_head.h"

#include <algorithm>
#include <cstring>

namespace tdf {

namespace {

constexpr std::int64_t kTicksPerSecond = 10'000'000;
constexpr std::uint64_t kSecondsPerDay = 86'400;
constexpr std::uint64_t kLastSecond = 3'067'671 * kSecondsPerDay - 1;  // of the year 9999

struct Pair {
    char16_t units[2];
};

constexpr std::array<Pair, 100> MakePairs() {
    std::array<Pair, 100> pairs{};
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        pairs[i] = {{static_cast<char16_t>(u'0' + i / 10), static_cast<char16_t>(u'0' + i % 10)}};
    }
    return pairs;
}

constexpr std::array<Pair, 100> kPairs = MakePairs();

// The units of a line as they are put together.
template <std::size_t Size>
struct Units {
    char16_t text[Size];
    std::size_t used = 0;

    void Put(char16_t unit) { text[used++] = unit; }
    void PutPair(std::uint32_t value) {
        std::memcpy(text + used, &kPairs[value], sizeof(Pair));
        used += 2;
    }
};

// Decimal digits from the end backwards; returns where they begin.
char16_t* PutDigits(std::uint64_t value, char16_t* end) {
    while (value >= 100) {
        end -= 2;
        std::memcpy(end, &kPairs[value % 100], sizeof(Pair));
        value /= 100;
    }
    end -= 2;
    std::memcpy(end, &kPairs[value], sizeof(Pair));
    return value < 10 ? end + 1 : end;
}

struct Date {
    std::uint32_t year, month, day;
};

// Counts in years that begin in March, so that the leap day is the last of its year.
Date DateOf(std::uint32_t daysSince1601) {
    constexpr std::uint32_t kMarchOfYear0 = 584'694;  // that day, before 1601-01-01
    constexpr std::uint32_t kDaysIn400Years = 146'097;
    const std::uint32_t days = daysSince1601 + kMarchOfYear0;
    const std::uint32_t era = days / kDaysIn400Years;
    const std::uint32_t dayOfEra = days % kDaysIn400Years;
    const std::uint32_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::uint32_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::uint32_t march = (5 * dayOfYear + 2) / 153;
    const std::uint32_t month = march < 10 ? march + 3 : march - 9;
    return {era * 400 + yearOfEra + (month <= 2 ? 1 : 0), month,
            dayOfYear - (153 * march + 2) / 5 + 1};
}

}  // namespace

void CRecordHead::SetDay(std::uint32_t day) {
    const Date date = DateOf(day);
    Units<kDayUnits> units;
    units.PutPair(date.month);
    units.Put(u'/');
    units.PutPair(date.day);
    units.Put(u'/');
    units.PutPair(date.year / 100);
    units.PutPair(date.year % 100);
    units.Put(u' ');
    std::copy_n(units.text, kDayUnits, m_dayText.begin());
    m_day = day;
}

std::size_t CRecordHead::Write(std::int64_t ticks, std::int64_t size, std::byte* out) {
    const std::uint64_t seconds =
        std::min(static_cast<std::uint64_t>(std::max(ticks, std::int64_t{0}) / kTicksPerSecond),
                 kLastSecond);
    const auto day = static_cast<std::uint32_t>(seconds / kSecondsPerDay);
    const auto second = static_cast<std::uint32_t>(seconds % kSecondsPerDay);
    if (day != m_day) {
        SetDay(day);
    }
    Units<kMostUnits> units;
    std::memcpy(units.text, m_dayText.data(), sizeof m_dayText);
    units.used = kDayUnits;
    units.PutPair(second / 3600);
    units.Put(u':');
    units.PutPair(second / 60 % 60);
    units.Put(u':');
    units.PutPair(second % 60);
    units.Put(u',');
    units.Put(u' ');
    const auto bits = static_cast<std::uint64_t>(size);
    if (size < 0) {
        units.Put(u'-');
    }
    char16_t digits[20];
    const char16_t* const begin = PutDigits(size < 0 ? 0 - bits : bits, std::end(digits));
    const auto count = static_cast<std::size_t>(std::end(digits) - begin);
    std::memcpy(units.text + units.used, begin, 2 * count);
    units.used += count;
    units.Put(u',');
    units.Put(u' ');
    std::memcpy(out, units.text, 2 * units.used);
    return units.used;
}

}  // namespace tdf

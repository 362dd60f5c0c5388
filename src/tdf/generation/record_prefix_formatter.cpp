#include "tdf/generation/record_prefix_formatter.h"

#include <algorithm>
#include <cstring>

namespace tdf {

namespace {

constexpr std::int64_t kTicksPerSecond = 10'000'000;
constexpr std::uint64_t kSecondsPerDay = 86'400;
constexpr std::uint64_t kLastSecond = 3'067'671 * kSecondsPerDay - 1;  // of the year 9999

using Pair = std::array<char16_t, 2>;

constexpr std::array<Pair, 100> MakePairs() {
    std::array<Pair, 100> pairs{};
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        pairs[i] = {static_cast<char16_t>(u'0' + i / 10), static_cast<char16_t>(u'0' + i % 10)};
    }
    return pairs;
}

constexpr std::array<Pair, 100> kPairs = MakePairs();

// Code units stored one after the other at any address.
class CUnits {
public:
    explicit CUnits(void* out) noexcept : m_at(static_cast<std::byte*>(out)) {}

    template <std::size_t kCount>
    void Put(const std::array<char16_t, kCount>& units) noexcept {
        std::memcpy(m_at, units.data(), sizeof units);
        m_at += sizeof units;
    }
    void PutPair(std::uint32_t value) noexcept { Put(kPairs[value]); }
    // At least one digit, without padding.
    void PutDecimal(std::uint64_t value) noexcept {
        std::uint32_t pairs[10];
        std::size_t count = 0;
        for (; value >= 10; value /= 100) {
            pairs[count++] = static_cast<std::uint32_t>(value % 100);
        }
        if (value != 0 || count == 0) {
            Put(std::array{static_cast<char16_t>(u'0' + value)});
        }
        while (count > 0) {
            PutPair(pairs[--count]);
        }
    }
    const std::byte* At() const noexcept { return m_at; }

private:
    std::byte* m_at;
};

struct Date {
    std::uint32_t year, month, day;
};

// Counts in years that begin in March, so that the leap day is the last of its year. The
// factors stand for divisions: 2939745 / 2^32 by the 1461 days of four years, 2141 / 2^16
// by the 30.6 days of a month; both are exact for every day up to the year 9999.
Date DateOf(std::uint32_t daysSince1601) {
    constexpr std::uint32_t kMarchOfYear0 = 584'694;  // that day, before 1601-01-01
    constexpr std::uint32_t kDaysIn400Years = 146'097;
    constexpr std::uint32_t kToJanuary = 306;  // days
    const std::uint32_t quarters = 4 * (daysSince1601 + kMarchOfYear0) + 3;
    const std::uint32_t century = quarters / kDaysIn400Years;
    const std::uint32_t quartersOfCentury = quarters % kDaysIn400Years | 3;
    const std::uint64_t product = std::uint64_t{2'939'745} * quartersOfCentury;
    const auto yearOfCentury = static_cast<std::uint32_t>(product >> 32);
    const std::uint32_t dayOfYear = static_cast<std::uint32_t>(product) / 2'939'745 / 4;
    const std::uint32_t months = 2141 * dayOfYear + 197'913;
    const bool nextYear = dayOfYear >= kToJanuary;
    return {100 * century + yearOfCentury + (nextYear ? 1U : 0U),
            (months >> 16) - (nextYear ? 12U : 0U), (months & 0xFFFF) / 2141 + 1};
}

}  // namespace

void CRecordPrefixFormatter::SetDay(std::uint32_t day) {
    const Date date = DateOf(day);
    CUnits units(m_dayText.data());
    units.PutPair(date.month);
    units.Put(std::array{u'/'});
    units.PutPair(date.day);
    units.Put(std::array{u'/'});
    units.PutPair(date.year / 100);
    units.PutPair(date.year % 100);
    units.Put(std::array{u' '});
    m_day = day;
}

std::size_t CRecordPrefixFormatter::Write(std::int64_t ticks, std::int64_t size, std::byte* out) {
    const std::uint64_t seconds =
        std::min(static_cast<std::uint64_t>(std::max(ticks, std::int64_t{0}) / kTicksPerSecond),
                 kLastSecond);
    const auto day = static_cast<std::uint32_t>(seconds / kSecondsPerDay);
    const auto second = static_cast<std::uint32_t>(seconds % kSecondsPerDay);
    if (day != m_day) {
        SetDay(day);
    }
    CUnits units(out);
    units.Put(m_dayText);
    units.PutPair(second / 3600);
    units.Put(std::array{u':'});
    units.PutPair(second / 60 % 60);
    units.Put(std::array{u':'});
    units.PutPair(second % 60);
    units.Put(std::array{u',', u' '});
    const auto bits = static_cast<std::uint64_t>(size);
    if (size < 0) {
        units.Put(std::array{u'-'});
    }
    units.PutDecimal(size < 0 ? 0 - bits : bits);
    units.Put(std::array{u',', u' '});
    return static_cast<std::size_t>(units.At() - out) / 2;
}

}  // namespace tdf

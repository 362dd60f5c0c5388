#include "tdf/generation/record_prefix_formatter.h"

#include <algorithm>

#include "platform/calendar.h"
#include "platform/times.h"
#include "text/unit_writer.h"

namespace tdf {

namespace {

// The last second of the year 9999.
constexpr std::int64_t kLastSecond = 3'067'671 * platform::kSecondsPerDay - 1;

using Pair = std::array<char16_t, 2>;

constexpr std::array<Pair, 100> MakePairs() {
    std::array<Pair, 100> pairs{};
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        pairs[i] = {static_cast<char16_t>(u'0' + i / 10), static_cast<char16_t>(u'0' + i % 10)};
    }
    return pairs;
}

constexpr std::array<Pair, 100> kPairs = MakePairs();

void PutPair(text::CUnitWriter& out, std::uint32_t value) noexcept {
    out.Put(kPairs[value]);
}

// At least one digit, without padding.
void PutDecimal(text::CUnitWriter& out, std::uint64_t value) noexcept {
    std::uint32_t pairs[10];
    std::size_t count = 0;
    for (; value >= 10; value /= 100) {
        pairs[count++] = static_cast<std::uint32_t>(value % 100);
    }
    if (value != 0 || count == 0) {
        out.Put(static_cast<char16_t>(u'0' + value));
    }
    while (count > 0) {
        PutPair(out, pairs[--count]);
    }
}

}  // namespace

void CRecordPrefixFormatter::SetDay(std::uint32_t day) {
    const platform::CalendarDate date = platform::DateOfDay(day);
    text::CUnitWriter out(reinterpret_cast<std::byte*>(m_dayText.data()));
    PutPair(out, date.month);
    out.Put(u'/');
    PutPair(out, date.day);
    out.Put(u'/');
    PutPair(out, date.year / 100);
    PutPair(out, date.year % 100);
    out.Put(u' ');
    m_day = day;
}

std::size_t CRecordPrefixFormatter::Write(std::int64_t ticks, std::int64_t size, std::byte* line) {
    const std::int64_t seconds =
        std::clamp(ticks / platform::kTicksPerSecond, std::int64_t{0}, kLastSecond);
    const auto day = static_cast<std::uint32_t>(seconds / platform::kSecondsPerDay);
    const auto second = static_cast<std::uint32_t>(seconds % platform::kSecondsPerDay);
    if (day != m_day) {
        SetDay(day);
    }
    text::CUnitWriter out(line);
    out.Put(m_dayText);
    PutPair(out, second / 3600);
    out.Put(u':');
    PutPair(out, second / 60 % 60);
    out.Put(u':');
    PutPair(out, second % 60);
    out.Put(std::array{u',', u' '});
    const auto bits = static_cast<std::uint64_t>(size);
    if (size < 0) {
        out.Put(u'-');
    }
    PutDecimal(out, size < 0 ? 0 - bits : bits);
    out.Put(std::array{u',', u' '});
    return out.Count();
}

}  // namespace tdf

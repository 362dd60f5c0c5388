#include "text/unicode_text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "text/unaligned.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace text {

namespace {

constexpr std::size_t kMinUnits = 3;  // shorter text is never taken for eight-bit text
constexpr std::int64_t kThresholdBits = 8;
constexpr std::int64_t kNotEightBit = -16;

bool IsPrintable(std::uint32_t c) {
    return c >= 0x20 && c <= 0x7E;
}
bool IsDigit(std::uint32_t c) {
    return c >= '0' && c <= '9';
}
bool IsLower(std::uint32_t c) {
    return c >= 'a' && c <= 'z';
}
bool IsUpper(std::uint32_t c) {
    return c >= 'A' && c <= 'Z';
}
bool IsHighSurrogate(std::uint32_t unit) {
    return (unit & 0xFC00U) == 0xD800U;
}
bool IsLowSurrogate(std::uint32_t unit) {
    return (unit & 0xFC00U) == 0xDC00U;
}
bool EndsLine(std::uint32_t unit) {
    return unit == 0 || unit == '\n' || unit == '\r';
}

bool IsNoncharacter(std::uint32_t scalar) {
    return (scalar & 0xFFFEU) == 0xFFFEU || (scalar >= 0xFDD0 && scalar <= 0xFDEF);
}

// Whether the unit at `i` is valid between its neighbours.
bool IsValidAt(const std::byte* units, std::size_t i, std::size_t count) noexcept {
    const std::uint32_t unit = LoadUnit(units, i);
    if (IsHighSurrogate(unit)) {
        const std::uint32_t next = i + 1 < count ? LoadUnit(units, i + 1) : 0;
        const std::uint32_t scalar = 0x10000U + ((unit & 0x3FFU) << 10) + (next & 0x3FFU);
        return IsLowSurrogate(next) && !IsNoncharacter(scalar);
    }
    if (IsLowSurrogate(unit)) {
        return i > 0 && IsHighSurrogate(LoadUnit(units, i - 1));
    }
    return !IsNoncharacter(unit) && !EndsLine(unit);
}

// The same for the units from `begin` to before `end`.
bool AreValid(const std::byte* units, std::size_t begin, std::size_t end,
              std::size_t count) noexcept {
    while (begin < end && IsValidAt(units, begin, count)) {
        ++begin;
    }
    return begin == end;
}

// The weight of an ideograph (0x4E00 to 0x7E7E) by the two characters of eight-bit text, of
// which the first is the low byte.
std::int64_t WeightOfIdeograph(std::uint32_t first, std::uint32_t second) {
    if (IsLower(second)) {
        if (IsLower(first)) {
            return 4;
        }
        return IsUpper(first) ? 0 : IsDigit(first) ? -1 : 1;
    }
    return second == '_' && IsLower(first) ? 1 : -2;
}

// The weight of a unit, in bits.
std::int64_t WeightOf(std::uint32_t unit) {
    const std::uint32_t first = unit & 0xFFU;
    const std::uint32_t second = unit >> 8;
    if (first >= 0xC0 && second >= 0xC0) {
        // Hangul and surrogates below, Arabic forms above: none from eight-bit text.
        return second < 0xE0 ? kNotEightBit : second <= 0xF8 ? 4 : 0;
    }
    if (!IsPrintable(first) || !IsPrintable(second)) {
        return kNotEightBit;
    }
    if (second >= 0x4E) {
        return WeightOfIdeograph(first, second);
    }
    if (second >= 0x34 || second == '.') {
        return 8;
    }
    // Kana, jamo, symbols and punctuation have no weight.
    return IsDigit(first) && (second == '0' || second == '2' || second == '3') ? 6 : 0;
}

bool LooksLikeEightBitText(const std::byte* units, std::size_t count) noexcept {
    if (count < kMinUnits) {
        return false;
    }
    std::int64_t bits = 0;
    for (std::size_t i = 0; i + 1 < count; ++i) {
        bits += WeightOf(LoadUnit(units, i));
    }
    const std::uint32_t last = LoadUnit(units, count - 1);
    bits += IsPrintable(last) ? 0 : WeightOf(last);
    return bits >= kThresholdBits;
}

}  // namespace

#if defined(__SSE2__)

namespace {

constexpr std::size_t kLanes = 8;  // code units in a vector

__m128i Load(const void* at) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i*>(at));
}
__m128i All(std::uint32_t unit) noexcept {
    return _mm_set1_epi16(static_cast<short>(unit));
}
std::uint32_t Mask(__m128i lanes) noexcept {
    return static_cast<std::uint32_t>(_mm_movemask_epi8(lanes));
}

__m128i Masked(__m128i units, std::uint32_t mask, std::uint32_t value) noexcept {
    return _mm_cmpeq_epi16(_mm_and_si128(units, All(mask)), All(value));
}

// Lanes outside U+0020 to U+007F. The sum moves that range to the smallest signed numbers.
__m128i BeyondAscii(__m128i units) noexcept {
    return _mm_cmpgt_epi16(_mm_add_epi16(units, All(0x8000 - 0x20)), All(0x8000 + 0x5F));
}

// Surrogates, noncharacters with their neighbours, control characters.
__m128i Unusual(__m128i units) noexcept {
    const __m128i controls = Masked(units, 0xFFE0, 0);
    const __m128i surrogates = Masked(units, 0xF800, 0xD800);
    const __m128i noncharacters =
        _mm_or_si128(Masked(units, 0xFFFE, 0xFFFE), Masked(units, 0xFFC0, 0xFDC0));
    return _mm_or_si128(_mm_or_si128(controls, surrogates), noncharacters);
}

// All units with a weight other than kNotEightBit, and some others.
__m128i MayBeEightBit(__m128i units) noexcept {
    const __m128i shifted = _mm_sub_epi8(units, _mm_set1_epi8(0x20));
    const __m128i printable =
        _mm_cmpeq_epi8(_mm_min_epu8(shifted, _mm_set1_epi8(0x7E - 0x20)), shifted);
    return _mm_or_si128(_mm_cmpeq_epi16(printable, All(0xFFFF)), Masked(units, 0xC0C0, 0xC0C0));
}

// Eight lanes off, then eight on. Loaded at index n, the last n lanes are on.
constexpr std::uint16_t kLastLanes[2 * kLanes] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF};

// Collects the statistics of a text, eight units at a time.
class CStatisticsCollector {
public:
    CStatisticsCollector(const std::byte* units, std::size_t count) noexcept
        : m_units(units), m_count(count) {
        std::size_t at = 0;
        for (; m_valid && count - at >= 2 * kLanes; at += 2 * kLanes) {
            const __m128i first = Load(units + 2 * at);
            const __m128i second = Load(units + 2 * (at + kLanes));
            if (Mask(_mm_or_si128(BeyondAscii(first), BeyondAscii(second))) != 0) {
                Add(first, at, All(0xFFFF));
                Add(second, at + kLanes, All(0xFFFF));
            }
        }
        if (m_valid && count - at >= kLanes) {
            Add(Load(units + 2 * at), at, All(0xFFFF));
            at += kLanes;
        }
        if (m_valid && at < count) {
            AddRest(count - at);
        }
    }

    bool IsValid() const noexcept { return m_valid; }
    // Of a valid text; at least the number of units with a weight above kNotEightBit.
    std::size_t EightBitUnits() const noexcept {
        std::uint64_t halves[2];
        std::memcpy(halves, &m_eightBit, sizeof halves);
        return static_cast<std::size_t>(halves[0] + halves[1]);
    }

private:
    void AddRest(std::size_t left) noexcept {
        if (m_count >= kLanes) {
            const std::size_t at = m_count - kLanes;
            Add(Load(m_units + 2 * at), at, Load(kLastLanes + left));
            return;
        }
        __m128i rest = All(u'a');
        std::memcpy(&rest, m_units, 2 * left);
        Add(rest, 0, All(0xFFFF));
    }

    // `units` are those at `at`; the units in the lanes of `counted` are new.
    void Add(__m128i units, std::size_t at, __m128i counted) noexcept {
        if (Mask(BeyondAscii(units)) == 0) {
            return;
        }
        const std::size_t end = std::min(at + kLanes, m_count);
        if (Mask(Unusual(units)) != 0 && !AreValid(m_units, at, end, m_count)) {
            m_valid = false;
        }
        const __m128i ones = _mm_and_si128(_mm_and_si128(MayBeEightBit(units), counted), All(1));
        m_eightBit = _mm_add_epi64(m_eightBit, _mm_sad_epu8(ones, _mm_setzero_si128()));
    }

    const std::byte* m_units;
    std::size_t m_count;
    __m128i m_eightBit = _mm_setzero_si128();  // two sums
    bool m_valid = true;
};

}  // namespace

TextStatistics CollectTextStatistics(const std::byte* units, std::size_t count) noexcept {
    const CStatisticsCollector collector(units, count);
    return {collector.IsValid(), count, collector.EightBitUnits()};
}

#else

TextStatistics CollectTextStatistics(const std::byte* units, std::size_t count) noexcept {
    TextStatistics statistics{AreValid(units, 0, count, count), count, 0};
    for (std::size_t i = 0; i < count; ++i) {
        statistics.eightBit += WeightOf(LoadUnit(units, i)) != kNotEightBit ? 1 : 0;
    }
    return statistics;
}

#endif

bool LooksLikeUtf16Text(const std::byte* units, std::size_t count) noexcept {
    const TextStatistics statistics = CollectTextStatistics(units, count);
    return statistics.Passes() ||
           (statistics.valid && count != 0 && !LooksLikeEightBitText(units, count));
}

}  // namespace text

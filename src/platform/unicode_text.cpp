#include "platform/unicode_text.h"

#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace platform {

namespace {

constexpr std::size_t kFewestUnits = 3;  // below, nothing is taken for eight-bit text
constexpr std::int64_t kVerdictBits = 8;
constexpr std::int64_t kForeign = -16;

std::uint32_t UnitAt(const std::byte* units, std::size_t i) noexcept {
    std::uint16_t unit;
    std::memcpy(&unit, units + 2 * i, sizeof unit);
    return unit;
}

bool IsPrintable(std::uint32_t c) {
    return c >= 0x20 && c <= 0x7E;
}
bool IsDigit(std::uint32_t c) {
    return c >= '0' && c <= '9';
}
bool IsSmall(std::uint32_t c) {
    return c >= 'a' && c <= 'z';
}
bool IsCapital(std::uint32_t c) {
    return c >= 'A' && c <= 'Z';
}
bool IsHighSurrogate(std::uint32_t unit) {
    return (unit & 0xFC00U) == 0xD800U;
}
bool IsLowSurrogate(std::uint32_t unit) {
    return (unit & 0xFC00U) == 0xDC00U;
}
bool BreaksLines(std::uint32_t unit) {
    return unit == 0 || unit == '\n' || unit == '\r';
}

bool IsNoncharacter(std::uint32_t scalar) {
    return (scalar & 0xFFFEU) == 0xFFFEU || (scalar >= 0xFDD0 && scalar <= 0xFDEF);
}

// The number of units of the character at `i`; 0 when it is none that text may hold.
std::size_t CharacterLength(const std::byte* units, std::size_t i, std::size_t count) noexcept {
    const std::uint32_t unit = UnitAt(units, i);
    if (!IsHighSurrogate(unit)) {
        return IsLowSurrogate(unit) || IsNoncharacter(unit) || BreaksLines(unit) ? 0 : 1;
    }
    const std::uint32_t next = i + 1 < count ? UnitAt(units, i + 1) : 0;
    const std::uint32_t scalar = 0x10000U + ((unit & 0x3FFU) << 10) + (next & 0x3FFU);
    return !IsLowSurrogate(next) || IsNoncharacter(scalar) ? 0 : 2;
}

bool IsWellFormed(const std::byte* units, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count;) {
        const std::size_t length = CharacterLength(units, i, count);
        if (length == 0) {
            return false;
        }
        i += length;
    }
    return true;
}

// The weight of an ideograph (0x4E00 to 0x7E7E) by the two characters it would come from;
// the first byte of eight-bit text is the low one.
std::int64_t WeighIdeograph(std::uint32_t first, std::uint32_t second) {
    if (IsSmall(second)) {
        if (IsSmall(first)) {
            return 4;
        }
        return IsCapital(first) ? 0 : IsDigit(first) ? -1 : 1;
    }
    return second == '_' && IsSmall(first) ? 1 : -2;
}

// How many bits speak for eight-bit text rather than for a unit of its own.
std::int64_t Weigh(std::uint32_t unit) {
    const std::uint32_t first = unit & 0xFFU;
    const std::uint32_t second = unit >> 8;
    if (first >= 0xC0 && second >= 0xC0) {
        // Below lie Hangul and surrogates, above Arabic forms: these are no evidence.
        return second < 0xE0 ? kForeign : second <= 0xF8 ? 4 : 0;
    }
    if (!IsPrintable(first) || !IsPrintable(second)) {
        return kForeign;
    }
    if (second >= 0x4E) {
        return WeighIdeograph(first, second);
    }
    if (second >= 0x34 || second == '.') {
        return 8;
    }
    // The kana of block 0x30 stay aside, and so do jamo, symbols and punctuation.
    return IsDigit(first) && (second == '0' || second == '2' || second == '3') ? 6 : 0;
}

bool ReadsAsEightBit(const std::byte* units, std::size_t count) noexcept {
    if (count < kFewestUnits) {
        return false;
    }
    std::int64_t bits = 0;
    for (std::size_t i = 0; i + 1 < count; ++i) {
        bits += Weigh(UnitAt(units, i));
    }
    const std::uint32_t last = UnitAt(units, count - 1);
    bits += IsPrintable(last) ? 0 : Weigh(last);
    return bits >= kVerdictBits;
}

}  // namespace

bool ReadsAsUnicodePlainly(const std::byte* units, std::size_t count) noexcept {
    return count != 0 && IsWellFormed(units, count) && !ReadsAsEightBit(units, count);
}

#if defined(__SSE2__)

namespace {

constexpr std::size_t kLanes = 8;          // code units in a vector
constexpr std::size_t kMostRounds = 4096;  // a lane counts them in 16 bits

__m128i Load(const std::byte* at) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

__m128i All(std::uint16_t unit) noexcept {
    return _mm_set1_epi16(static_cast<short>(unit));
}

// What a pass over the text finds, eight units at a time.
class CSurvey {
public:
    void Add(__m128i units) noexcept {
        m_unusual = _mm_or_si128(m_unusual, Unusual(units));
        if (_mm_movemask_epi8(IsBelow0x80(units)) != 0xFFFF) {
            m_lanes = _mm_sub_epi16(m_lanes, MayBeEightBit(units));
        }
    }
    // Brings the lanes' counts together; at least once in kMostRounds calls of Add.
    void Gather() noexcept {
        std::uint16_t lanes[kLanes];
        std::memcpy(lanes, &m_lanes, sizeof lanes);
        for (const std::uint16_t lane : lanes) {
            m_count += lane;
        }
        m_lanes = _mm_setzero_si128();
    }

    // Surrogates, noncharacters and their neighbours, control characters.
    bool FoundUnusual() const noexcept { return _mm_movemask_epi8(m_unusual) != 0; }
    // Units whose weight is not kForeign, and a few more.
    std::size_t EightBitUnits() const noexcept { return m_count; }

private:
    static __m128i Masked(__m128i units, std::uint16_t mask, std::uint16_t value) noexcept {
        return _mm_cmpeq_epi16(_mm_and_si128(units, All(mask)), All(value));
    }
    static __m128i IsBelow0x80(__m128i units) noexcept { return Masked(units, 0xFF80, 0); }
    static __m128i Unusual(__m128i units) noexcept {
        const __m128i controls = Masked(units, 0xFFE0, 0);
        const __m128i surrogates = Masked(units, 0xF800, 0xD800);
        const __m128i noncharacters =
            _mm_or_si128(Masked(units, 0xFFFE, 0xFFFE), Masked(units, 0xFFC0, 0xFDC0));
        return _mm_or_si128(_mm_or_si128(controls, surrogates), noncharacters);
    }
    static __m128i MayBeEightBit(__m128i units) noexcept {
        const __m128i shifted = _mm_sub_epi8(units, _mm_set1_epi8(0x20));
        const __m128i printable =
            _mm_cmpeq_epi8(_mm_min_epu8(shifted, _mm_set1_epi8(0x7E - 0x20)), shifted);
        return _mm_or_si128(_mm_cmpeq_epi16(printable, All(0xFFFF)), Masked(units, 0xC0C0, 0xC0C0));
    }

    __m128i m_unusual = _mm_setzero_si128();
    __m128i m_lanes = _mm_setzero_si128();
    std::size_t m_count = 0;
};

CSurvey SurveyText(const std::byte* units, std::size_t count) noexcept {
    CSurvey survey;
    while (count >= kLanes) {
        for (std::size_t round = 0; count >= kLanes && round < kMostRounds; ++round) {
            survey.Add(Load(units));
            units += 2 * kLanes;
            count -= kLanes;
        }
        survey.Gather();
    }
    if (count != 0) {
        __m128i rest = All(u'a');
        std::memcpy(&rest, units, 2 * count);
        survey.Add(rest);
        survey.Gather();
    }
    return survey;
}

}  // namespace

bool ReadsAsUnicode(const std::byte* units, std::size_t count) noexcept {
    const CSurvey survey = SurveyText(units, count);
    if (survey.FoundUnusual()) {
        return ReadsAsUnicodePlainly(units, count);
    }
    // A unit weighs 8 bits at most and a foreign one -16: too few of the former pass
    // without weighing. The last unit may count for neither.
    const std::size_t foreign = count - survey.EightBitUnits();
    if (survey.EightBitUnits() + 1 < 2 * foreign) {
        return true;
    }
    return count != 0 && !ReadsAsEightBit(units, count);
}

#else

bool ReadsAsUnicode(const std::byte* units, std::size_t count) noexcept {
    return ReadsAsUnicodePlainly(units, count);
}

#endif

}  // namespace platform

#include "text/unicode_text.h"

#include <cstdint>

#include "text/unaligned.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace text {

namespace {

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

}  // namespace

#if defined(__SSE2__)

namespace {

constexpr std::size_t kLanes = 8;  // code units of a vector

__m128i Load(const void* at) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i*>(at));
}
__m128i All(std::uint32_t unit) noexcept {
    return _mm_set1_epi16(static_cast<short>(unit));
}
std::uint32_t Mask(__m128i lanes) noexcept {
    return static_cast<std::uint32_t>(_mm_movemask_epi8(lanes));
}

// Lanes that have `value` in the bits of `mask`.
__m128i Masked(__m128i units, std::uint32_t mask, std::uint32_t value) noexcept {
    return _mm_cmpeq_epi16(_mm_and_si128(units, All(mask)), All(value));
}

// Surrogates, noncharacters with their neighbours, control characters.
__m128i Unusual(__m128i units) noexcept {
    const __m128i controls = Masked(units, 0xFFE0, 0);
    const __m128i surrogates = Masked(units, 0xF800, 0xD800);
    const __m128i noncharacters =
        _mm_or_si128(Masked(units, 0xFFFE, 0xFFFE), Masked(units, 0xFFC0, 0xFDC0));
    return _mm_or_si128(_mm_or_si128(controls, surrogates), noncharacters);
}

// Whether the eight units at `at` are valid between their neighbours.
bool AreEightValid(const std::byte* units, std::size_t at, std::size_t count) noexcept {
    const __m128i eight = Load(units + 2 * at);
    return Mask(Unusual(eight)) == 0 || AreValid(units, at, at + kLanes, count);
}

}  // namespace

// The last vector overlaps the one before it.
bool IsUnicodeText(const std::byte* units, std::size_t count) noexcept {
    if (count < kLanes) {
        return AreValid(units, 0, count, count);
    }
    const std::size_t last = count - kLanes;
    for (std::size_t at = 0; at < last; at += kLanes) {
        if (!AreEightValid(units, at, count)) {
            return false;
        }
    }
    return AreEightValid(units, last, count);
}

#else

bool IsUnicodeText(const std::byte* units, std::size_t count) noexcept {
    return AreValid(units, 0, count, count);
}

#endif

}  // namespace text

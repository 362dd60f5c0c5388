#include "text/packed_text.h"

#include <algorithm>
#include <bit>
#include <cstdint>

#include "text/ascii_case.h"
#include "text/unaligned.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace text {

std::byte PackUnit(char16_t unit) noexcept {
    if (unit < 0x80) {
        return static_cast<std::byte>(ToLowerAscii(unit));
    }
    return static_cast<std::byte>(std::min((unit & 0x7FU) | 0x80U, 0xFEU));
}

namespace {

void PackUnitsScalar(const std::byte* units, std::size_t count, std::byte* packed) noexcept {
    for (std::size_t i = 0; i < count; ++i) {
        packed[i] = PackUnit(LoadUnit(units, i));
    }
}

std::size_t FindBytePairScalar(const std::byte* bytes, std::size_t starts, std::byte first,
                               std::byte last, std::size_t distance) noexcept {
    for (std::size_t i = 0; i < starts; ++i) {
        if (bytes[i] == first && bytes[i + distance] == last) {
            return i;
        }
    }
    return starts;
}

}  // namespace

#if defined(__SSE2__)

namespace {

constexpr std::size_t kLanes = 16;  // bytes in a vector

__m128i Load(const std::byte* bytes) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

// Packs two vectors of units.
__m128i Pack(__m128i low, __m128i high) noexcept {
    const __m128i lowBits = _mm_set1_epi16(0x7F);
    const __m128i highBits = _mm_set1_epi16(static_cast<short>(0xFF80));
    const __m128i zero = _mm_setzero_si128();
    const __m128i bytes =
        _mm_packus_epi16(_mm_and_si128(low, lowBits), _mm_and_si128(high, lowBits));
    const __m128i ascii = _mm_packs_epi16(_mm_cmpeq_epi16(_mm_and_si128(low, highBits), zero),
                                          _mm_cmpeq_epi16(_mm_and_si128(high, highBits), zero));
    const __m128i capital =
        _mm_and_si128(_mm_and_si128(ascii, _mm_cmpgt_epi8(bytes, _mm_set1_epi8('A' - 1))),
                      _mm_cmpgt_epi8(_mm_set1_epi8('Z' + 1), bytes));
    const __m128i raised =
        _mm_or_si128(_mm_and_si128(capital, _mm_set1_epi8(0x20)),
                     _mm_andnot_si128(ascii, _mm_set1_epi8(static_cast<char>(0x80))));
    return _mm_min_epu8(_mm_or_si128(bytes, raised), _mm_set1_epi8(static_cast<char>(0xFE)));
}

void Pack16(const std::byte* units, std::byte* packed) noexcept {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(packed), Pack(Load(units), Load(units + kLanes)));
}

void Pack8(const std::byte* units, std::byte* packed) noexcept {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(packed), Pack(Load(units), _mm_setzero_si128()));
}

}  // namespace

// The last vector overlaps the one before it.
void PackUnits(const std::byte* units, std::size_t count, std::byte* packed) noexcept {
    if (count < kLanes / 2) {
        PackUnitsScalar(units, count, packed);
    } else if (count < kLanes) {
        const std::size_t last = count - kLanes / 2;
        Pack8(units, packed);
        Pack8(units + 2 * last, packed + last);
    } else {
        const std::size_t last = count - kLanes;
        for (std::size_t i = 0; i < last; i += kLanes) {
            Pack16(units + 2 * i, packed + i);
        }
        Pack16(units + 2 * last, packed + last);
    }
}

std::size_t FindBytePair(const std::byte* bytes, std::size_t starts, std::byte first,
                         std::byte last, std::size_t distance) noexcept {
    const __m128i atFirst = _mm_set1_epi8(std::to_integer<char>(first));
    const __m128i atLast = _mm_set1_epi8(std::to_integer<char>(last));
    std::size_t i = 0;
    for (; starts - i >= kLanes; i += kLanes) {
        const __m128i both = _mm_and_si128(_mm_cmpeq_epi8(Load(bytes + i), atFirst),
                                           _mm_cmpeq_epi8(Load(bytes + i + distance), atLast));
        const auto found = static_cast<unsigned>(_mm_movemask_epi8(both));
        if (found != 0) {
            return i + static_cast<std::size_t>(std::countr_zero(found));
        }
    }
    return i + FindBytePairScalar(bytes + i, starts - i, first, last, distance);
}

#else

void PackUnits(const std::byte* units, std::size_t count, std::byte* packed) noexcept {
    PackUnitsScalar(units, count, packed);
}

std::size_t FindBytePair(const std::byte* bytes, std::size_t starts, std::byte first,
                         std::byte last, std::size_t distance) noexcept {
    return FindBytePairScalar(bytes, starts, first, last, distance);
}

#endif

}  // namespace text

#include "platform/text_scan.h"

#include <bit>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace platform {

namespace {

char16_t UnitAt(const std::byte* units, std::size_t i) noexcept {
    char16_t unit;
    std::memcpy(&unit, units + 2 * i, sizeof unit);
    return unit;
}

}  // namespace

std::size_t FindUnitPairPlainly(const std::byte* units, std::size_t starts, CUnitTest first,
                                CUnitTest last, std::size_t distance) noexcept {
    for (std::size_t i = 0; i < starts; ++i) {
        if (first.Passes(UnitAt(units, i)) && last.Passes(UnitAt(units, i + distance))) {
            return i;
        }
    }
    return starts;
}

#if defined(__SSE2__)

namespace {

constexpr std::size_t kLanes = 8;  // code units in a vector

class CLaneTest {
public:
    explicit CLaneTest(CUnitTest test) noexcept
        : m_mask(_mm_set1_epi16(static_cast<short>(test.mask))),
          m_value(_mm_set1_epi16(static_cast<short>(test.value))) {}

    __m128i Passing(const std::byte* units) const noexcept {
        const __m128i lanes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units));
        return _mm_cmpeq_epi16(_mm_or_si128(lanes, m_mask), m_value);
    }

private:
    __m128i m_mask;
    __m128i m_value;
};

}  // namespace

std::size_t FindUnitPair(const std::byte* units, std::size_t starts, CUnitTest first,
                         CUnitTest last, std::size_t distance) noexcept {
    const CLaneTest atFirst(first);
    const CLaneTest atLast(last);
    std::size_t i = 0;
    for (; starts - i >= kLanes; i += kLanes) {
        const std::byte* const at = units + 2 * i;
        const __m128i both = _mm_and_si128(atFirst.Passing(at), atLast.Passing(at + 2 * distance));
        const auto found = static_cast<unsigned>(_mm_movemask_epi8(both));
        if (found != 0) {
            return i + static_cast<std::size_t>(std::countr_zero(found)) / 2;
        }
    }
    return i + FindUnitPairPlainly(units + 2 * i, starts - i, first, last, distance);
}

#else

std::size_t FindUnitPair(const std::byte* units, std::size_t starts, CUnitTest first,
                         CUnitTest last, std::size_t distance) noexcept {
    return FindUnitPairPlainly(units, starts, first, last, distance);
}

#endif

}  // namespace platform

#include "text/text_scan.h"

#include <bit>

#include "text/unaligned.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace text {

namespace {

std::size_t FindUnitPairScalar(const std::byte* units, std::size_t starts, CUnitTest first,
                               CUnitTest last, std::size_t distance) noexcept {
    for (std::size_t i = 0; i < starts; ++i) {
        if (first.Passes(LoadUnit(units, i)) && last.Passes(LoadUnit(units, i + distance))) {
            return i;
        }
    }
    return starts;
}

}  // namespace

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

// The lanes at `units` where both tests pass, as bits: two for each lane.
unsigned BothPass(const CLaneTest& first, const CLaneTest& last, const std::byte* units,
                  std::size_t distance) noexcept {
    return static_cast<unsigned>(
        _mm_movemask_epi8(_mm_and_si128(first.Passing(units), last.Passing(units + 2 * distance))));
}

}  // namespace

// The last vector overlaps the one before it.
std::size_t FindUnitPair(const std::byte* units, std::size_t starts, CUnitTest first,
                         CUnitTest last, std::size_t distance) noexcept {
    if (starts < kLanes) {
        return FindUnitPairScalar(units, starts, first, last, distance);
    }
    const CLaneTest atFirst(first);
    const CLaneTest atLast(last);
    const std::size_t lastStart = starts - kLanes;
    for (std::size_t i = 0; i < lastStart; i += kLanes) {
        const unsigned found = BothPass(atFirst, atLast, units + 2 * i, distance);
        if (found != 0) {
            return i + static_cast<std::size_t>(std::countr_zero(found)) / 2;
        }
    }
    const unsigned found = BothPass(atFirst, atLast, units + 2 * lastStart, distance);
    return found == 0 ? starts : lastStart + static_cast<std::size_t>(std::countr_zero(found)) / 2;
}

#else

std::size_t FindUnitPair(const std::byte* units, std::size_t starts, CUnitTest first,
                         CUnitTest last, std::size_t distance) noexcept {
    return FindUnitPairScalar(units, starts, first, last, distance);
}

#endif

}  // namespace text

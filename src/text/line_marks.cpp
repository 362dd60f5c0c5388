#include "text/line_marks.h"

#include "text/unaligned.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace text {

namespace {

constexpr char16_t kByteOrderMark = u'\uFEFF';

void MarkLinesScalar(const std::byte* units, std::size_t count, LineMarks* marks) noexcept {
    for (std::size_t i = 0; i < count; ++i) {
        LineMarks& block = marks[i / LineMarks::kUnits];
        if (i % LineMarks::kUnits == 0) {
            block = {};
        }
        const std::uint64_t bit = std::uint64_t{1} << (i % LineMarks::kUnits);
        const char16_t unit = LoadUnit(units, i);
        block.lineFeeds |= unit == u'\n' ? bit : 0;
        block.backslashes |= unit == u'\\' ? bit : 0;
        block.dropped |= unit == u'\r' || unit == kByteOrderMark ? bit : 0;
    }
}

}  // namespace

#if defined(__SSE2__)

namespace {

constexpr std::size_t kLanes = 16;  // code units, once packed into bytes

__m128i LoadAt(const std::byte* units, std::size_t i) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + 2 * i));
}

std::uint64_t Equal(__m128i bytes, char value) noexcept {
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(value))));
}

std::uint64_t ByteOrderMarks(__m128i low, __m128i high) noexcept {
    const __m128i mark = _mm_set1_epi16(static_cast<short>(kByteOrderMark));
    return static_cast<unsigned>(_mm_movemask_epi8(
        _mm_packs_epi16(_mm_cmpeq_epi16(low, mark), _mm_cmpeq_epi16(high, mark))));
}

// Packing saturates: units of 0x80 to 0x7FFF become bytes of 0x80 and above, units of 0x8000
// and above become 0. So only units with a byte of 0 can be byte order marks.
void MarkBlock(const std::byte* units, LineMarks& block) noexcept {
    LineMarks marks{};
    for (std::size_t i = 0; i < LineMarks::kUnits; i += kLanes) {
        const __m128i low = LoadAt(units, i);
        const __m128i high = LoadAt(units, i + kLanes / 2);
        const __m128i bytes = _mm_packus_epi16(low, high);
        std::uint64_t dropped = Equal(bytes, '\r');
        if (Equal(bytes, 0) != 0) {
            dropped |= ByteOrderMarks(low, high);
        }
        marks.lineFeeds |= Equal(bytes, '\n') << i;
        marks.backslashes |= Equal(bytes, '\\') << i;
        marks.dropped |= dropped << i;
    }
    block = marks;
}

}  // namespace

void MarkLines(const std::byte* units, std::size_t count, LineMarks* marks) noexcept {
    std::size_t i = 0;
    for (; count - i >= LineMarks::kUnits; i += LineMarks::kUnits) {
        MarkBlock(units + 2 * i, marks[i / LineMarks::kUnits]);
    }
    MarkLinesScalar(units + 2 * i, count - i, marks + i / LineMarks::kUnits);
}

#else

void MarkLines(const std::byte* units, std::size_t count, LineMarks* marks) noexcept {
    MarkLinesScalar(units, count, marks);
}

#endif

}  // namespace text

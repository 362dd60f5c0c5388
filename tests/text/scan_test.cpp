// The fast scans against their plain forms: every length, every alignment, rare units.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "text/line_marks.h"
#include "text/packed_text.h"
#include "text/text_scan.h"

namespace text {
namespace {

constexpr char16_t kUnits[] = {u'a',      u'A',      u'\n',     u'\r',     u'\\',     u'\uFEFF',
                               u'\0',     u'z',      u'Z',      u'[',      u'@',      u'{',
                               u'\x7F',   u'\x80',   u'\xFF',   u'\u0100', u'\u0A0A', u'\u5C5C',
                               u'\u7FFF', u'\u8000', u'\uFFFF', u'?'};

// Units at an odd or even address of a block that ends with them, for the sanitizers.
class CUnits {
public:
    CUnits(std::mt19937& random, std::size_t count, std::size_t kinds)
        : m_shift(random() % 2), m_bytes(2 * count + m_shift) {
        for (std::size_t i = 0; i < count; ++i) {
            std::memcpy(m_bytes.data() + m_shift + 2 * i, &kUnits[random() % kinds], 2);
        }
    }
    const std::byte* Data() const { return m_bytes.data() + m_shift; }

private:
    std::size_t m_shift;
    std::vector<std::byte> m_bytes;
};

TEST(LineMarks, AgreeWithTheirPlainForm) {
    std::mt19937 random(1);
    for (int i = 0; i < 4000; ++i) {
        const std::size_t count = random() % 300;
        const CUnits units(random, count, i % 2 == 0 ? std::size(kUnits) : 3);
        const std::size_t blocks = (count + LineMarks::kUnits - 1) / LineMarks::kUnits;
        std::vector<LineMarks> fast(blocks, LineMarks{1, 1, 1});
        std::vector<LineMarks> plain(blocks, LineMarks{2, 2, 2});
        MarkLines(units.Data(), count, fast.data());
        MarkLinesScalar(units.Data(), count, plain.data());
        for (std::size_t b = 0; b < blocks; ++b) {
            ASSERT_TRUE(fast[b].lineFeeds == plain[b].lineFeeds &&
                        fast[b].backslashes == plain[b].backslashes &&
                        fast[b].dropped == plain[b].dropped)
                << i;
        }
    }
}

TEST(PackedText, AgreesWithItsPlainForm) {
    std::mt19937 random(2);
    for (std::uint32_t unit = 0; unit <= 0xFFFF; ++unit) {
        const auto packed = PackUnit(static_cast<char16_t>(unit));
        ASSERT_NE(packed, kPackedSeparator);
        ASSERT_EQ(packed < std::byte{0x80}, unit < 0x80);
        const std::vector<char16_t> many(16, static_cast<char16_t>(unit));
        std::byte fast[16];
        PackUnits(reinterpret_cast<const std::byte*>(many.data()), 16, fast);
        ASSERT_TRUE(fast[0] == packed && fast[15] == packed) << unit;
    }
    for (int i = 0; i < 4000; ++i) {
        const std::size_t count = random() % 70;
        const CUnits units(random, count, std::size(kUnits));
        std::vector<std::byte> fast(count);
        std::vector<std::byte> plain(count);
        PackUnits(units.Data(), count, fast.data());
        PackUnitsScalar(units.Data(), count, plain.data());
        ASSERT_EQ(fast, plain) << i;
    }
}

TEST(Pairs, AreFoundAsTheirPlainFormsFindThem) {
    std::mt19937 random(3);
    for (int i = 0; i < 20'000; ++i) {
        const std::size_t starts = random() % 60;
        const std::size_t distance = random() % 20;
        const CUnits units(random, starts + distance, i % 2 == 0 ? 2 : 9);
        const std::byte first{static_cast<unsigned char>("aA\n"[random() % 3])};
        const std::byte last{static_cast<unsigned char>("zA\0"[random() % 3])};
        ASSERT_EQ(FindBytePair(units.Data(), starts, first, last, distance),
                  FindBytePairScalar(units.Data(), starts, first, last, distance));
        const CUnitTest one = random() % 2 == 0 ? CUnitTest{0x20, u'a'} : CUnitTest{0, u'A'};
        const CUnitTest two = random() % 2 == 0 ? CUnitTest{0xFFFF, 0xFFFF} : CUnitTest{0, u'\n'};
        ASSERT_EQ(FindUnitPair(units.Data(), starts, one, two, distance),
                  FindUnitPairScalar(units.Data(), starts, one, two, distance));
    }
}

}  // namespace
}  // namespace text

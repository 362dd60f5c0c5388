// The fast scans against plain loops: every length, every alignment, rare units.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
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

// Random text, and the same units at an odd or even address of a block that ends with them,
// for the sanitizers.
struct Sample {
    Sample(std::mt19937& random, std::size_t count, std::size_t kinds)
        : shift(random() % 2), bytes(2 * count + shift), text(count, u'\0') {
        std::generate(text.begin(), text.end(), [&] { return kUnits[random() % kinds]; });
        std::copy_n(reinterpret_cast<const std::byte*>(text.data()), 2 * count, Units());
    }
    std::byte* Units() { return bytes.data() + shift; }

    std::size_t shift;
    std::vector<std::byte> bytes;
    std::u16string text;
};

std::byte PlainPacked(char16_t unit) {
    const int low = unit % 0x80;
    const int lower = low >= 'A' && low <= 'Z' ? low + 32 : low;
    return static_cast<std::byte>(unit < 0x80 ? lower : low == 0x7F ? 0xFE : low + 0x80);
}

TEST(LineMarks, AgreeWithAPlainLoop) {
    std::mt19937 random(1);
    for (int i = 0; i < 4000; ++i) {
        const std::size_t count = random() % 300;
        Sample sample(random, count, i % 2 == 0 ? std::size(kUnits) : 3);
        std::vector<LineMarks> marks((count + 63) / 64, LineMarks{1, 1, 1});
        MarkLines(sample.Units(), count, marks.data());
        sample.text.resize(64 * marks.size(), u'a');
        for (std::size_t at = 0; at < sample.text.size(); ++at) {
            const auto isMarked = [&](std::uint64_t bits) { return (bits >> at % 64 & 1) != 0; };
            const char16_t unit = sample.text[at];
            const LineMarks& block = marks[at / 64];
            ASSERT_EQ(isMarked(block.lineFeeds), unit == u'\n') << i;
            ASSERT_EQ(isMarked(block.backslashes), unit == u'\\') << i;
            ASSERT_EQ(isMarked(block.dropped), unit == u'\r' || unit == u'\uFEFF') << i;
        }
    }
}

TEST(PackedText, AgreesWithAPlainLoop) {
    for (std::uint32_t unit = 0; unit <= 0xFFFF; ++unit) {
        const std::u16string many(16, static_cast<char16_t>(unit));
        std::byte packed[16];
        PackUnits(reinterpret_cast<const std::byte*>(many.data()), 16, packed);
        const std::byte expected = PlainPacked(many[0]);
        ASSERT_TRUE(PackUnit(many[0]) == expected && packed[0] == expected &&
                    packed[15] == expected && expected != kPackedSeparator)
            << unit;
    }
    std::mt19937 random(2);
    for (int i = 0; i < 4000; ++i) {
        Sample sample(random, random() % 70, std::size(kUnits));
        std::vector<std::byte> packed(sample.text.size()), plain;
        PackUnits(sample.Units(), packed.size(), packed.data());
        std::transform(sample.text.begin(), sample.text.end(), std::back_inserter(plain),
                       PlainPacked);
        ASSERT_EQ(packed, plain) << i;
    }
}

TEST(Pairs, AreFoundAsAPlainLoopFindsThem) {
    std::mt19937 random(3);
    for (int i = 0; i < 20'000; ++i) {
        const std::size_t starts = random() % 60;
        const std::size_t distance = random() % 20;
        Sample sample(random, starts + distance, i % 2 == 0 ? 2 : 9);
        const auto plain = [&](auto&& isPair) {
            std::size_t start = 0;
            while (start < starts && !isPair(start)) {
                ++start;
            }
            return start;
        };
        const std::byte* bytes = sample.Units();
        const std::byte first{static_cast<unsigned char>("aA\n"[random() % 3])};
        const std::byte last{static_cast<unsigned char>("zA\0"[random() % 3])};
        ASSERT_EQ(FindBytePair(bytes, starts, first, last, distance), plain([&](std::size_t at) {
                      return bytes[at] == first && bytes[at + distance] == last;
                  }));
        const CUnitTest one = random() % 2 == 0 ? CUnitTest{0x20, u'a'} : CUnitTest{0, u'A'};
        const CUnitTest two = random() % 2 == 0 ? CUnitTest{0xFFFF, 0xFFFF} : CUnitTest{0, u'\n'};
        ASSERT_EQ(FindUnitPair(bytes, starts, one, two, distance), plain([&](std::size_t at) {
                      return (sample.text[at] | one.mask) == one.value &&
                             (sample.text[at + distance] | two.mask) == two.value;
                  }));
    }
}

}  // namespace
}  // namespace text

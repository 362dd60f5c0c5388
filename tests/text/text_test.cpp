#include "ZorelText.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>
#include <string_view>

namespace {

TEST(Text, EveryByteStringSurvivesTheWayToUtf16AndBack) {
    // The bytes at the limits of the forms of UTF-8.
    constexpr std::string_view kBytes =
        "a\x7F\x80\x88\x8F\x90\x98\x9F\xA0\xAC\xAF\xB0\xB2\xB3\xB4\xBF"
        "\xC0\xC1\xC3\xDF\xE0\xE2\xED\xED\xED\xEF\xF0\xF4\xF8\xFF";
    std::mt19937 random(1);
    for (int round = 0; round < 500'000; ++round) {
        std::string bytes;
        for (auto count = random() % 10; count > 0; --count) {
            bytes +=
                random() % 9 == 0 ? static_cast<char>(random()) : kBytes[random() % kBytes.size()];
        }
        const std::u16string wide = zorel::ToUtf16(bytes);
        ASSERT_EQ(zorel::ToUtf8(wide), bytes) << "round " << round;
        ASSERT_LE(wide.size(), bytes.size()) << "round " << round;
    }
}

TEST(Text, WellFormedTextIsConvertedAsUtf8) {
    std::mt19937 random(2);
    for (int round = 0; round < 20'000; ++round) {
        std::u32string points(random() % 6, U'\0');
        for (char32_t& point : points) {
            point = static_cast<char32_t>(random() % 0x110000 >> random() % 16);
            point = point >= 0xD800 && point <= 0xDFFF ? U'x' : point;
        }
        // The standard library's own conversion is the model.
        const std::filesystem::path model(points);
        const std::u16string wide = model.u16string();
        const std::u8string utf8 = model.u8string();
        const std::string bytes(utf8.begin(), utf8.end());
        ASSERT_EQ(zorel::ToUtf8(wide), bytes) << "round " << round;
        ASSERT_EQ(zorel::ToUtf16(bytes), wide) << "round " << round;
    }
}

TEST(Text, LoneSurrogatesAreCarriedAsTheirCodePointsAndStrayBytesAsLowSurrogates) {
    const std::pair<std::u16string, std::string> rows[] = {
        {u"a\xD800", "a\xED\xA0\x80"},
        {u"\xDBFFz", "\xED\xAF\xBFz"},
        {u"\xD800\xD801", "\xED\xA0\x80\xED\xA0\x81"},
        {u"\xDC7F\xDD00", "\xED\xB1\xBF\xED\xB4\x80"},
        {u"\xDC80x\xDCFF", "\x80x\xFF"},
    };
    for (const auto& [wide, bytes] : rows) {
        EXPECT_EQ(zorel::ToUtf8(wide), bytes);
        EXPECT_EQ(zorel::ToUtf16(bytes), wide) << bytes;
    }
}

}  // namespace

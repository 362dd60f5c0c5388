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
        std::u16string wide;
        for (auto count = random() % 6; count > 0; --count) {
            const auto unit = static_cast<char16_t>(random() >> (random() % 16));
            const bool surrogate = unit >= 0xD800 && unit <= 0xDFFF;
            wide += surrogate ? static_cast<char16_t>(0xD800 | (unit & 0x3FF)) : unit;
            wide += surrogate ? std::u16string(1, static_cast<char16_t>(0xDC00 | random() % 0x400))
                              : std::u16string();
        }
        // The standard library's own conversion is the model.
        const std::u8string model = std::filesystem::path(wide).u8string();
        const std::string bytes(model.begin(), model.end());
        ASSERT_EQ(zorel::ToUtf8(wide), bytes) << "round " << round;
        ASSERT_EQ(zorel::ToUtf16(bytes), wide) << "round " << round;
    }
}

TEST(Text, LoneSurrogatesAreCarriedAsTheirCodePointsAndStrayBytesAsLowSurrogates) {
    const struct {
        const char* label;
        std::u16string wide;
        std::string bytes;
    } rows[] = {
        {"high at the end", u"a\xD800", "a\xED\xA0\x80"},
        {"high before a letter", u"\xDBFFz", "\xED\xAF\xBFz"},
        {"two highs", u"\xD800\xD801", "\xED\xA0\x80\xED\xA0\x81"},
        {"low", u"\xDC7F\xDD00", "\xED\xB1\xBF\xED\xB4\x80"},
        {"stray bytes", u"\xDC80x\xDCFF", "\x80x\xFF"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(zorel::ToUtf8(row.wide), row.bytes) << row.label;
        EXPECT_EQ(zorel::ToUtf16(row.bytes), row.wide) << row.label;
    }
}

}  // namespace

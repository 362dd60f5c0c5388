#include "ZorelText.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>

namespace {

// Pieces that are valid, nearly valid and that change the meaning of their neighbours.
const std::string kPieces[] = {"a",
                               "\x80",
                               "\xC3\xA9",
                               "\xC3",
                               "\xC0\x80",
                               "\xE2\x82\xAC",
                               "\xE2\x82",
                               "\xE0\x80\x80",
                               "\xED\x9F\xBF",
                               "\xED\xA0\x80",
                               "\xED\xAF\xBF",
                               "\xED\xB0\x80",
                               "\xED\xB2\x80",
                               "\xED\xB3\xBF",
                               "\xED\xB4\x80",
                               "\xED\xBF\xBF",
                               "\xEF\xBF\xBF",
                               "\xED",
                               "\xF0\x9F\x98\x80",
                               "\xF0\x9F\x98",
                               "\xF4\x8F\xBF\xBF",
                               "\xF4\x90\x80\x80",
                               "\xF0\x80\x80\x80",
                               "\xF8\x88",
                               "\xFF"};

TEST(Text, EveryByteStringSurvivesTheWayToUtf16AndBack) {
    std::mt19937 random(1);
    for (int round = 0; round < 200'000; ++round) {
        std::string bytes;
        for (auto count = random() % 8; count > 0; --count) {
            const auto pick = random() % 30;
            bytes += pick < std::size(kPieces) ? kPieces[pick]
                                               : std::string(1, static_cast<char>(random()));
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

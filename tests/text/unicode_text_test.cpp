#include "text/unicode_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "ZorelText.h"

namespace text {
namespace {

using namespace std::literals;

// A plain model: one character after another.
bool IsText(std::u16string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t character = text[i];
        if (character >= 0xD800 && character <= 0xDFFF) {
            const char32_t low = i + 1 < text.size() ? text[i + 1] : 0;
            if (character >= 0xDC00 || low < 0xDC00 || low > 0xDFFF) {
                return false;
            }
            ++i;
            character = 0x10000 + (character - 0xD800) * 0x400 + (low - 0xDC00);
        }
        if (character % 0x10000 >= 0xFFFE || (character >= 0xFDD0 && character <= 0xFDEF) ||
            character == 0 || character == '\n' || character == '\r') {
            return false;
        }
    }
    return true;
}

// The result at an even and at an odd address, after a comparison with the model.
bool Passes(std::u16string_view text) {
    std::vector<std::byte> bytes(2 * text.size() + 1);
    const bool expected = IsText(text);
    for (std::byte* const units : {bytes.data(), bytes.data() + 1}) {
        std::copy_n(reinterpret_cast<const std::byte*>(text.data()), 2 * text.size(), units);
        EXPECT_EQ(IsUnicodeText(units, text.size()), expected) << zorel::ToUtf8(text);
    }
    return expected;
}

TEST(IsUnicodeText, PassesNamesOfAnyScript) {
    for (const std::u16string_view name :
         {u"", u"~", u"readme.txt", u"tab\there", u"Отчёт за год.doc", u"שלום", u"ลูกค้า", u"数据流",
          u"数据版本", u"物流数据", u"档案", u"李来海", u"日本語", u"한국어", u"👨‍👩‍👧",
          u"\uF022", u"\uFEFFx",
          u"\x6572\x6461\x656D",  // "readme", read as UTF-16
          // Next to units that are refused.
          u"\xFFFD", u"\xFDCF", u"\xFDF0", u"\xD83F\xDFFD", u"\xD7FF", u"\xE000", u"\x01",
          u"\x0B"}) {
        EXPECT_TRUE(Passes(name)) << zorel::ToUtf8(name);
    }
}

TEST(IsUnicodeText, RefusesInvalidText) {
    for (const std::u16string& text :
         {u"a\xD83D"s, u"\xD83D|a"s, u"\xDE00|a"s, u"\xDE00\xD83D"s, u"\xFFFE"s, u"h\xFFFE|i"s,
          u"a\xFFFF"s, u"\xFDD0"s, u"x\xFDEF"s, u"\xD83F\xDFFE"s, u"\xDBFF\xDFFF"s, u"a\0b"s,
          u"a\nb"s, u"a\rb"s}) {
        EXPECT_FALSE(Passes(text)) << zorel::ToUtf8(text);
        EXPECT_FALSE(Passes(u"more than eight units, then " + text)) << zorel::ToUtf8(text);
    }
}

TEST(IsUnicodeText, AgreesWithTheModel) {
    constexpr std::pair<std::uint32_t, std::uint32_t> kRare[] = {
        {0xD800, 0xDFFF}, {0xFDC0, 0xFFFF}, {0, 0x1F}, {0xD83D, 0xD83D}, {0xDE00, 0xDE00}};
    std::mt19937 random(42);
    int passed = 0;
    constexpr int kTexts = 40'000;
    for (int i = 0; i < kTexts && !testing::Test::HasFailure(); ++i) {
        std::u16string text(random() % 40, u'x');
        for (char16_t& unit : text) {
            if (random() % 30 == 0) {
                const auto [first, last] = kRare[random() % std::size(kRare)];
                unit = static_cast<char16_t>(first + random() % (last - first + 1));
            }
        }
        if (text.size() > 1 && random() % 2 == 0) {  // a pair, across each border of vectors
            text.replace(random() % (text.size() - 1), 2, u"\xD83D\xDE00");
        }
        passed += Passes(text) ? 1 : 0;
    }
    EXPECT_GT(passed, kTexts / 10);
    EXPECT_LT(passed, kTexts * 9 / 10);
}

}  // namespace
}  // namespace text

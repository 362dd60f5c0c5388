#include "text/unicode_text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "ZorelText.h"
#include "support/text_model.h"

namespace text {
namespace {

using namespace std::literals;

// The result at an even and at an odd address, after a comparison with the model.
bool Passes(std::u16string_view text) {
    std::vector<std::byte> bytes(2 * text.size() + 1);
    const bool expected = support::IsUnicodeText(text);
    for (std::byte* const units : {bytes.data(), bytes.data() + 1}) {
        std::copy_n(reinterpret_cast<const std::byte*>(text.data()), 2 * text.size(), units);
        EXPECT_EQ(LooksLikeUtf16Text(units, text.size()), expected) << zorel::ToUtf8(text);
        // Statistics may pass only what passes, and those of the parts add up.
        const TextStatistics whole = CollectTextStatistics(units, text.size());
        EXPECT_TRUE(expected || !whole.Passes()) << zorel::ToUtf8(text);
        constexpr std::size_t kCut = 11;
        if (text.size() > kCut && (text[kCut] & 0xF800) != 0xD800) {
            TextStatistics parts = CollectTextStatistics(units, kCut);
            parts += CollectTextStatistics(units + 2 * kCut, text.size() - kCut);
            EXPECT_EQ(parts.valid, whole.valid) << zorel::ToUtf8(text);
            EXPECT_TRUE(!whole.valid || parts.eightBit == whole.eightBit) << zorel::ToUtf8(text);
        }
    }
    return expected;
}

// Eight-bit text read as UTF-16; after an odd last byte comes a NUL.
std::u16string ReadAsUtf16(std::string_view bytes) {
    std::u16string text((bytes.size() + 1) / 2, u'\0');
    std::memcpy(text.data(), bytes.data(), bytes.size());
    return text;
}

TEST(LooksLikeUtf16Text, PassesNamesOfAnyScript) {
    for (const std::u16string_view name :
         {u"a", u"7", u"~", u"readme.txt", u"IMG_0001.JPG", u"tab\there", u"caf\u00E9", u"\u00FF",
          u"Отчёт за год.doc", u"я", u"Ωμέγα", u"שלום", u"مرحبا بالعالم", u"ลูกค้า", u"中", u"中文",
          u"文件夹", u"新建文本文档", u"工作报告", u"我的文档", u"财务报表", u"会议记录",
          u"項目計劃書", u"北京大学", u"資料夾", u"程式設計", u"楷體字", u"日本語", u"さくら",
          u"ひらがな", u"カタカナ", u"請求書", u"株式会社", u"見積書", u"東京都", u"㈱", u"ﾃｽﾄ",
          u"ＡＢＣ", u"한국어", u"보고서", u"ㅋㅋㅋㅋ", u"ㄱㄴㄷ", u"😀", u"👨‍👩‍👧",
          u"♥♥♥", u"नमस्ते", u"தமிழ்", u"ქართული", u"አማርኛ", u"ⵜⴰⵎⴰⵣⵉⵖⵜ", u"ᚠᚢᚦ", u"⠃⠗⠁", u"𝔘𝔫𝔦", u"…",
          u"\uF022", u"報告.txt", u"\uFEFFx",
          // Next to units that are refused.
          u"\xFFFD", u"\xFDCF", u"\xFDF0", u"\xD83F\xDFFD", u"\xD7FF", u"\xE000", u"\x01",
          u"\x0B"}) {
        EXPECT_TRUE(Passes(name)) << zorel::ToUtf8(name);
    }
}

TEST(LooksLikeUtf16Text, RefusesInvalidText) {
    EXPECT_FALSE(Passes(u""));
    for (const std::u16string& text :
         {u"a\xD83D"s, u"\xD83D|a"s, u"\xDE00|a"s, u"\xDE00\xD83D"s, u"\xFFFE"s, u"h\xFFFE|i"s,
          u"a\xFFFF"s, u"\xFDD0"s, u"x\xFDEF"s, u"\xD83F\xDFFE"s, u"\xDBFF\xDFFF"s, u"a\0b"s,
          u"a\nb"s, u"a\rb"s}) {
        EXPECT_FALSE(Passes(text)) << zorel::ToUtf8(text);
        EXPECT_FALSE(Passes(u"more than eight units, then " + text)) << zorel::ToUtf8(text);
    }
}

TEST(LooksLikeUtf16Text, RefusesEightBitText) {
    for (const std::string_view bytes :
         {"readme.txt", "README", "Report", "Document.doc", "IMG_0001.JPG", "20130115.txt",
          "hello world", "data01.bin", "my_file-name.tar.gz", "/usr/share/doc",
          "\xCF\xF0\xE8\xE2\xE5\xF2",          // a word in a Cyrillic code page
          "M\xFCller_Bericht_entwurf.doc"}) {  // one letter outside ASCII
        EXPECT_FALSE(Passes(ReadAsUtf16(bytes))) << bytes;
    }
    EXPECT_TRUE(Passes(u"01/15/2013 09:05:07, 1234, C:\\" + ReadAsUtf16("readme.txt")));
}

TEST(LooksLikeUtf16Text, AgreesWithTheModel) {
    struct Kind {
        std::uint32_t first, last, share;
    };
    constexpr Kind kKinds[] = {{0x20, 0x7E, 40},     {0x6161, 0x7A7A, 60}, {0x4E00, 0x9FFF, 20},
                               {0x3400, 0x4DBF, 10}, {0x3041, 0x30FF, 10}, {0xE0E0, 0xF8FF, 10},
                               {0xD800, 0xDFFF, 1},  {0xFDC0, 0xFFFF, 1},  {0, 0x1F, 1}};
    std::mt19937 random(42);
    int passed = 0;
    constexpr int kTexts = 40'000;
    for (int i = 0; i < kTexts && !testing::Test::HasFailure(); ++i) {
        std::u16string text(random() % 40, u'x');
        const std::size_t kinds = 1 + random() % std::size(kKinds);
        for (char16_t& unit : text) {
            const Kind& kind = kKinds[random() % kinds];
            const bool drawn = random() % 60 < kind.share;
            unit = static_cast<char16_t>(
                drawn ? kind.first + random() % (kind.last - kind.first + 1) : 0x6F6E);
        }
        passed += Passes(text) ? 1 : 0;
    }
    EXPECT_GT(passed, kTexts / 10);
    EXPECT_LT(passed, kTexts * 9 / 10);
    // Longer than the counters of one round.
    EXPECT_FALSE(Passes(std::u16string(600'000, u'\x6F6E')));
    EXPECT_TRUE(Passes(std::u16string(600'000, u'\x6F6E') + std::u16string(400'000, u'a')));
}

}  // namespace
}  // namespace text

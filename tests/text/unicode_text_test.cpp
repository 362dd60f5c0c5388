#include "text/unicode_text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "ZorelText.h"

namespace text {
namespace {

// The verdict of both forms, at an even and at an odd address; they have to agree.
bool Verdict(std::u16string_view text) {
    std::vector<std::byte> bytes(2 * text.size() + 1);
    const bool plain = LooksLikeUtf16TextScalar(
        static_cast<const std::byte*>(static_cast<const void*>(text.data())), text.size());
    for (const std::size_t offset : {0U, 1U}) {
        if (!text.empty()) {
            std::memcpy(bytes.data() + offset, text.data(), 2 * text.size());
        }
        EXPECT_EQ(LooksLikeUtf16Text(bytes.data() + offset, text.size()), plain)
            << zorel::ToUtf8(text) << " at " << offset;
        // A survey that passes the text is right; pieces together say what the whole says.
        const TextStatistics whole = CollectTextStatistics(bytes.data() + offset, text.size());
        EXPECT_TRUE(plain || !whole.Passes()) << zorel::ToUtf8(text);
        if (text.size() > 11 && (text[11] & 0xF800) != 0xD800) {
            TextStatistics pieces = CollectTextStatistics(bytes.data() + offset, 11);
            pieces += CollectTextStatistics(bytes.data() + offset + 22, text.size() - 11);
            EXPECT_EQ(pieces.sound, whole.sound) << zorel::ToUtf8(text);
            EXPECT_TRUE(!whole.sound || pieces.eightBit == whole.eightBit) << zorel::ToUtf8(text);
        }
    }
    return plain;
}

// Eight-bit text taken for UTF-16; an odd last byte gets a NUL beside it.
std::u16string TakenForUtf16(std::string_view bytes) {
    std::u16string text((bytes.size() + 1) / 2, u'\0');
    std::memcpy(text.data(), bytes.data(), bytes.size());
    return text;
}

TEST(LooksLikeUtf16Text, TakesOrdinaryNamesOfAnyScript) {
    for (const std::u16string_view name : {
             u"a",
             u"Z",
             u"7",
             u"~",
             u"readme.txt",
             u"IMG_0001.JPG",
             u"tab\there",
             u"caf\u00E9",
             u"\u00FF",
             u"stra\u00DFe",
             u"\u0416",
             u"Отчёт за год.doc",
             u"я",
             u"Ωμέγα",
             u"λ",
             u"שלום",
             u"א",
             u"مرحبا بالعالم",
             u"م",
             u"ลูกค้า",
             u"ก",
             u"中",
             u"中文",
             u"文件",
             u"文件夹",
             u"新建文件夹",
             u"新建文本文档",
             u"工作报告",
             u"我的文档",
             u"图片",
             u"照片",
             u"合同",
             u"财务报表",
             u"会议记录",
             u"项目计划书",
             u"北京大学",
             u"销售数据",
             u"備份",
             u"資料夾",
             u"使用者",
             u"程式設計",
             u"楷體字",
             u"日本語",
             u"さくら",
             u"おはなし",
             u"ひらがな",
             u"カタカナ",
             u"請求書",
             u"会社案内",
             u"株式会社",
             u"見積書",
             u"写真",
             u"東京都",
             u"議事録",
             u"㈱",
             u"ﾃｽﾄ",
             u"ＡＢＣ",
             u"한국어",
             u"한",
             u"사진",
             u"보고서",
             u"ㅋㅋㅋㅋ",
             u"ㄱㄴㄷ",
             u"😀",
             u"👨‍👩‍👧",
             u"☎",
             u"♥♥♥",
             u"नमस्ते",
             u"বাংলা",
             u"தமிழ்",
             u"ქართული",
             u"Հայերեն",
             u"አማርኛ",
             u"ⵜⴰⵎⴰⵣⵉⵖⵜ",
             u"ᚠᚢᚦ",
             u"⠃⠗⠁",
             u"𝔘𝔫𝔦",
             u"…",
             u"\uF022",
             u"報告.txt",
             u"\uFEFFx",
         }) {
        EXPECT_TRUE(Verdict(name)) << zorel::ToUtf8(name);
    }
}

TEST(LooksLikeUtf16Text, RefusesWhatIsNoText) {
    EXPECT_FALSE(Verdict(u""));
    struct Row {
        const char* label;
        std::u16string text;
    };
    const Row kRows[] = {
        {"high surrogate alone", u"a\xD83D"},
        {"high surrogate before a letter",
         u"\xD83D"
         u"a"},
        {"low surrogate alone",
         u"\xDE00"
         u"a"},
        {"surrogates turned round", u"\xDE00\xD83D"},
        {"byte-order mark turned round", u"\xFFFE"},
        {"byte-order mark turned round, inside", u"abcdefgh\xFFFEijklmn"},
        {"U+FFFF", u"a\xFFFF"},
        {"U+FDD0", u"\xFDD0"},
        {"U+FDEF", u"x\xFDEF"},
        {"U+1FFFE", u"\xD83F\xDFFE"},
        {"U+10FFFF", u"\xDBFF\xDFFF"},
        {"NUL", std::u16string(u"a\0b", 3)},
        {"LF", u"a\nb"},
        {"CR", u"a\rb"},
    };
    for (const Row& row : kRows) {
        EXPECT_FALSE(Verdict(row.text)) << row.label;
        EXPECT_FALSE(Verdict(u"more than eight units of plain text, then " + row.text))
            << row.label << ", behind plain text";
    }
    // Neighbours of what is refused.
    for (const std::u16string_view text : {u"\xFFFD", u"\xFDCF", u"\xFDF0", u"\xD83F\xDFFD",
                                           u"\xD7FF", u"\xE000", u"\x0001", u"\x000B"}) {
        EXPECT_TRUE(Verdict(text)) << std::hex << static_cast<unsigned>(text.front());
    }
}

TEST(LooksLikeUtf16Text, RefusesEightBitTextTakenForUtf16) {
    for (const std::string_view bytes : {
             "readme.txt", "README", "Report", "Document.doc", "IMG_0001.JPG", "20130115.txt",
             "hello world", "notes.md", "Quarterly Report (final).xlsx", "data01.bin",
             "my_file-name.tar.gz", "C:\\docs\\readme.txt", "/usr/share/doc",
             "\xCF\xF0\xE8\xE2\xE5\xF2",       // a word of the Cyrillic page
             "M\xFCller_Bericht_entwurf.doc",  // one letter beyond ASCII
         }) {
        EXPECT_FALSE(Verdict(TakenForUtf16(bytes))) << bytes;
    }
    // Inside a line of real text it is not the whole text that reads so.
    EXPECT_TRUE(Verdict(u"01/15/2013 09:05:07, 1234, C:\\" + TakenForUtf16("readme.txt")));
}

// Units of the kinds that the verdict tells apart, in runs.
std::u16string RandomText(std::mt19937& random) {
    struct Kind {
        std::uint32_t first, last, share;
    };
    constexpr Kind kKinds[] = {{0x20, 0x7E, 40},     {0x6161, 0x7A7A, 60}, {0x4E00, 0x9FFF, 20},
                               {0x3400, 0x4DBF, 10}, {0x3041, 0x30FF, 10}, {0xE0E0, 0xF8FF, 10},
                               {0xD800, 0xDFFF, 1},  {0xFDC0, 0xFFFF, 1},  {0, 0x1F, 1}};
    std::u16string text(random() % 40, u'x');
    const std::size_t kinds = 1 + random() % std::size(kKinds);
    for (char16_t& unit : text) {
        const Kind& kind = kKinds[random() % kinds];
        const bool taken = random() % 60 < kind.share;
        unit = static_cast<char16_t>(taken ? kind.first + random() % (kind.last - kind.first + 1)
                                           : 0x6F6E);
    }
    return text;
}

TEST(LooksLikeUtf16Text, BothFormsAgree) {
    std::mt19937 random(42);
    int passed = 0;
    constexpr int kTexts = 40'000;
    for (int i = 0; i < kTexts && !testing::Test::HasFailure(); ++i) {
        passed += Verdict(RandomText(random)) ? 1 : 0;
    }
    EXPECT_GT(passed, kTexts / 10);
    EXPECT_LT(passed, kTexts * 9 / 10);
    // Longer than what one round counts.
    EXPECT_FALSE(Verdict(std::u16string(600'000, u'\x6F6E')));
    EXPECT_TRUE(Verdict(std::u16string(600'000, u'\x6F6E') + std::u16string(400'000, u'a')));
}

}  // namespace
}  // namespace text

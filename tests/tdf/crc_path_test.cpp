#include "tdf/naming/crc_path.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "frame/conversions.h"
#include "support/tdf_model.h"
#include "text/ascii_case.h"

namespace tdf {
namespace {

TEST(ElementCrc, IsThatOfTheLowerCaseBytes) {
    ASSERT_EQ(support::PlainCrc("123456789"), 0x29B1);
    // The same bytes with a tenth one, as five code units.
    EXPECT_EQ(ElementCrc(u"\u3231\u3433\u3635\u3837\u3039"), support::PlainCrc("1234567890"));
    EXPECT_EQ(ElementCrc(u"A"), 0x2514);
    EXPECT_EQ(ElementCrc(u"a"), 0x2514);
    std::mt19937 random(7);
    for (int i = 0; i < 2000; ++i) {
        std::u16string element(1 + random() % 20, u' ');
        std::string bytes;
        for (char16_t& unit : element) {
            unit = static_cast<char16_t>(random() % 3 == 0 ? random() : random() % 128);
            const char16_t folded = text::ToLowerAscii(unit);
            bytes.push_back(static_cast<char>(folded & 0xFF));
            bytes.push_back(static_cast<char>(folded >> 8));
        }
        ASSERT_EQ(ElementCrc(element), support::PlainCrc(bytes)) << i;
    }
}

TEST(ConvertPathToCrc, NamesFoldersByTheirGroups) {
    struct Row {
        std::u16string_view path;
        std::int32_t most;
        std::u16string_view expected;
    };
    constexpr Row kRows[] = {
        {u"C:\\Users\\john", 3, u"0hac906abf43d5"},
        {u"C:\\Users\\john", 2, u"0hac906abf"},
        {u"C:\\Users\\john", 0, u"0h"},
        {u"C:\\Users\\john", 5, u"0hac906abf43d5"},
        {u"c:/users//JOHN\\", -1, u"0hac906abf43d5"},
        {u"c:/users//JOHN\\", -2147483647 - 1, u"0hac906abf43d5"},
        {u"\\\\C:\\\\Users", 1, u"0hac90"},
        {u"C:\\Users\\john\\Documents", 3, u"0hac906abf43d5"},
        {u"", 3, u"0h"},
        {u"\\/\\/", 3, u"0h"},
        {u"A", 3, u"0h2514"},
    };
    for (const Row& row : kRows) {
        EXPECT_EQ(ConvertPathToCrc(row.path, row.most), row.expected)
            << frame::WideToAnsi(row.path) << " " << row.most;
    }
}

TEST(KeyNameCutter, CutsExtensionBaseAndParts) {
    struct Row {
        std::u16string_view name;
        std::int32_t most;
        std::u16string_view extension, base, parts;  // parts joined by '|'
    };
    constexpr Row kRows[] = {
        {u"Report.final.docx", 2, u"docx", u"Report.final", u"Report|final"},
        {u"archive.tar.gz", 0, u"gz", u"archive.tar", u""},
        {u".profile", 3, u"profile", u"", u""},
        {u"notes.", 1, u"", u"notes", u"notes"},
        {u"README", 1, u"none", u"README", u"README"},
        {u"", 1, u"none", u"", u""},
        {u"a_bb-cc.d ee.x", 9, u"x", u"a_bb-cc.d ee", u"bb|cc|ee|a|d"},
        {u"a_bb-cc.d ee.x", 2, u"x", u"a_bb-cc.d ee", u"bb|cc"},
        {u"a_bb-cc.d ee.x", -1, u"x", u"a_bb-cc.d ee", u"bb|cc|ee|a|d"},
        {u"1\u20142-33.x", 9, u"x", u"1\u20142-33", u"33|1|2"},
        {u"--a--.x", 9, u"x", u"--a--", u"a"},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(frame::WideToAnsi(row.name));
        CKeyNameCutter cutter(row.most, u"._- \u2014");
        cutter.Cut(u"left.over.from-before");
        cutter.Cut(row.name);
        std::u16string parts;
        for (const std::u16string_view part : cutter.Parts()) {
            parts += (parts.empty() ? u"" : u"|") + std::u16string(part);
        }
        EXPECT_EQ(cutter.Extension(), row.extension);
        EXPECT_EQ(cutter.Base(), row.base);
        EXPECT_EQ(parts, row.parts);
    }
}

TEST(KeyNameCutter, SortsManyPartsStably) {
    std::mt19937 random(11);
    std::u16string name;
    std::vector<std::u16string> expected;
    for (int i = 0; i < 300; ++i) {
        expected.push_back(std::u16string(1 + random() % 5, static_cast<char16_t>(0x400 + i)));
        name += expected.back() + u"-";
    }
    std::stable_sort(expected.begin(), expected.end(),
                     [](const auto& a, const auto& b) { return a.size() > b.size(); });
    CKeyNameCutter cutter(-1, u"-");
    cutter.Cut(name);
    ASSERT_EQ(cutter.Parts().size(), expected.size());
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), cutter.Parts().begin()));
}

}  // namespace
}  // namespace tdf

#include "tdf/matching/wildcard.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "text/ascii_case.h"

namespace tdf {
namespace {

// The rule as it is told: fold, cut, then move one unit at a time.
bool PlainMatch(std::u16string name, std::u16string pattern, bool floating) {
    name = text::ToLowerAscii(name);
    pattern = text::ToLowerAscii(pattern);
    std::vector<std::u16string> tokens(1);
    for (const char16_t c : pattern) {
        if (c != u'*') {
            tokens.back() += c;
        } else if (!tokens.back().empty()) {
            tokens.emplace_back();
        }
    }
    if (tokens.back().empty()) {
        tokens.pop_back();
    }
    std::size_t current = 0;
    while (current < tokens.size()) {
        const std::u16string& token = tokens[current];
        if (name.size() < token.size()) {
            return false;
        }
        bool fits = true;
        for (std::size_t i = 0; i < token.size(); ++i) {
            fits = fits && (token[i] == u'?' || token[i] == name[i]);
        }
        if (fits) {
            floating = true;
            ++current;
        } else if (!floating) {
            return false;
        } else {
            name.erase(0, 1);
        }
    }
    return true;
}

bool CompiledAtOddAddress(const CWildcardPattern& pattern, std::u16string_view name) {
    std::vector<std::byte> bytes(2 * name.size() + 1);
    std::memcpy(bytes.data() + 1, name.data(), 2 * name.size());
    return pattern.Match(bytes.data() + 1, name.size());
}

TEST(Wildcard, FollowsTheRule) {
    struct Row {
        std::u16string_view name, pattern;
        bool expected;
    };
    using namespace std::string_view_literals;
    constexpr Row kRows[] = {
        {u"readme.txt", u"*.txt", true},
        {u"readme.txt.bak", u"*.txt", true},
        {u"readme.doc", u"*.txt", false},
        {u"readme.txt", u"readme", true},
        {u"readme", u"readme", true},
        {u"readme.txt", u"eadme", false},
        {u"ab", u"ab*b", true},
        {u"a", u"a*a", true},
        {u"abc", u"a?c", true},
        {u"ac", u"a?c", false},
        {u"ab", u"???", false},
        {u"abcd", u"???", true},
        {u"ba", u"*a*b", false},
        {u"ab", u"*a*b", true},
        {u"README.TXT", u"*.txt", true},
        {u"x.txt", u"*.TXT", true},
        {u"", u"*", true},
        {u"", u"****", true},
        {u"", u"", true},
        {u"", u"a", false},
        {u"caf\u00E9", u"CAF\u00E9", true},
        {u"caf\u00E9", u"caf\u00C9", false},
        {u"[a]#1", u"[A]#", true},
        {u"{x", u"[x", false},  // 0x20 apart, yet no letters
        {u"\0a"sv, u" a", false},
        {u"nul\0x"sv, u"*\0x"sv, true},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(frame::WideToAnsi(row.name) + " ~ " + frame::WideToAnsi(row.pattern));
        const bool floating = Floats(row.pattern, EStarRule::LeadingStar);
        EXPECT_EQ(MatchWildcard(row.name, row.pattern, floating), row.expected);
        EXPECT_EQ(CWildcardPattern(row.pattern).Match(row.name), row.expected);
    }
}

TEST(Wildcard, StandardRuleFindsAPatternWithoutStarsAnywhere) {
    struct Row {
        std::u16string_view pattern;
        bool leadingStar, standard;
    };
    constexpr Row kRows[] = {
        {u"report", false, true},     {u"*report", true, true}, {u"report*", false, false},
        {u"annual", true, true},      {u"", true, true},        {u"ann*port", true, true},
        {u"nual*port", false, false},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(frame::WideToAnsi(row.pattern));
        const CWildcardPattern own(row.pattern, EStarRule::LeadingStar);
        const CWildcardPattern standard(row.pattern, EStarRule::Standard);
        EXPECT_EQ(own.Match(u"annual_report.doc"), row.leadingStar);
        EXPECT_EQ(standard.Match(u"annual_report.doc"), row.standard);
    }
}

TEST(Wildcard, HandsOutItsTokensInOrder) {
    CWildcardPattern pattern(u"a**B?*");
    std::u16string_view token;
    bool floating = true;
    ASSERT_TRUE(pattern.FirstToken(token, floating));
    EXPECT_FALSE(floating);
    EXPECT_EQ(token, u"a");
    ASSERT_TRUE(pattern.NextToken(token));
    EXPECT_EQ(token, u"b?");
    EXPECT_FALSE(pattern.NextToken(token));
    EXPECT_FALSE(pattern.NextToken(token));
    CWildcardPattern stars(u"***");
    EXPECT_FALSE(stars.FirstToken(token, floating));
    EXPECT_TRUE(floating);
}

TEST(Wildcard, AgreesWithThePlainRuleOnRandomNames) {
    std::mt19937 random(20130115);
    constexpr std::u16string_view kLetters = u"abAB?*\u00E9";
    const auto text = [&](std::size_t longest, std::size_t letters) {
        std::u16string out(random() % (longest + 1), u' ');
        for (char16_t& c : out) {
            c = kLetters[random() % letters];
        }
        return out;
    };
    for (int i = 0; i < 60'000; ++i) {
        const std::u16string name = text(40, i % 2 == 0 ? 5 : 7);
        const std::u16string pattern = text(i % 3 == 0 ? 12 : 5, 7);
        const bool floating = Floats(pattern, EStarRule::LeadingStar);
        const bool expected = PlainMatch(name, pattern, floating);
        const CWildcardPattern compiled(pattern);
        ASSERT_TRUE(MatchWildcard(name, pattern, floating) == expected &&
                    compiled.Match(name) == expected &&
                    CompiledAtOddAddress(compiled, name) == expected)
            << frame::WideToAnsi(name) << " ~ " << frame::WideToAnsi(pattern);
    }
}

TEST(CutLine, SeparatesFolderAndName) {
    struct Row {
        std::u16string_view line, folder, name;
    };
    constexpr Row kRows[] = {
        {u"C:\\docs\\readme.txt", u"C:\\docs\\", u"readme.txt"},
        {u"01/15/2013 09:05:07, 1, C:\\a\\b\\x", u"C:\\a\\b\\", u"x"},
        {u"C:\\dir\\", u"C:\\dir\\", u""},
        {u"::\\x", u"::\\", u"x"},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(frame::WideToAnsi(row.line));
        EXPECT_EQ(CutLine(row.line).folder, row.folder);
        EXPECT_EQ(CutLine(row.line).name, row.name);
    }
    for (const std::u16string_view line : {u"", u"a.txt", u"\\a", u":\\a"}) {
        try {
            CutLine(line);
            ADD_FAILURE() << frame::WideToAnsi(line);
        } catch (const frame::CExc& exc) {
            EXPECT_EQ(exc.GetHResult(), frame::kFail);
            EXPECT_EQ(exc.GetFullMessage(),
                      u"Cannot find a folder in the line: [" + std::u16string(line) + u"].");
        }
    }
}

}  // namespace
}  // namespace tdf

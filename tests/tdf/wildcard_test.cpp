// Wildcard matching, through IsWildcardMatch.
#include <gtest/gtest.h>

#include "support/search_client.h"

namespace {

using frame::WideToAnsi;
using support::Bstr;

TEST(Wildcard, FollowsTheRule) {
    const struct {
        std::u16string_view name, pattern;
        bool expected;
    } rows[] = {
        {u"readme.txt.bak", u"*.txt", true},
        {u"readme.txt", u"readme", true},
        {u"ab", u"ab*b", true},
        {u"ac", u"a?c", false},
        {u"README.TXT", u"*.tXt", true},
        {u"", u"****", true},
        {u"caf\u00E9", u"caf\u00C9", false},
        {u"[a]#1", u"[A]#", true},
        {u"{x", u"[x", false},       // 0x20 apart, but not letters
        {u"a.doc", u"*txt", false},  // folders do not count
    };
    const auto library = support::NewLibrary();
    const std::u16string folder = u"01/15/2013 09:05:07, 1, C:\\txt\\";
    for (const auto& row : rows) {
        VARIANT_BOOL result = 1;
        const auto line = Bstr(folder + std::u16string(row.name));
        EXPECT_EQ(library->IsWildcardMatch(line.Get(), Bstr(row.pattern).Get(), &result), S_OK);
        EXPECT_EQ(result, row.expected ? VARIANT_TRUE : VARIANT_FALSE)
            << WideToAnsi(row.name) << " ~ " << WideToAnsi(row.pattern);
    }
    for (const std::u16string line : {u"", u"a.txt", u"\\a", u":\\a"}) {
        VARIANT_BOOL result = 1;
        EXPECT_EQ(library->IsWildcardMatch(Bstr(line).Get(), Bstr(u"*").Get(), &result), E_FAIL);
        EXPECT_EQ(support::TakeError().description,
                  u"Cannot find a folder in the line: [" + line + u"].");
    }
}

}  // namespace

// 8-bit text in the thread's code page.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "platform/errors.h"
#include "platform/system.h"

namespace {

using namespace std::literals;

constexpr LCID kRussian = 0x419;

TEST(NarrowText, IsInTheThreadsCodePage) {
    const LCID before = ::GetThreadLocale();
    ::SetThreadLocale(kRussian);
    const struct {
        std::u16string wide;
        std::string narrow;
    } rows[] = {
        {u"", ""},
        {u"a\0b\0"s, "a\0b\0"s},
        {u"\u0416\u0451", "\xC6\xB8"},
        {std::u16string(300'000, u'\u0416'), std::string(300'000, '\xC6')},
    };
    platform::SetLastError(77);
    for (const auto& row : rows) {
        EXPECT_EQ(platform::WideToNarrow(row.wide), row.narrow);
        EXPECT_EQ(platform::NarrowToWide(row.narrow), row.wide);
    }
    EXPECT_EQ(platform::WideToNarrow(u"\u4E2D"), "?");
    EXPECT_EQ(platform::GetLastError(), 77U);
    ::SetThreadLocale(before);
}

}  // namespace

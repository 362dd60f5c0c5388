// 8-bit text in the thread's code page.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <utility>

#include "platform/errors.h"
#include "platform/system.h"

namespace {

using namespace std::literals;

TEST(NarrowText, IsInTheThreadsCodePage) {
    const LCID before = ::GetThreadLocale();
    ::SetThreadLocale(0x419);  // Russian
    const std::pair<std::u16string, std::string> rows[] = {
        {u"", ""},
        {u"a\0b\0"s, "a\0b\0"s},
        {u"\u0416\u0451", "\xC6\xB8"},
        {std::u16string(300'000, u'\u0416'), std::string(300'000, '\xC6')},
    };
    platform::SetLastError(77);
    for (const auto& [wide, narrow] : rows) {
        EXPECT_EQ(platform::WideToNarrow(wide), narrow);
        EXPECT_EQ(platform::NarrowToWide(narrow), wide);
    }
    EXPECT_EQ(platform::WideToNarrow(u"\u4E2D"), "?");
    EXPECT_EQ(platform::GetLastError(), 77U);
    ::SetThreadLocale(before);
}

}  // namespace

// 8-bit text in the thread's code page.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "platform/errors.h"
#include "platform/system.h"

namespace {

using namespace std::literals;

constexpr LCID kRussian = 0x419;

class NarrowText : public ::testing::Test {
protected:
    NarrowText() { ::SetThreadLocale(kRussian); }
    ~NarrowText() override { ::SetThreadLocale(m_before); }

private:
    LCID m_before = ::GetThreadLocale();
};

TEST_F(NarrowText, IsInTheThreadsCodePage) {
    const struct {
        std::u16string wide;
        std::string narrow;
    } rows[] = {
        {u"", ""},
        {u"a=1\r\n", "a=1\r\n"},
        {u"a\0b\0"s, "a\0b\0"s},
        {u"\u0416\u0451", "\xC6\xB8"},
    };
    platform::SetLastError(77);
    for (const auto& row : rows) {
        EXPECT_EQ(platform::WideToNarrow(row.wide), row.narrow);
        EXPECT_EQ(platform::NarrowToWide(row.narrow), row.wide);
    }
    EXPECT_EQ(platform::WideToNarrow(u"\u4E2D"), "?");
    EXPECT_EQ(platform::GetLastError(), 77U);
}

TEST_F(NarrowText, HasNoLimitOfLength) {
    const std::u16string wide(300'000, u'\u0416');
    const std::string narrow = platform::WideToNarrow(wide);
    EXPECT_EQ(narrow, std::string(300'000, '\xC6'));
    EXPECT_EQ(platform::NarrowToWide(narrow), wide);
}

}  // namespace

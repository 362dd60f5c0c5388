#include "platform/errors.h"

#include <gtest/gtest.h>

#include "support/target.h"

namespace platform {
namespace {

TEST(Errors, SystemTexts) {
    const struct {
        std::uint32_t code;
        std::u16string_view text;
    } rows[] = {
        {0, u"The operation completed successfully.\r\n"},
        {2, u"The system cannot find the file specified.\r\n"},
        {32,
         u"The process cannot access the file because it is being used by another process.\r\n"},
        {1921, u"The name of the file cannot be resolved by the system.\r\n"},
        {0x80070005U, u"Access is denied.\r\n"},
        {35, u""},
        {0x00070005U, u""},
        {0x80020006U, u""},
    };
    for (const auto& row : rows) {
        SetLastError(77);
        const std::u16string text = SystemMessage(row.code);
        EXPECT_EQ(GetLastError(), 77U) << row.code;
        // Windows has its own wording.
        const bool isSame = support::kOnLinux || row.text.empty();
        EXPECT_TRUE(isSame ? text == row.text : text.ends_with(u"\r\n")) << row.code;
    }
    // The codes that the platform layer reports. Wine has no text for 223.
    for (const std::uint32_t code :
         {2,  3,  4,   5,   6,   8,   13,  17,  18,  19,  31,  32,  38,  50,
          80, 87, 112, 122, 123, 131, 145, 170, 183, 203, 206, 267, 1117}) {
        EXPECT_NE(SystemMessage(code), u"") << code;
    }
}

}  // namespace
}  // namespace platform

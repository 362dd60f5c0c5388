#include "automation/guid.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace {

TEST(Guid, TextForms) {
    const GUID expected = {
        0xF527D4A6, 0x8452, 0x43F4, {0x95, 0xF5, 0xDC, 0xC3, 0x2F, 0xB0, 0xDC, 0x24}};
    EXPECT_EQ(automation::UuidToString(expected), u"f527d4a6-8452-43f4-95f5-dcc32fb0dc24");
    GUID guid{};
    EXPECT_EQ(automation::UuidFromString(u"F527d4a6-8452-43F4-95F5-DCC32FB0DC24", guid), 0U);
    EXPECT_EQ(std::memcmp(&guid, &expected, sizeof guid), 0);
    for (const std::u16string_view text :
         {u"{f527d4a6-8452-43f4-95f5-dcc32fb0dc24}", u"f527d4a6845243f495f5dcc32fb0dc24",
          u"f527d4a6-845243f4--95f5-dcc32fb0dc24", u"f527d4a6-8452-43f4-95f5-dcc32fb0dc2",
          u"f527d4a6-8452-43f4-95f5-dcc32fb0dc240", u"f527d4a6-8452-43f4-95f5-dcc32fb0dcg4",
          u"F527D4A6-8452-43F4-95F5-DCC32FB0DCG4", u"f527d4a6-8452-43f4-95f5-dcc32fb0dc2\x0434",
          u" 527d4a6-8452-43f4-95f5-dcc32fb0dc24", u"`527d4a6-8452-43f4-95f5-dcc32fb0dc24", u""}) {
        EXPECT_EQ(automation::UuidFromString(text, guid), automation::kRpcInvalidStringUuid);
        EXPECT_EQ(std::memcmp(&guid, &expected, sizeof guid), 0);
    }
    std::mt19937 random(4);
    for (int round = 0; round < 1000; ++round) {
        GUID other{static_cast<std::uint32_t>(random()),
                   static_cast<std::uint16_t>(random()),
                   static_cast<std::uint16_t>(random()),
                   {}};
        for (auto& byte : other.Data4) {
            byte = static_cast<std::uint8_t>(random());
        }
        ASSERT_EQ(automation::UuidFromString(automation::UuidToString(other), guid), 0U);
        ASSERT_EQ(std::memcmp(&guid, &other, sizeof guid), 0) << round;
    }
}

}  // namespace

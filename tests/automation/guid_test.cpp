#include "automation/guid.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace {

TEST(Guid, TextForms) {
    const GUID expected = {
        0xF527D4A6, 0x8452, 0x43F4, {0x95, 0xF5, 0xDC, 0xC3, 0x2F, 0xB0, 0xDC, 0x24}};
    const struct {
        std::u16string text;
        bool accepted;
    } rows[] = {
        {u"f527d4a6-8452-43f4-95f5-dcc32fb0dc24", true},
        {u"F527D4A6-8452-43F4-95F5-DCC32FB0DC24", true},
        {u"{f527d4a6-8452-43f4-95f5-dcc32fb0dc24}", false},
        {u"f527d4a6845243f495f5dcc32fb0dc24", false},
        {u"f527d4a6-845243f4--95f5-dcc32fb0dc24", false},
        {u"f527d4a6-8452-43f4-95f5-dcc32fb0dc2", false},
        {u"f527d4a6-8452-43f4-95f5-dcc32fb0dc240", false},
        {u"f527d4a6-8452-43f4-95f5-dcc32fb0dcg4", false},
        {u"F527D4A6-8452-43F4-95F5-DCC32FB0DCG4", false},
        {u"f527d4a6-8452-43f4-95f5-dcc32fb0dc2\x0434", false},
        {u" 527d4a6-8452-43f4-95f5-dcc32fb0dc24", false},
        {u"", false},
    };
    for (const auto& row : rows) {
        GUID guid{};
        const std::string label(row.text.begin(), row.text.end());
        EXPECT_EQ(automation::UuidFromString(row.text, guid),
                  row.accepted ? automation::kRpcStatusOk : automation::kRpcInvalidStringUuid)
            << label;
        const GUID wanted = row.accepted ? expected : GUID{};
        EXPECT_EQ(std::memcmp(&guid, &wanted, sizeof guid), 0) << label;
    }
    EXPECT_EQ(automation::UuidToString(expected), rows[0].text);
}

TEST(Guid, EveryGuidComesBackFromItsText) {
    std::mt19937 random(4);
    for (int round = 0; round < 1000; ++round) {
        unsigned char bytes[sizeof(GUID)];
        for (unsigned char& byte : bytes) {
            byte = static_cast<unsigned char>(random());
        }
        GUID guid{};
        GUID back{};
        std::memcpy(&guid, bytes, sizeof guid);
        ASSERT_EQ(automation::UuidFromString(automation::UuidToString(guid), back), 0U);
        ASSERT_EQ(std::memcmp(&guid, &back, sizeof guid), 0) << round;
    }
}

}  // namespace

// Conversions against the C library and by rows.
#include "frame/conversions.h"

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "frame/automation_conversions.h"
#include "support/engine_failure.h"
#include "text/ascii_case.h"

namespace {

using frame::AnsiToWide;
using support::MessageOf;

TEST(Conversions, NumbersAgreeWithTheCLibrary) {
    std::mt19937_64 random(1);
    char buffer[40];
    const auto print = [&](const char* format, auto value) {
        std::snprintf(buffer, sizeof buffer, format, value);
        return AnsiToWide(buffer);
    };
    for (int i = 0; i < 2000; ++i) {
        const std::uint64_t u64 = i == 0 ? ~0ULL : random() >> random() % 64;
        const auto i64 = static_cast<std::int64_t>(i == 1 ? 1ULL << 63 : u64 * (i % 2 ? 1 : ~0ULL));
        const auto u32 = static_cast<std::uint32_t>(u64);
        const auto i32 = static_cast<std::int32_t>(u32);
        ASSERT_EQ(frame::UInt64ToString(u64), print("%" PRIu64, u64));
        ASSERT_EQ(frame::Int64ToString(i64), print("%" PRId64, i64));
        ASSERT_EQ(frame::IntToString(i32), print("%d", i32));
        ASSERT_EQ(frame::UIntToHexString(u32), print("0x%x", u32));
        ASSERT_EQ(frame::UIntToHexString8(u32), print("0x%8.8x", u32));
        ASSERT_EQ(frame::UInt64ToHexString(u64), print("0x%" PRIx64, u64));
    }
}

// Texts composed of the elements that the C library's parser distinguishes.
TEST(Conversions, ParsingAgreesWithTheCLibrary) {
    static const char* const kPieces[] = {
        " ", "\t", "\r", "+", "-", "0", "7", "12", "2147483648", "99999999999999999999", "x", "."};
    std::mt19937 random(2);
    for (int i = 0; i < 20000; ++i) {
        std::string text;
        for (auto n = random() % 5; n > 0; --n) {
            text += kPieces[random() % std::size(kPieces)];
        }
        char* end = nullptr;
        const long long value = std::strtoll(text.c_str(), &end, 10);
        const std::u16string wide = AnsiToWide(text);
        const std::u16string shown = u"integer. String: [" + wide + u"].";
        const frame::DecimalPrefix prefix = frame::ReadDecimalPrefix(wide);
        ASSERT_EQ(prefix.length, static_cast<std::size_t>(end - text.c_str())) << text;
        ASSERT_EQ(frame::ClampToInt64(prefix), value) << text;
        if (end != text.c_str()) {
            ASSERT_EQ(frame::StringToInt(wide), std::clamp<long long>(value, INT32_MIN, INT32_MAX));
            continue;
        }
        ASSERT_EQ(MessageOf([&] { frame::StringToInt(wide); }),
                  u"Cannot unserialize a string value to " + shown);
        ASSERT_EQ(MessageOf([&] { frame::StringToUInt(wide); }),
                  u"Cannot unserialize a string value to unsigned " + shown);
    }
    EXPECT_EQ(frame::StringToUInt(u"4294967296"), 4294967295U);
    EXPECT_EQ(frame::StringToUInt(u"-1"), 4294967295U);
    EXPECT_EQ(frame::StringToUInt(u" 42x"), 42U);
}

TEST(Conversions, Guids) {
    const GUID guid = {
        0x9b3c5a2e, 0x4f61, 0x8c2d, {0x7e, 0x0a, 0x1d, 0x2f, 0x3a, 0x4b, 0x5c, 0x6d}};
    const std::u16string plain = u"9b3c5a2e-4f61-8c2d-7e0a-1d2f3a4b5c6d",
                         braces = u"{" + plain + u"}", digits = plain.substr(0, 35);
    EXPECT_EQ(frame::GuidToString(guid, false), plain);
    EXPECT_EQ(frame::GuidToString(guid, true), braces);
    for (const auto& text : {plain, braces, u"{" + plain, plain + u"}",
                             std::u16string(u"9B3C5A2E-4F61-8C2D-7E0A-1D2F3A4B5C6D")}) {
        EXPECT_EQ(frame::StringToGuid(text), guid);
    }
    for (const std::u16string& text :
         {plain + u" ", u"{" + braces + u"}", plain.substr(1), digits + u"g", digits + u"G",
          digits + u"`", digits + u" ", digits + u"\x0434", std::u16string(u"{"), std::u16string(),
          std::u16string(u"9b3c5a2e4f618c2d7e0a1d2f3a4b5c6d-----"),
          std::u16string(u"9b3c5a2e-4f618c2d--7e0a-1d2f3a4b5c6d")}) {
        EXPECT_TRUE(MessageOf([&] {
                        frame::StringToGuid(text);
                    }).starts_with(u"Cannot convert string to GUID. String: [" + text + u"]."));
    }
}

TEST(Conversions, TrimmingAndComparing) {
    EXPECT_EQ(frame::Trim(u" \t a b\r\n\t "), u"a b\r\n");
    EXPECT_EQ(frame::Trim(u" \t "), u"");
    EXPECT_TRUE(text::StartsWithNoCase(u"OIB7.x", u"oib"));
    EXPECT_TRUE(text::EndsWithNoCase(u"a.oibuid", u"OibUID"));
    EXPECT_FALSE(text::StartsWithNoCase(u"oi", u"oib") || text::EqualsNoCase(u"\u00C9", u"\u00E9"));
    for (const auto& [less, more] : {std::pair(u"ab", u"ABC"), {u"a_", u"aZ"}, {u"[", u"a"}}) {
        EXPECT_LT(text::CompareNoCase(less, more), 0);
    }
}

TEST(Conversions, StringArrays) {
    using List = std::vector<std::u16string>;
    for (const List& list : {List{}, List{u"", u"b\u0416", u"c"}}) {
        const auto array = frame::StringListToSafeArray(list);
        LONG upper = 7;
        EXPECT_EQ(::SafeArrayGetUBound(array.Get(), 1, &upper), S_OK);
        EXPECT_EQ(upper + 1, static_cast<LONG>(list.size()));
        EXPECT_EQ(frame::SafeArrayToStringList(array.Get()), list);
    }
    SAFEARRAYBOUND bounds[] = {{2, 0}, {3, 5}};
    for (const auto& [type, message] :
         {std::pair(VT_BSTR, u"Wrong dimension"), std::pair(VT_I4, u"BSTR expected")}) {
        const automation::CSafeArrayPtr array(::SafeArrayCreate(type, 2, bounds));
        EXPECT_EQ(MessageOf([&] { frame::SafeArrayToStringList(array.Get()); }),
                  std::u16string(message) + u"\r\nCOM error:  Code: 0x80070057");
    }
    const automation::CSafeArrayPtr shifted(::SafeArrayCreate(VT_BSTR, 1, bounds + 1));
    static_cast<BSTR*>(shifted.Get()->pvData)[1] = automation::NewBstr(u"six");
    EXPECT_EQ(frame::SafeArrayToStringList(shifted.Get()), (List{u"", u"six", u""}));
}

}  // namespace

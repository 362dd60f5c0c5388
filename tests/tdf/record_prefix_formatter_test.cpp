#include "tdf/generation/record_prefix_formatter.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace tdf {
namespace {

std::string HeadOf(CRecordPrefixFormatter& head, std::int64_t ticks, std::int64_t size) {
    std::byte out[2 * CRecordPrefixFormatter::kMaxUnits + 1];
    const std::size_t units = head.Write(ticks, size, out + 1);
    std::string text;
    for (std::size_t i = 0; i < units; ++i) {
        EXPECT_EQ(out[2 * i + 2], std::byte{0});
        text += static_cast<char>(out[2 * i + 1]);
    }
    return text;
}

bool IsLeap(unsigned year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

TEST(RecordHead, CountsEveryDayOfItsRange) {
    constexpr std::int64_t kTicksPerDay = 864'000'000'000;
    CRecordPrefixFormatter head;
    std::int64_t ticks = 0;
    for (unsigned year = 1601; year <= 9999; ++year) {
        for (unsigned month = 1; month <= 12; ++month) {
            const unsigned days = month == 2 ? (IsLeap(year) ? 29 : 28)
                                  : month == 4 || month == 6 || month == 9 || month == 11 ? 30
                                                                                          : 31;
            for (unsigned day = 1; day <= days; ++day, ticks += kTicksPerDay) {
                char16_t text[CRecordPrefixFormatter::kMaxUnits];
                head.Write(ticks, 0, reinterpret_cast<std::byte*>(text));
                const auto number = [&](std::size_t at) {
                    return (text[at] - u'0') * 10U + (text[at + 1] - u'0');
                };
                ASSERT_TRUE(number(0) == month && number(3) == day &&
                            number(6) * 100 + number(8) == year)
                    << year << "-" << month << "-" << day;
            }
        }
    }
    EXPECT_EQ(HeadOf(head, ticks - 1, 0), "12/31/9999 23:59:59, 0, ");
    EXPECT_EQ(HeadOf(head, ticks, 0), "12/31/9999 23:59:59, 0, ");
}

TEST(RecordHead, WritesTimesAndSizes) {
    struct Row {
        std::int64_t ticks, size;
        const char* expected;
    };
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
    constexpr Row kRows[] = {
        {0, 0, "01/01/1601 00:00:00, 0, "},
        {-1, 9, "01/01/1601 00:00:00, 9, "},
        {std::numeric_limits<std::int64_t>::min(), 10, "01/01/1601 00:00:00, 10, "},
        {9'999'999, 99, "01/01/1601 00:00:00, 99, "},
        {863'999'999'999, 100, "01/01/1601 23:59:59, 100, "},
        {864'000'000'000, 1009, "01/02/1601 00:00:00, 1009, "},
        {130027143072500000, 12345, "01/15/2013 09:05:07, 12345, "},
        {kMost, kMost, "12/31/9999 23:59:59, 9223372036854775807, "},
        {0, -kMost - 1, "01/01/1601 00:00:00, -9223372036854775808, "},
        {0, -7, "01/01/1601 00:00:00, -7, "},
    };
    CRecordPrefixFormatter head;
    for (const Row& row : kRows) {
        EXPECT_EQ(HeadOf(head, row.ticks, row.size), row.expected);
    }
}

}  // namespace
}  // namespace tdf

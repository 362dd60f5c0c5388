#include "platform/times.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <ctime>
#include <limits>
#include <random>

#include "platform/calendar.h"
#include "platform/errors.h"

namespace platform {
namespace {

template <class... Fields>
SystemTime TimeOf(Fields... fields) {
    return {static_cast<std::uint16_t>(fields)...};
}

// The calendar, one day at a time: no arithmetic in common with the code under test.
TEST(Times, EveryDayOfTheYears100To9999) {
    constexpr unsigned kLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    constexpr int kFirstTickDay = -109205;  // 1601-01-01 as a DATE
    std::mt19937 random(1);
    int number = -657434;    // of the day as a DATE
    unsigned dayOfWeek = 5;  // Friday
    for (unsigned year = 100; year < 10000; ++year) {
        const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
        for (unsigned month = 1, day = 1; month <= 12; ++number, dayOfWeek = (dayOfWeek + 1) % 7) {
            const unsigned second = static_cast<unsigned>(random() % 86400);
            const SystemTime time = TimeOf(year, month, dayOfWeek, day, second / 3600,
                                           second / 60 % 60, second % 60, 0);
            const double expected = number + (number < 0 ? -1 : 1) * (second / 86400.0);
            double date = 0;
            SystemTime back{};
            ASSERT_TRUE(SystemTimeToDate(time, date) && date == expected) << expected;
            ASSERT_TRUE(DateToSystemTime(date, back) && !std::memcmp(&back, &time, sizeof time));
            if (const std::int64_t tickDay = number - kFirstTickDay; tickDay >= 0) {
                const auto civil = DateOfDay(static_cast<std::uint32_t>(tickDay));
                ASSERT_TRUE(civil.year == year && civil.month == month && civil.day == day);
                const std::int64_t ticks = (tickDay * 86400 + second + 1) * kTicksPerSecond - 1;
                ASSERT_TRUE(FileTimeToDate(ticks, date) && date == expected) << expected;
            }
            if (++day > kLengths[month - 1] + (leap && month == 2 ? 1 : 0)) {
                ++month;
                day = 1;
            }
        }
    }
    EXPECT_EQ(number, 2958466);
}

TEST(Times, TicksOutsideTheCalendarAreRefused) {
    constexpr std::int64_t kEnd = 3'067'671 * kSecondsPerDay * kTicksPerSecond;  // 10000-01-01
    using Limits = std::numeric_limits<std::int64_t>;
    double date = 77;
    for (const std::int64_t ticks : {std::int64_t{-1}, kEnd, Limits::min(), Limits::max()}) {
        SetLastError(0);
        EXPECT_FALSE(FileTimeToDate(ticks, date)) << ticks;
        EXPECT_EQ(date, 77) << ticks;
        EXPECT_EQ(GetLastError(), ticks < 0 ? win32err::kInvalidParameter : 0) << ticks;
    }
    EXPECT_TRUE(FileTimeToDate(kEnd - 1, date) && FileTimeToDate(0, date));
    EXPECT_EQ(date, -109205);
}

// The date of a time; -77 for a refused one.
double DateOf(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
    const SystemTime time = TimeOf(year, month, 0, day, hour, minute, second, 999);
    double date = 77;
    return SystemTimeToDate(time, date) ? date : -date;
}

TEST(Times, DaysOutsideTheirMonthCountOnAndOtherFieldsAreChecked) {
    EXPECT_EQ(DateOf(2013, 1, 15, 9, 5, 7), 41289.37855324074);
    EXPECT_EQ(DateOf(1899, 12, 29, 6), -1.25);
    EXPECT_EQ(DateOf(2001, 4, 31), 37012);
    EXPECT_EQ(DateOf(2001, 2, 31, 12), 36953.5);
    EXPECT_EQ(DateOf(2001, 1, 0), 36891);
    for (const double date :
         {DateOf(100, 1, 0), DateOf(2001, 1, 32), DateOf(2001, 0, 1), DateOf(2001, 13, 1),
          DateOf(2001, 1, 1, 24), DateOf(2001, 1, 1, 0, 60), DateOf(2001, 1, 1, 0, 0, 60),
          DateOf(99, 12, 31), DateOf(10000, 1, 1)}) {
        EXPECT_EQ(date, -77);
    }
}

TEST(Times, DatesAreRoundedToSecondsAndLimitedToTheCalendar) {
    const auto rounded = [](double date) {
        SystemTime time{};
        return DateToSystemTime(date, time) && SystemTimeToDate(time, date) ? date : 0.125;
    };
    EXPECT_EQ(rounded(-0.75), 0.75);
    EXPECT_EQ(rounded(-1.25), -1.25);
    EXPECT_EQ(rounded(1.0 + 0.6 / 86400), 1 + 1.0 / 86400);
    EXPECT_EQ(rounded(0.999999), 1);
    EXPECT_EQ(rounded(2958465.99999), 2958465 + 86399.0 / 86400);
    EXPECT_EQ(rounded(-657434.5), -657434.5);
    using Limits = std::numeric_limits<double>;
    for (const double date : {2958465.999999, 2958466.0, -657435.0, 1e300, -1e300,
                              Limits::infinity(), Limits::quiet_NaN()}) {
        EXPECT_EQ(rounded(date), 0.125) << date;
    }
}

TEST(Times, TheClockAndSleep) {
    const auto before = std::chrono::steady_clock::now();
    Sleep(30);
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(25));
    // A time zone is less than a day from UTC; 25569 is 1970-01-01.
    double local = 0;
    ASSERT_TRUE(SystemTimeToDate(GetLocalTime(), local));
    EXPECT_NEAR(local, 25569 + static_cast<double>(std::time(nullptr)) / 86400, 1.1);
}

}  // namespace
}  // namespace platform

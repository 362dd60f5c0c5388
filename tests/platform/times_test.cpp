#include "platform/times.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <limits>
#include <random>
#include <tuple>

#include "platform/calendar.h"
#include "platform/errors.h"

namespace platform {

bool operator==(const SystemTime& a, const SystemTime& b) {
    const auto all = [](const SystemTime& t) {
        return std::tie(t.year, t.month, t.dayOfWeek, t.day, t.hour, t.minute, t.second,
                        t.milliseconds);
    };
    return all(a) == all(b);
}

namespace {

// The calendar, one day at a time: no arithmetic in common with the code under test.
struct SlowCalendar {
    unsigned year = 100;
    unsigned month = 1;
    unsigned day = 1;
    unsigned dayOfWeek = 5;  // Friday
    int date = -657434;

    void Next() {
        const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
        constexpr unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        dayOfWeek = (dayOfWeek + 1) % 7;
        ++date;
        if (++day > kDays[month - 1] + (leap && month == 2 ? 1 : 0)) {
            day = 1;
            month = month % 12 + 1;
            year += month == 1 ? 1 : 0;
        }
    }
    SystemTime At(unsigned second) const {
        const auto u = [](unsigned value) { return static_cast<std::uint16_t>(value); };
        return {
            u(year),        u(month), u(dayOfWeek), u(day), u(second / 3600), u(second / 60 % 60),
            u(second % 60), 0};
    }
};

TEST(Times, EveryDayOfTheYears100To9999) {
    std::mt19937 random(1);
    constexpr int kFirstTickDay = -109205;  // 1601-01-01 as a DATE
    int days = 0;
    for (SlowCalendar slow; slow.year < 10000; slow.Next(), ++days) {
        const unsigned second = static_cast<unsigned>(random() % 86400);
        const SystemTime time = slow.At(second);
        const double expected = slow.date + (slow.date < 0 ? -1 : 1) * (second / 86400.0);
        double date = 0;
        SystemTime back{};
        bool right = SystemTimeToDate(time, date) && date == expected &&
                     DateToSystemTime(date, back) && back == time;
        if (slow.date >= kFirstTickDay) {
            const std::int64_t day = slow.date - kFirstTickDay;
            const auto civil = DateOfDay(static_cast<std::uint32_t>(day));
            right = right && civil.year == slow.year && civil.month == slow.month &&
                    civil.day == slow.day &&
                    FileTimeToDate((day * 86400 + second + 1) * kTicksPerSecond - 1, date) &&
                    date == expected;
        }
        ASSERT_TRUE(right) << slow.year << '-' << slow.month << '-' << slow.day << ' ' << second;
    }
    EXPECT_EQ(days, 3615900);
}

TEST(Times, TicksOutsideTheCalendarAreRefused) {
    constexpr std::int64_t kEnd = 3'067'671 * kSecondsPerDay * kTicksPerSecond;  // 10000-01-01
    for (const std::int64_t ticks :
         {std::int64_t{-1}, kEnd, std::numeric_limits<std::int64_t>::min(),
          std::numeric_limits<std::int64_t>::max()}) {
        double date = 77;
        SetLastError(0);
        EXPECT_FALSE(FileTimeToDate(ticks, date)) << ticks;
        EXPECT_EQ(date, 77) << ticks;
        EXPECT_EQ(GetLastError(), ticks < 0 ? win32err::kInvalidParameter : 0) << ticks;
    }
    double date = 0;
    EXPECT_TRUE(FileTimeToDate(kEnd - 1, date) && FileTimeToDate(0, date));
    EXPECT_EQ(date, -109205);
}

SystemTime At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
    const auto u = [](int value) { return static_cast<std::uint16_t>(value); };
    return {u(year), u(month), 0, u(day), u(hour), u(minute), u(second), 999};
}

TEST(Times, DaysOutsideTheirMonthCountOnAndOtherFieldsAreChecked) {
    const auto dateOf = [](const SystemTime& time) {
        double date = 77;
        return SystemTimeToDate(time, date) ? date : -date;
    };
    EXPECT_EQ(dateOf(At(2013, 1, 15, 9, 5, 7)), 41289.37855324074);
    EXPECT_EQ(dateOf(At(1899, 12, 29, 6)), -1.25);
    EXPECT_EQ(dateOf(At(2001, 4, 31)), 37012);
    EXPECT_EQ(dateOf(At(2001, 2, 31, 12)), 36953.5);
    EXPECT_EQ(dateOf(At(2001, 3, 0)), 36950);
    EXPECT_EQ(dateOf(At(2001, 1, 0)), 36891);
    for (const SystemTime& time :
         {At(100, 1, 0), At(2001, 1, 32), At(2001, 0, 1), At(2001, 13, 1), At(2001, 1, 1, 24),
          At(2001, 1, 1, 0, 60), At(2001, 1, 1, 0, 0, 60), At(99, 12, 31), At(10000, 1, 1)}) {
        EXPECT_EQ(dateOf(time), -77) << time.year << '-' << time.month << '-' << time.day;
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
    for (const double date :
         {2958465.999999, 2958466.0, -657435.0, 1e300, -1e300,
          std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
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

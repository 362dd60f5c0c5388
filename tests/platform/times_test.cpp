#include "platform/times.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
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

TEST(Times, DaysOutsideTheirMonthCountOnAndOtherFieldsAreChecked) {
    const struct {
        SystemTime time;
        double date;  // NaN: refused
    } rows[] = {
        {{2013, 1, 0, 15, 9, 5, 7, 999}, 41289.37855324074},
        {{1899, 12, 0, 29, 6, 0, 0, 0}, -1.25},
        {{2001, 4, 9, 31, 0, 0, 0, 0}, 37012},
        {{2001, 2, 0, 31, 12, 0, 0, 0}, 36953.5},
        {{2001, 3, 0, 0, 0, 0, 0, 0}, 36950},
        {{2001, 1, 0, 0, 0, 0, 0, 0}, 36891},
        {{100, 1, 0, 0, 0, 0, 0, 0}, NAN},
        {{2001, 1, 0, 32, 0, 0, 0, 0}, NAN},
        {{2001, 0, 0, 1, 0, 0, 0, 0}, NAN},
        {{2001, 13, 0, 1, 0, 0, 0, 0}, NAN},
        {{2001, 1, 0, 1, 24, 0, 0, 0}, NAN},
        {{2001, 1, 0, 1, 0, 60, 0, 0}, NAN},
        {{2001, 1, 0, 1, 0, 0, 60, 0}, NAN},
        {{99, 12, 0, 31, 0, 0, 0, 0}, NAN},
        {{10000, 1, 0, 1, 0, 0, 0, 0}, NAN},
    };
    for (const auto& row : rows) {
        double date = 77;
        EXPECT_EQ(SystemTimeToDate(row.time, date), !std::isnan(row.date)) << &row - rows;
        EXPECT_EQ(date, std::isnan(row.date) ? 77 : row.date) << &row - rows;
    }
}

TEST(Times, DatesAreRoundedToSecondsAndLimitedToTheCalendar) {
    const struct {
        double date;
        SystemTime time;  // year 0: refused
    } rows[] = {
        {-0.75, {1899, 12, 6, 30, 18, 0, 0, 0}},
        {-1.25, {1899, 12, 5, 29, 6, 0, 0, 0}},
        {1.0 + 0.6 / 86400, {1899, 12, 0, 31, 0, 0, 1, 0}},
        {0.999999, {1899, 12, 0, 31, 0, 0, 0, 0}},
        {2958465.99999, {9999, 12, 5, 31, 23, 59, 59, 0}},
        {2958465.999999, {}},
        {2958466.0, {}},
        {-657434.5, {100, 1, 5, 1, 12, 0, 0, 0}},
        {-657435.0, {}},
        {1e300, {}},
        {std::numeric_limits<double>::infinity(), {}},
        {std::numeric_limits<double>::quiet_NaN(), {}},
    };
    for (const auto& row : rows) {
        SystemTime time{};
        EXPECT_EQ(DateToSystemTime(row.date, time), row.time.year != 0) << row.date;
        EXPECT_TRUE(time == row.time) << row.date;
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

#include "platform/times.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <tuple>

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

constexpr std::int64_t kTicksPerDay = kTicksPerSecond * 86400;

// The calendar, one day at a time: no arithmetic in common with the port's.
struct SlowCalendar {
    int year = 100;
    int month = 1;
    int day = 1;
    int dayOfWeek = 5;  // Friday
    int date = -657434;

    int DaysInMonth() const {
        const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
        constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        return kDays[month - 1] + (leap && month == 2 ? 1 : 0);
    }
    void Next() {
        dayOfWeek = (dayOfWeek + 1) % 7;
        ++date;
        if (++day > DaysInMonth()) {
            day = 1;
            month = month % 12 + 1;
            year += month == 1 ? 1 : 0;
        }
    }
    SystemTime At(int second) const {
        const auto u = [](int value) { return static_cast<std::uint16_t>(value); };
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
        const int second = static_cast<int>(random() % 86400);
        const SystemTime time = slow.At(second);
        const double expected =
            slow.date < 0 ? slow.date - second / 86400.0 : slow.date + second / 86400.0;
        double date = 0;
        SystemTime back{};
        bool right = SystemTimeToDate(time, date) && date == expected &&
                     DateToSystemTime(date, back) && back == time;
        if (slow.date >= kFirstTickDay) {
            const std::int64_t ticks =
                (slow.date - kFirstTickDay) * kTicksPerDay + second * kTicksPerSecond;
            right = right && FileTimeToSystemTime(ticks, back) && back == time &&
                    FileTimeToDate(ticks + kTicksPerSecond - 1, date) && date == expected;
        }
        ASSERT_TRUE(right) << slow.year << '-' << slow.month << '-' << slow.day << ' ' << second;
    }
    EXPECT_EQ(days, 3615900);
}

TEST(Times, DaysOutsideTheirMonthRunOnAndAllElseOutOfRangeIsRefused) {
    const struct {
        const char* label;
        SystemTime time;
        double date;  // NaN: refused
    } rows[] = {
        {"the known value", {2013, 1, 0, 15, 9, 5, 7, 999}, 41289.37855324074},
        {"before the epoch", {1899, 12, 0, 29, 6, 0, 0, 0}, -1.25},
        {"31 April", {2001, 4, 9, 31, 0, 0, 0, 0}, 37012},
        {"31 February", {2001, 2, 0, 31, 12, 0, 0, 0}, 36953.5},
        {"day 0", {2001, 3, 0, 0, 0, 0, 0, 0}, 36950},
        {"day 0 of January", {2001, 1, 0, 0, 0, 0, 0, 0}, 36891},
        {"day 0 of the first month", {100, 1, 0, 0, 0, 0, 0, 0}, NAN},
        {"day 32", {2001, 1, 0, 32, 0, 0, 0, 0}, NAN},
        {"month 0", {2001, 0, 0, 1, 0, 0, 0, 0}, NAN},
        {"month 13", {2001, 13, 0, 1, 0, 0, 0, 0}, NAN},
        {"hour 24", {2001, 1, 0, 1, 24, 0, 0, 0}, NAN},
        {"minute 60", {2001, 1, 0, 1, 0, 60, 0, 0}, NAN},
        {"second 60", {2001, 1, 0, 1, 0, 0, 60, 0}, NAN},
        {"year 99", {99, 12, 0, 31, 0, 0, 0, 0}, NAN},
        {"year 10000", {10000, 1, 0, 1, 0, 0, 0, 0}, NAN},
    };
    for (const auto& row : rows) {
        double date = 77;
        EXPECT_EQ(SystemTimeToDate(row.time, date), !std::isnan(row.date)) << row.label;
        EXPECT_EQ(date, std::isnan(row.date) ? 77 : row.date) << row.label;
    }
}

TEST(Times, DatesRoundToSecondsAndEndWithTheCalendar) {
    const struct {
        double date;
        SystemTime time;  // year 0: refused
    } rows[] = {
        {0.0, {1899, 12, 6, 30, 0, 0, 0, 0}},
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
        {-1e300, {}},
        {std::numeric_limits<double>::infinity(), {}},
        {std::numeric_limits<double>::quiet_NaN(), {}},
    };
    for (const auto& row : rows) {
        SystemTime time{};
        EXPECT_EQ(DateToSystemTime(row.date, time), row.time.year != 0) << row.date;
        EXPECT_TRUE(time == row.time) << row.date << " gave " << time.year << '-' << time.month
                                      << '-' << time.day << ' ' << time.hour << ':' << time.second;
    }
}

TEST(Times, TicksToDateIsTheTwoConversionsInOne) {
    std::mt19937_64 random(3);
    for (int round = 0; round < 500'000; ++round) {
        const auto ticks = static_cast<std::int64_t>(random() >> (random() % 24));
        SystemTime time{};
        double slow = 77;
        double fast = 77;
        SetLastError(0);
        const bool converts = FileTimeToSystemTime(ticks, time) && SystemTimeToDate(time, slow);
        const std::uint32_t code = GetLastError();
        SetLastError(0);
        ASSERT_EQ(FileTimeToDate(ticks, fast), converts) << ticks;
        ASSERT_EQ(fast, slow) << ticks;
        ASSERT_EQ(GetLastError(), code) << ticks;
        ASSERT_EQ(code, ticks < 0 ? win32err::kInvalidParameter : 0) << ticks;
    }
    SystemTime last{};
    ASSERT_TRUE(FileTimeToSystemTime(std::numeric_limits<std::int64_t>::max(), last));
    EXPECT_TRUE((last == SystemTime{30828, 9, 4, 14, 2, 48, 5, 477}));
}

TEST(Times, TheClockGoesOnWhileSleeping) {
    const std::int64_t before = GetSystemTimeAsTicks();
    Sleep(30);
    const std::int64_t passed = GetSystemTimeAsTicks() - before;
    EXPECT_GE(passed, kTicksPerSecond * 25 / 1000);
    // No time zone is further than a day away.
    SystemTime utc{};
    double now = 0;
    double local = 0;
    ASSERT_TRUE(FileTimeToSystemTime(before, utc) && SystemTimeToDate(utc, now));
    ASSERT_TRUE(SystemTimeToDate(GetLocalTime(), local));
    EXPECT_NEAR(local, now, 1.1);
}

}  // namespace
}  // namespace platform

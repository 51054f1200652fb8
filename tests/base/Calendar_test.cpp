#include "base/Calendar.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>

namespace base {
namespace {

TEST(Calendar, DaysCountFromTheLastDayButOneOf1899) {
  EXPECT_EQ(DayNumber(1899, 12, 30), 0);
  EXPECT_EQ(DayNumber(1970, 1, 1), 25569);
  EXPECT_EQ(DayNumber(2003, 2, 1), 37653);
  EXPECT_EQ(DayNumber(100, 1, 1), kFirstDay);
  EXPECT_EQ(DayNumber(9999, 12, 31), kLastDay);
}

TEST(Calendar, ADayOutsideOfItsMonthCountsOn) {
  EXPECT_EQ(DayNumber(2003, 1, 32), DayNumber(2003, 2, 1));
  EXPECT_EQ(DayNumber(2003, 3, 0), DayNumber(2003, 2, 28));
}

TEST(Calendar, EveryDayFollowsTheOneBefore) {
  CivilDay expected{100, 1, 1};
  for (std::int64_t number = kFirstDay; number <= kLastDay; ++number) {
    ASSERT_EQ(CivilOf(number), expected) << number;
    ASSERT_EQ(DayNumber(expected.year, expected.month, expected.day), number);
    if (++expected.day <= DaysOfMonth(expected.year, expected.month)) continue;
    expected.day = 1;
    if (++expected.month <= 12) continue;
    expected.month = 1;
    ++expected.year;
  }
}

TEST(Calendar, CenturiesAreLeapYearsOnlyEveryFourth) {
  EXPECT_TRUE(IsLeapYear(2000));
  EXPECT_FALSE(IsLeapYear(1900));
  EXPECT_TRUE(IsLeapYear(2024));
  EXPECT_FALSE(IsLeapYear(2023));
}

TEST(Calendar, DaysOutsideOfTheCalendarAreNone) {
  EXPECT_TRUE(IsCivilDay(2024, 2, 29));
  EXPECT_FALSE(IsCivilDay(2023, 2, 29));
  EXPECT_FALSE(IsCivilDay(99, 1, 1));
  EXPECT_FALSE(IsCivilDay(10000, 1, 1));
  EXPECT_FALSE(IsCivilDay(2003, 0, 1));
  EXPECT_FALSE(IsCivilDay(2003, 13, 1));
  EXPECT_FALSE(IsCivilDay(2003, 1, 0));
}

TEST(Calendar, TheTimeCountsForwardBeforeDayZeroToo) {
  EXPECT_EQ(JoinDayAndTime(-1, 0.25), -1.25);
  EXPECT_EQ(JoinDayAndTime(0, 0.25), 0.25);
}

TEST(Calendar, YearsFarOutsideOfTheCalendarCountOnAsWell) {
  for (const std::int64_t year : {-40000, -32768, -401, -400, -1, 0, 1, 32767, 32768, 40000, 270000}) {
    const CivilDay first{year, 1, 1};
    EXPECT_EQ(CivilOf(DayNumber(year, 1, 1)), first) << year;
    EXPECT_EQ(DayNumber(year + 1, 1, 1) - DayNumber(year, 1, 1), IsLeapYear(year) ? 366 : 365) << year;
    EXPECT_EQ(DaysOfMonth(year, 2), IsLeapYear(year) ? 29 : 28);
  }
  EXPECT_EQ(DayNumber(-20000, 1, 8000000), DayNumber(-20000, 1, 1) + 7999999);
}

TEST(Calendar, ASerialIsSplitIntoItsDayAndItsTicks) {
  const auto split = [](double serial, std::int64_t ticks, HalfTick half = HalfTick::kUp) {
    const DayAndTicks parts = SplitSerial(serial, ticks, half);
    return std::pair(parts.day, parts.ticks);
  };
  using Parts = std::pair<std::int64_t, std::int64_t>;
  EXPECT_EQ(split(1.25, kSecondsADay), Parts(1, 21600));
  EXPECT_EQ(split(-1.25, kSecondsADay), Parts(-1, 21600));
  EXPECT_EQ(split(0.9999999, kSecondsADay), Parts(1, 0)) << "rounded to the day behind";
  EXPECT_EQ(split(-0.9999999, kSecondsADay), Parts(1, 0)) << "the day behind day 0, as the fraction counts forward";
  EXPECT_EQ(split(static_cast<double>(kLastDay) + 0.9999999, kSecondsADay), Parts(kLastDay + 1, 0));
  EXPECT_EQ(split(0x1.fffffffffffffp-2, 1), Parts(0, 0)) << "just below the half";
  // 2 to the power of -14 days is exactly 5273437.5 microseconds.
  EXPECT_EQ(split(3.0 / 16384, kSecondsADay * 1000000), Parts(0, 15820313));
  EXPECT_EQ(split(3.0 / 16384, kSecondsADay * 1000000, HalfTick::kToEven), Parts(0, 15820312));
}

TEST(Calendar, NowIsNow) {
  const double utc = UtcNow();
  EXPECT_GT(utc, static_cast<double>(DayNumber(2024, 1, 1)));
  EXPECT_LT(std::fabs(LocalNow() - utc), 1.0) << "no zone is a day away";
}

}  // namespace
}  // namespace base

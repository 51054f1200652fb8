#include "base/Calendar.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace base

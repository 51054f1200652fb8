#include "runtime/Dates.h"

#include <gtest/gtest.h>

#include "tests/runtime/RuntimeErrors.h"

namespace tamlo::runtime {
namespace {

const RegionalSettings kDayFirst{"dd/MM/yyyy", ','};
const RegionalSettings kMonthFirst{"M/d/yyyy", '.'};
const RegionalSettings kNone{"", '.'};

double Serial(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return ToSerial({year, month, day, hour, minute, second, 0}).serial;
}

TEST(Dates, SerialsCountFromTheLastDayButOneOf1899) {
  EXPECT_EQ(Serial(1899, 12, 30), 0);
  EXPECT_EQ(Serial(1900, 1, 1), 2);
  EXPECT_EQ(Serial(2003, 2, 1), 37653);
  EXPECT_EQ(Serial(2003, 2, 1, 10, 30, 0), 37653.4375);
  EXPECT_EQ(Serial(100, 1, 1), -657434);
  EXPECT_EQ(Serial(9999, 12, 31), 2958465);
}

TEST(Dates, BeforeTheFirstDayTheTimeStillCountsForward) {
  EXPECT_EQ(Serial(1899, 12, 29, 6), -1.25);
  EXPECT_EQ(Serial(1899, 12, 29), -1);
  EXPECT_EQ(ToCalendar({-1.25}), (CalendarTime{1899, 12, 29, 6, 0, 0, 0}));
  EXPECT_EQ(ToCalendar({-1.75}), (CalendarTime{1899, 12, 29, 18, 0, 0, 0}));
}

TEST(Dates, FieldsOutsideTheirRangeAreAnInvalidArgument) {
  for (const CalendarTime& time : {CalendarTime{99, 1, 1}, CalendarTime{10000, 1, 1}, CalendarTime{2003, 13, 1}, CalendarTime{2003, 2, 29},
                                   CalendarTime{2003, 1, 0}, CalendarTime{2003, 1, 1, 24}, CalendarTime{2003, 1, 1, 0, 60},
                                   CalendarTime{2003, 1, 1, 0, 0, 60}, CalendarTime{2003, 1, 1, 0, 0, 0, -1}}) {
    EXPECT_EQ(RaisedNumber([&] { static_cast<void>(ToSerial(time)); }), 5);
  }
  EXPECT_EQ(RaisedNumber([] { static_cast<void>(ToCalendar({2958466})); }), 5);
  EXPECT_EQ(RaisedNumber([] { static_cast<void>(ToCalendar({-657435})); }), 5);
}

TEST(Dates, EveryDayOfTheCalendarComesBack) {
  for (double day = -657434; day <= 2958465; day += 97) {
    const CalendarTime fields = ToCalendar({day});
    ASSERT_EQ(ToSerial(fields).serial, day);
  }
}

TEST(Dates, EverySecondOfADayComesBackOnBothSidesOfTheFirstDay) {
  for (const int year : {1850, 2003}) {
    for (int second = 0; second < 86400; second += 7) {
      const CalendarTime time{year, 3, 4, second / 3600, second / 60 % 60, second % 60, 0};
      ASSERT_EQ(ToCalendar(ToSerial(time)), time);
    }
  }
}

TEST(Dates, AlmostMidnightRoundsToTheNextDayButNotPastTheLastOne) {
  EXPECT_EQ(ToCalendar({37653.9999999}), (CalendarTime{2003, 2, 2}));
  EXPECT_EQ(ToCalendar({2958465.9999999}), (CalendarTime{9999, 12, 31, 23, 59, 59, 0}));
  EXPECT_EQ(ToCalendar({-1.9999999}), (CalendarTime{1899, 12, 30}));
}

TEST(Dates, MillisecondsAreKeptWhenAskedFor) {
  const Date date = ToSerial({2003, 2, 1, 10, 30, 0, 250'000'000});
  EXPECT_EQ(ToCalendarWithFraction(date), (CalendarTime{2003, 2, 1, 10, 30, 0, 250'000'000}));
  EXPECT_EQ(ToCalendar(date), (CalendarTime{2003, 2, 1, 10, 30, 0, 0}));
}

TEST(Dates, TodayIsNowWithoutItsTime) {
  const Date before = Today();
  const Date now = Now();
  const Date after = Today();
  EXPECT_LE(before.serial, now.serial);
  EXPECT_LT(now.serial, after.serial + 1);
  EXPECT_EQ(before.serial, static_cast<double>(static_cast<std::int64_t>(before.serial)));
}

TEST(Dates, TextsAreReadInTheOrderOfTheShortDate) {
  EXPECT_EQ(ParseDate("01/02/2003", kDayFirst)->serial, Serial(2003, 2, 1));
  EXPECT_EQ(ParseDate("01/02/2003", kMonthFirst)->serial, Serial(2003, 1, 2));
  EXPECT_EQ(ParseDate("01/02/2003", kNone)->serial, Serial(2003, 2, 1));
  EXPECT_EQ(ParseDate("02/13/2003", kDayFirst)->serial, Serial(2003, 2, 13)) << "the other order, where the first makes no date";
  EXPECT_EQ(ParseDate("13/02/2003", kMonthFirst)->serial, Serial(2003, 2, 13));
}

TEST(Dates, YearFirstTextsAreAlwaysUnderstood) {
  EXPECT_EQ(ParseDate("2003-02-01", kDayFirst)->serial, Serial(2003, 2, 1));
  EXPECT_EQ(ParseDate("2003/2/1", kMonthFirst)->serial, Serial(2003, 2, 1));
  EXPECT_EQ(ParseDate("100-01-01", kDayFirst)->serial, Serial(100, 1, 1));
}

TEST(Dates, SeparatorsAreSlashDashDotAndBlank) {
  for (const char* text : {"1/2/2003", "1-2-2003", "1.2.2003", "1 2 2003", "  01/02/2003  "}) {
    ASSERT_TRUE(ParseDate(text, kDayFirst)) << text;
    EXPECT_EQ(ParseDate(text, kDayFirst)->serial, Serial(2003, 2, 1)) << text;
  }
}

TEST(Dates, TwoDigitYearsTurnAtThirty) {
  EXPECT_EQ(ParseDate("1/1/00", kDayFirst)->serial, Serial(2000, 1, 1));
  EXPECT_EQ(ParseDate("1/1/29", kDayFirst)->serial, Serial(2029, 1, 1));
  EXPECT_EQ(ParseDate("1/1/30", kDayFirst)->serial, Serial(1930, 1, 1));
  EXPECT_EQ(ParseDate("1/1/99", kDayFirst)->serial, Serial(1999, 1, 1));
}

TEST(Dates, ATimeFollowsOrStandsAlone) {
  EXPECT_EQ(ParseDate("01/02/2003 10:30", kDayFirst)->serial, 37653.4375);
  EXPECT_EQ(ParseDate("01/02/2003 10:30:00", kDayFirst)->serial, 37653.4375);
  EXPECT_EQ(ParseDate("1 2 2003 10:30", kDayFirst)->serial, 37653.4375);
  EXPECT_EQ(ParseDate("6:00", kDayFirst)->serial, 0.25);
  EXPECT_EQ(ParseDate("29/12/1899 06:00", kDayFirst)->serial, -1.25);
}

TEST(Dates, AnythingElseIsNoDate) {
  for (const char* text : {"",
                           " ",
                           "abc",
                           "1/2/",
                           "/1/2003",
                           "31/02/2003",
                           "29/02/2003",
                           "0/1/2003",
                           "1/0/2003",
                           "1/2/20033",
                           "1/2-2003",
                           "2003-02-2003",
                           "1/2/99x",
                           "01/02/2003 24:00",
                           "01/02/2003 10:60",
                           "01/02/2003 10",
                           "01/02/200310:30",
                           "10:",
                           "37653",
                           "01/02/2003 10:30:00.5",
                           "1/2/0099",
                           "01/02/2003 10:30 x"}) {
    EXPECT_FALSE(ParseDate(text, kDayFirst)) << text;
  }
}

TEST(Dates, PicturesWriteTheirFieldsAndKeepEverythingElse) {
  const Date date = ToSerial({2003, 2, 1, 9, 5, 7, 0});
  EXPECT_EQ(FormatDate(date, "YYYY-MM-DD"), "2003-02-01");
  EXPECT_EQ(FormatDate(date, "DD-MM-YYYY"), "01-02-2003");
  EXPECT_EQ(FormatDate(date, "yyyymmddhhnnss"), "20030201090507");
  EXPECT_EQ(FormatDate(date, "DD/MM/YY HH:NN:SS"), "01/02/03 09:05:07");
  EXPECT_EQ(FormatDate(date, "HH:MM"), "09:05");
  EXPECT_EQ(FormatDate(date, "le DD"), "le 01");
  EXPECT_EQ(FormatDate(ToSerial({100, 1, 1}), "YYYY"), "0100");
}

TEST(Dates, TheGeneralDateIsTheShortDateAndTheTimeUnlessMidnight) {
  EXPECT_EQ(FormatDate({37653}, "", kDayFirst), "01/02/2003");
  EXPECT_EQ(FormatDate({37653.4375}, "", kDayFirst), "01/02/2003 10:30:00");
  EXPECT_EQ(FormatDate({37653.4375}, "", kMonthFirst), "2/1/2003 10:30:00");
  EXPECT_EQ(FormatDate({37653}, "", kNone), "01/02/2003");
  EXPECT_EQ(FormatDate({37653}, "", RegionalSettings{"dd.MM.yy", '.'}), "01.02.03");
  EXPECT_EQ(FormatDate({37653}, "", RegionalSettings{"dddd d' de 'MMM yyyy", '.'}), "1 de 02 2003");
}

TEST(Dates, TheGeneralDateOfATimeAloneIsTheTime) {
  EXPECT_EQ(FormatDate({0.4375}, "", kDayFirst), "10:30:00");
  EXPECT_EQ(FormatDate({0}, "", kNone), "00:00:00");
  EXPECT_EQ(FormatDate({-1}, "", kDayFirst), "29/12/1899");
  EXPECT_EQ(FormatDate({1.4375}, "", kDayFirst), "31/12/1899 10:30:00");
}

TEST(Dates, TheGeneralDateReadsBack) {
  for (const RegionalSettings& settings : {kDayFirst, kMonthFirst, kNone, RegionalSettings{"yyyy-MM-dd", '.'},
                                           RegionalSettings{"d. M. yyyy", ','}, RegionalSettings{"yyyy. MM. dd.", ','}}) {
    for (const double serial : {37653.0, 37653.4375, 0.0, 0.4375, -1.25, -657434.0, 2958465.5}) {
      EXPECT_EQ(ParseDate(FormatDate({serial}, "", settings), settings)->serial, serial);
    }
  }
}

TEST(Dates, TheGeneralDateOfATwoDigitYearReadsBackInItsCentury) {
  for (const char* shortDate : {"dd/MM/yy", "M/d/yy", "yy-MM-dd"}) {
    const RegionalSettings settings{shortDate, '.'};
    for (const double serial : {Serial(2003, 4, 5), Serial(2011, 12, 10, 10, 30), Serial(1931, 2, 3)}) {
      EXPECT_EQ(ParseDate(FormatDate({serial}, "", settings), settings)->serial, serial) << shortDate;
    }
  }
}

TEST(Dates, NamesOfMonthsAreThoseOfTheSettingsToo) {
  RegionalSettings settings = kDayFirst;
  EXPECT_EQ(ParseDate("1 févr. 2003 6:00 PM", settings)->serial, Serial(2003, 2, 1, 18));
  EXPECT_FALSE(ParseDate("1 Okt 2003", settings));
  settings.monthNames = {"Januar", "Februar", "März", "April", "Mai", "Juni", "Juli", "August", "September", "Oktober"};
  EXPECT_EQ(ParseDate("1 Okt 2003", settings)->serial, Serial(2003, 10, 1));
}

}  // namespace
}  // namespace tamlo::runtime

#include "base/DateText.h"

#include <gtest/gtest.h>

#include <vector>

#include "base/Calendar.h"

namespace base {
namespace {

constexpr double kNone = -1e9;

double Read(std::string_view text, DateOrder order = DateOrder::kDayFirst, std::span<const std::string> names = {}) {
  return ReadDateText(text, order, names).value_or(kNone);
}
double Day(int year, int month, int day) { return static_cast<double>(DayNumber(year, month, day)); }
int ThisYear() { return static_cast<int>(CivilOf(static_cast<std::int64_t>(LocalNow())).year); }

TEST(DateText, ThreeNumbersAreReadInTheWantedOrder) {
  EXPECT_EQ(Read("01/02/2003", DateOrder::kDayFirst), Day(2003, 2, 1));
  EXPECT_EQ(Read("01/02/2003", DateOrder::kMonthFirst), Day(2003, 1, 2));
  EXPECT_EQ(Read("01/02/2003", DateOrder::kYearFirst), Day(2003, 1, 2));
  EXPECT_EQ(Read("01/02/03", DateOrder::kYearFirst), Day(2001, 2, 3));
}

TEST(DateText, WhereTheOrderMakesNoDateTheOtherOneIsTaken) {
  EXPECT_EQ(Read("02/13/2003", DateOrder::kDayFirst), Day(2003, 2, 13));
  EXPECT_EQ(Read("13/02/2003", DateOrder::kMonthFirst), Day(2003, 2, 13));
  EXPECT_EQ(Read("13-02-03", DateOrder::kMonthFirst), Day(2003, 2, 13));
  EXPECT_EQ(Read("2/13", DateOrder::kDayFirst), Day(ThisYear(), 2, 13));
}

TEST(DateText, ANumberThatCanOnlyBeTheYearIsTheYear) {
  for (const DateOrder order : {DateOrder::kDayFirst, DateOrder::kMonthFirst, DateOrder::kYearFirst}) {
    EXPECT_EQ(Read("2003-02-01", order), Day(2003, 2, 1));
    EXPECT_EQ(Read("99/12/31", order), Day(1999, 12, 31));
  }
  EXPECT_EQ(Read("31/02/03"), kNone) << "31 may be a day: the text is a mistake, not a year";
}

TEST(DateText, TwoDigitYearsTurnAtThirty) {
  EXPECT_EQ(Read("1/1/00"), Day(2000, 1, 1));
  EXPECT_EQ(Read("1/1/29"), Day(2029, 1, 1));
  EXPECT_EQ(Read("1/1/30"), Day(1930, 1, 1));
  EXPECT_EQ(Read("1/1/99"), Day(1999, 1, 1));
  EXPECT_EQ(Read("1 jan 29"), Day(2029, 1, 1));
  EXPECT_EQ(Read("1 jan 30"), Day(1930, 1, 1));
}

TEST(DateText, MonthsHaveFrenchAndEnglishNames) {
  const std::vector<std::vector<const char*>> names = {{"janvier", "January", "JANV.", "jan"},
                                                       {"février", "fevrier", "FÉVR.", "feb"},
                                                       {"mars", "march", "MAR"},
                                                       {"avril", "april", "avr.", "apr"},
                                                       {"mai", "May"},
                                                       {"juin", "june", "jun"},
                                                       {"juillet", "july", "juil.", "JUL"},
                                                       {"août", "aout", "august", "AOÛ", "aug"},
                                                       {"septembre", "september", "sept.", "SEP"},
                                                       {"octobre", "october", "oct."},
                                                       {"novembre", "november", "nov."},
                                                       {"décembre", "december", "DÉC.", "dec"}};
  for (std::size_t i = 0; i < names.size(); ++i) {
    const double expected = Day(2003, static_cast<int>(i) + 1, 5);
    for (const std::string name : names[i]) {
      EXPECT_EQ(Read("5 " + name + " 2003"), expected) << name;
      EXPECT_EQ(Read(name + " 5, 2003"), expected) << name;
    }
  }
}

TEST(DateText, NamesOfTheCallersLanguageAreUnderstoodToo) {
  const std::vector<std::string> german = {"Januar",    "Februar", "März",     "April",    "Mai",  "Juni", "Juli", "August",
                                           "September", "Oktober", "November", "Dezember", "Jan.", "Feb.", "Mrz.", "Apr.",
                                           "Mai",       "Jun.",    "Jul.",     "Aug.",     "Sep.", "Okt.", "Nov.", "Dez."};
  EXPECT_EQ(Read("5. Dezember 2003", DateOrder::kDayFirst, german), Day(2003, 12, 5));
  EXPECT_EQ(Read("5 mrz 2003", DateOrder::kDayFirst, german), Day(2003, 3, 5));
  EXPECT_EQ(Read("5 März 2003", DateOrder::kDayFirst, german), Day(2003, 3, 5));
  EXPECT_EQ(Read("5 Okt 2003", DateOrder::kDayFirst), kNone);
  EXPECT_EQ(Read("5 may 2003", DateOrder::kDayFirst, german), Day(2003, 5, 5));
}

TEST(DateText, ANamedMonthMayStandInFrontBetweenOrBehindTheYear) {
  for (const char* text : {"31 dec 2003", "31-dec-2003", "31/DEC/03", "31dec2003", "dec 31, 2003", "December 31 2003", "2003 dec 31",
                           "2003-dec-31", "31.déc.2003",
                           "31 de\xCC\x81"
                           "c 2003"}) {
    EXPECT_EQ(Read(text), Day(2003, 12, 31)) << text;
  }
  EXPECT_EQ(Read("99 dec 31"), Day(1999, 12, 31));
}

TEST(DateText, AMissingYearIsThisOneAndAMissingDayTheFirst) {
  EXPECT_EQ(Read("1/2"), Day(ThisYear(), 2, 1));
  EXPECT_EQ(Read("31 dec"), Day(ThisYear(), 12, 31));
  EXPECT_EQ(Read("dec 31"), Day(ThisYear(), 12, 31));
  EXPECT_EQ(Read("12/2003"), Day(2003, 12, 1));
  EXPECT_EQ(Read("2003-12"), Day(2003, 12, 1));
  EXPECT_EQ(Read("dec 2003"), Day(2003, 12, 1));
  EXPECT_EQ(Read("dec 99"), Day(1999, 12, 1));
}

TEST(DateText, ATimeStandsAloneBehindOrInFrontOfTheDay) {
  EXPECT_EQ(Read("6:00"), 0.25);
  EXPECT_EQ(Read("18:00:00"), 0.75);
  EXPECT_EQ(Read("01/02/2003 06:00"), Day(2003, 2, 1) + 0.25);
  EXPECT_EQ(Read("06:00 01/02/2003"), Day(2003, 2, 1) + 0.25);
  EXPECT_EQ(Read("2003-02-01T06:00:00"), Day(2003, 2, 1) + 0.25);
  EXPECT_EQ(Read("Feb 1, 2003, 6:00 AM"), Day(2003, 2, 1) + 0.25);
  EXPECT_EQ(Read("29/12/1899 06:00"), -1.25);
}

TEST(DateText, HalvesOfTheDayAreUnderstood) {
  EXPECT_EQ(Read("6 AM"), 0.25);
  EXPECT_EQ(Read("6pm"), 0.75);
  EXPECT_EQ(Read("6:00:00 p"), 0.75);
  EXPECT_EQ(Read("12:00 AM"), 0);
  EXPECT_EQ(Read("0:00 AM"), 0);
  EXPECT_EQ(Read("12:00 PM"), 0.5);
  EXPECT_EQ(Read("1/2/2003 6 PM"), Day(2003, 2, 1) + 0.75);
  EXPECT_EQ(Read("1/2/2003 6:00\xE2\x80\xAFPM"), Day(2003, 2, 1) + 0.75);
  for (const char* text : {"13:00 PM", "13:00 AM", "0:30 PM", "AM", "6:00 AM PM", "6:00 MM", "AM 6:00"})
    EXPECT_EQ(Read(text), kNone) << text;
}

TEST(DateText, ASeparatorThatEndsItIsOnlyThePointOfAbbreviationsAndPointedDates) {
  EXPECT_EQ(Read("1. 2. 2003."), Day(2003, 2, 1));
  EXPECT_EQ(Read("2003. 02. 01."), Day(2003, 2, 1));
  EXPECT_EQ(Read("5 2003 janv."), kNone);
  for (const char* text : {"01/02/2003.", "1/2/", "1/2/2003,", "10:30.", "10:30:"}) EXPECT_EQ(Read(text), kNone) << text;
}

TEST(DateText, AnythingElseIsNone) {
  for (const char* text : {"",
                           " ",
                           "abc",
                           "dec",
                           "2003",
                           "37653",
                           "1.5",
                           "10 30",
                           "1,5",
                           "31/02/2003",
                           "29/02/2003",
                           "0/1/2003",
                           "1/0/2003",
                           "13/13/2003",
                           "1/2/20033",
                           "1/2-2003",
                           "2003-02-2003",
                           "2003-13-01",
                           "1/2/99x",
                           "1/2/0099",
                           "01/02/2003 24:00",
                           "01/02/2003 10:60",
                           "01/02/2003 10",
                           "01/02/200310:30",
                           "01/02/2003 10:30:00.5",
                           "01/02/2003T",
                           "1T2T2003",
                           "5 jui 2003",
                           "5 ma 2003",
                           "5 marmelade 2003",
                           "5 mars avril",
                           "5 mars 2003 4",
                           "30 feb 2003",
                           "1 / 2 / 2003",
                           "1/ 2/2003",
                           "10:30 10:30",
                           "1/2/2003 10:30 1/2",
                           "1:2:3:4",
                           "100:30",
                           "-1/2/2003",
                           "+1",
                           "#1/2/2003#"}) {
    EXPECT_EQ(Read(text), kNone) << text;
  }
}

TEST(DateText, NoTextWhateverItsBytesIsReadPastItsEnd) {
  // Every beginning of texts that hold all kinds of tokens, in a buffer of exactly its size.
  for (const std::string whole : {"31 déc. 2003 10:30:15 PM", "2003-02-01T06:00:00",
                                  "1\xE2\x80\xAF"
                                  "2\xC3",
                                  "\xCC", "1. 2. 2003."}) {
    for (std::size_t length = 0; length <= whole.size(); ++length) {
      const std::vector<char> exact(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
      (void)Read({exact.data(), exact.size()});
    }
  }
}

}  // namespace
}  // namespace base

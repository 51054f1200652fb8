#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/Calendar.h"

namespace jet::sql {

/// Calendar fields of a date as Access counts it: days since 1899-12-30, the fraction counting forward also before that day.
struct CalendarFields {
  std::int64_t year = 1899;
  int month = 12;
  int day = 30;
  int hour = 0;
  int minute = 0;
  int second = 0;
  int weekday = 7;    ///< 1 = Sunday
  int dayOfYear = 0;  ///< from 1
};

/// To the nearest second.
[[nodiscard]] CalendarFields FieldsOf(double serial);
/// Month and day may lie outside their range and count on (month 13 is January of the next year). Nothing outside the years 100 to 9999.
[[nodiscard]] std::optional<double> SerialOf(std::int64_t year, std::int64_t month, std::int64_t day, double timeOfDay = 0);
/// Whole days and the time of day (0 to below 1) of a serial.
[[nodiscard]] double DayOf(double serial);
[[nodiscard]] double TimeOf(double serial);
using base::JoinDayAndTime;
using base::LocalNow;

/// "31/12/2003", with " 10:30:00" when there is a time, the time alone on day 0.
[[nodiscard]] std::string GeneralDate(double serial);

/// Access' date functions. interval: yyyy q m y d w ww h n s. Nothing for an unknown interval or a result out of range.
[[nodiscard]] std::optional<double> DateAdd(std::string_view interval, double count, double serial);
[[nodiscard]] std::optional<double> DateDiff(std::string_view interval, double from, double to, int firstDayOfWeek);
[[nodiscard]] std::optional<int> DatePart(std::string_view interval, double serial, int firstDayOfWeek, int firstWeekOfYear);
[[nodiscard]] int Weekday(double serial, int firstDayOfWeek);

}  // namespace jet::sql

#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "runtime/RegionalSettings.h"
#include "runtime/Variant.h"

namespace tamlo::runtime {

/// Calendar fields of a date: year 100 to 9999, month and day from 1, time of day to the second with its fraction.
struct CalendarTime {
  int year = 1899;
  int month = 12;
  int day = 30;
  int hour = 0;
  int minute = 0;
  int second = 0;
  int nanosecond = 0;

  friend constexpr bool operator==(const CalendarTime&, const CalendarTime&) = default;
};

/// Serial days from calendar fields (proleptic Gregorian). Error 5 when a field is out of its range.
[[nodiscard]] Date ToSerial(const CalendarTime& time);
/// Calendar fields of a serial date, to the second (rounded to the nearest one; nanosecond stays 0).
[[nodiscard]] CalendarTime ToCalendar(Date date);
/// The same keeping milliseconds (rounded to the nearest one).
[[nodiscard]] CalendarTime ToCalendarWithFraction(Date date);

/// Today's date (no time) and the present moment, in local time.
[[nodiscard]] Date Today();
[[nodiscard]] Date Now();

/// Reads a date text as base/DateText.h says, in the order of the settings' short date and with their names of months besides the French
/// and English ones. None for a text that is no date.
[[nodiscard]] std::optional<Date> ParseDate(std::string_view text, const RegionalSettings& settings = UserSettings());

/// Writes a date by a picture: "YYYY", "YY", "MM", "DD", "HH", "NN", "SS" (any case; "MM" after "HH" is minutes too), everything else as it stands.
/// An empty picture gives the general date: short date, then the time when it is not midnight ("01/02/2003 10:30:00"); day 0, which a
/// time alone has, is left out ("10:30:00", "00:00:00").
[[nodiscard]] std::string FormatDate(Date date, std::string_view picture, const RegionalSettings& settings = UserSettings());

}  // namespace tamlo::runtime

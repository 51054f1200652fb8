#include "jet/sql/functions/Calendar.h"

#include <algorithm>
#include <cmath>

#include "base/Case.h"
#include "base/Numbers.h"
namespace jet::sql {

namespace {

constexpr double kSecondsPerDay = base::kSecondsADay;

}  // namespace

double DayOf(double serial) { return std::trunc(serial); }

double TimeOf(double serial) { return std::fabs(serial - std::trunc(serial)); }

CalendarFields FieldsOf(double serial) {
  // Far outside of what a date can be: a damaged value must not overflow the arithmetic.
  if (!std::isfinite(serial)) serial = 0;
  if (std::fabs(serial) >= 1e8) serial = TimeOf(serial);
  const auto [day, seconds] = base::SplitSerial(serial, base::kSecondsADay);
  CalendarFields fields;
  const base::CivilDay civil = base::CivilOf(day);
  fields.year = civil.year;
  fields.month = civil.month;
  fields.day = civil.day;
  fields.hour = static_cast<int>(seconds / 3600);
  fields.minute = static_cast<int>(seconds / 60 % 60);
  fields.second = static_cast<int>(seconds % 60);
  fields.weekday = static_cast<int>(((day % 7) + 7 + 6) % 7) + 1;  // day 0 was a Saturday
  fields.dayOfYear = static_cast<int>(day - base::DayNumber(fields.year, 1, 1)) + 1;
  return fields;
}

std::optional<double> SerialOf(std::int64_t year, std::int64_t month, std::int64_t day, double timeOfDay) {
  if (std::llabs(year) > 20000 || std::llabs(month) > 240000 || std::llabs(day) > 8000000) return std::nullopt;
  month -= 1;
  year += month >= 0 ? month / 12 : (month - 11) / 12;
  month = (month % 12 + 12) % 12 + 1;
  const std::int64_t days = base::DayNumber(year, static_cast<int>(month), 1) + day - 1;
  if (days < base::kFirstDay || days > base::kLastDay) return std::nullopt;
  return JoinDayAndTime(static_cast<double>(days), timeOfDay);
}

std::string GeneralDate(double serial) {
  const CalendarFields f = FieldsOf(serial);
  const bool hasTime = f.hour != 0 || f.minute != 0 || f.second != 0;
  const auto joined = [](std::int64_t first, std::int64_t second, std::int64_t third, char between, int lastWidth) {
    std::string text;
    base::AppendPadded(text, first, 2);
    base::AppendPadded(text += between, second, 2);
    base::AppendPadded(text += between, third, lastWidth);
    return text;
  };
  const std::string date = joined(f.day, f.month, f.year, '/', 4);
  if (!hasTime) return date;
  const std::string time = joined(f.hour, f.minute, f.second, ':', 2);
  return DayOf(serial) == 0 ? time : date + " " + time;
}

namespace {

double AddSeconds(double serial, double seconds) {
  // Through a plain line of seconds: the stored form counts the time of day forward also before day 0.
  const double line = DayOf(serial) * kSecondsPerDay + std::round(TimeOf(serial) * kSecondsPerDay) + std::round(seconds);
  const double day = std::floor(line / kSecondsPerDay);
  return JoinDayAndTime(day, (line - day * kSecondsPerDay) / kSecondsPerDay);
}

std::optional<double> AddMonths(double serial, double months) {
  if (!(std::fabs(months) < 200000)) return std::nullopt;
  const CalendarFields f = FieldsOf(serial);
  const std::int64_t index = f.year * 12 + (f.month - 1) + static_cast<std::int64_t>(std::trunc(months));
  const std::int64_t year = index >= 0 ? index / 12 : (index - 11) / 12;
  const auto month = static_cast<int>(index - year * 12) + 1;
  const int day = std::min(f.day, base::DaysOfMonth(year, month));
  return SerialOf(year, month, day, TimeOf(serial));
}

std::string Lower(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = base::AsciiLower(c);
  return out;
}

double SecondsOf(double serial) { return DayOf(serial) * kSecondsPerDay + std::round(TimeOf(serial) * kSecondsPerDay); }

}  // namespace

std::optional<double> DateAdd(std::string_view interval, double count, double serial) {
  const std::string unit = Lower(interval);
  std::optional<double> result;
  if (!(std::fabs(count) < 1e12)) return std::nullopt;
  if (unit == "yyyy")
    result = AddMonths(serial, std::round(count) * 12);
  else if (unit == "q")
    result = AddMonths(serial, std::round(count) * 3);
  else if (unit == "m")
    result = AddMonths(serial, std::round(count));
  else if (unit == "d" || unit == "y" || unit == "w")
    result = AddSeconds(serial, std::round(count) * kSecondsPerDay);
  else if (unit == "ww")
    result = AddSeconds(serial, std::round(count) * 7 * kSecondsPerDay);
  else if (unit == "h")
    result = AddSeconds(serial, std::round(count) * 3600);
  else if (unit == "n")
    result = AddSeconds(serial, std::round(count) * 60);
  else if (unit == "s")
    result = AddSeconds(serial, count);
  if (result && (*result <= base::kFirstDay - 1 || *result >= base::kLastDay + 1)) return std::nullopt;
  return result;
}

int Weekday(double serial, int firstDayOfWeek) { return (FieldsOf(serial).weekday - firstDayOfWeek + 7) % 7 + 1; }

std::optional<double> DateDiff(std::string_view interval, double from, double to, int firstDayOfWeek) {
  const std::string unit = Lower(interval);
  const CalendarFields a = FieldsOf(from);
  const CalendarFields b = FieldsOf(to);
  const double days = DayOf(to) - DayOf(from);
  if (unit == "yyyy") return static_cast<double>(b.year - a.year);
  if (unit == "q") return static_cast<double>((b.year - a.year) * 4 + (b.month - 1) / 3 - (a.month - 1) / 3);
  if (unit == "m") return static_cast<double>((b.year - a.year) * 12 + b.month - a.month);
  if (unit == "d" || unit == "y") return days;
  if (unit == "w") return std::trunc(days / 7);
  if (unit == "ww") {
    const double firstWeek = DayOf(from) - (Weekday(from, firstDayOfWeek) - 1);
    const double lastWeek = DayOf(to) - (Weekday(to, firstDayOfWeek) - 1);
    return (lastWeek - firstWeek) / 7;
  }
  if (unit == "h") return std::floor(SecondsOf(to) / 3600) - std::floor(SecondsOf(from) / 3600);
  if (unit == "n") return std::floor(SecondsOf(to) / 60) - std::floor(SecondsOf(from) / 60);
  if (unit == "s") return SecondsOf(to) - SecondsOf(from);
  return std::nullopt;
}

namespace {

// Number of the week: 1 = the week of January 1st, 2 = the first with four days, 3 = the first full one.
int WeekOfYear(double serial, int firstDayOfWeek, int firstWeekOfYear) {
  const auto firstWeekStart = [&](std::int64_t year) {
    const double january = *SerialOf(year, 1, 1);
    const int before = Weekday(january, firstDayOfWeek) - 1;  // days of that week in the old year
    const double start = january - before;
    if (firstWeekOfYear == 2) return before > 3 ? start + 7 : start;
    if (firstWeekOfYear == 3) return before > 0 ? start + 7 : start;
    return start;
  };
  const std::int64_t year = FieldsOf(serial).year;
  const double day = DayOf(serial);
  double start = firstWeekStart(year);
  if (day < start && year > 100) start = firstWeekStart(year - 1);
  if (firstWeekOfYear == 2 && year < 9999 && day >= firstWeekStart(year + 1)) start = firstWeekStart(year + 1);
  return static_cast<int>((day - start) / 7) + 1;
}

}  // namespace

std::optional<int> DatePart(std::string_view interval, double serial, int firstDayOfWeek, int firstWeekOfYear) {
  const std::string unit = Lower(interval);
  const CalendarFields f = FieldsOf(serial);
  if (unit == "yyyy") return static_cast<int>(f.year);
  if (unit == "q") return (f.month - 1) / 3 + 1;
  if (unit == "m") return f.month;
  if (unit == "y") return f.dayOfYear;
  if (unit == "d") return f.day;
  if (unit == "w") return Weekday(serial, firstDayOfWeek);
  if (unit == "ww") return WeekOfYear(serial, firstDayOfWeek, firstWeekOfYear);
  if (unit == "h") return f.hour;
  if (unit == "n") return f.minute;
  if (unit == "s") return f.second;
  return std::nullopt;
}

}  // namespace jet::sql

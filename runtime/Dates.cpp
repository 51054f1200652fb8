#include "runtime/Dates.h"

#include <algorithm>
#include <cmath>

#include "base/Calendar.h"
#include "base/Case.h"
#include "base/DateText.h"
#include "base/Numbers.h"
#include "runtime/Error.h"

namespace tamlo::runtime {

namespace {

using base::AppendPadded;
using base::kFirstDay;
using base::kLastDay;
using base::kSecondsADay;

bool IsTimeOfDay(int hour, int minute, int second) {
  return hour >= 0 && hour < 24 && minute >= 0 && minute < 60 && second >= 0 && second < 60;
}

/// Calendar fields of a serial date rounded to a whole number of ticks.
CalendarTime Split(double serial, std::int64_t ticksASecond) {
  if (!(serial > static_cast<double>(kFirstDay) - 1 && serial < static_cast<double>(kLastDay) + 1)) throw Error(kInvalidArgument);
  auto [day, ticks] = base::SplitSerial(serial, kSecondsADay * ticksASecond);
  if (day > kLastDay) {
    // The last instant of the calendar has no next day to round to.
    day = kLastDay;
    ticks = kSecondsADay * ticksASecond - 1;
  }
  const base::CivilDay fields = base::CivilOf(day);
  CalendarTime time;
  time.year = static_cast<int>(fields.year);
  time.month = fields.month;
  time.day = fields.day;
  const std::int64_t seconds = ticks / ticksASecond;
  time.hour = static_cast<int>(seconds / 3600);
  time.minute = static_cast<int>(seconds / 60 % 60);
  time.second = static_cast<int>(seconds % 60);
  time.nanosecond = static_cast<int>(ticks % ticksASecond * (1'000'000'000 / ticksASecond));
  return time;
}

/// What a run of one of the operating system's letters stands for; other characters stand as they are. Names of days are left out and names of
/// months written as two digits, so that what is written can be read again.
void AppendShortDateField(std::string& out, const CalendarTime& time, char letter, std::size_t count) {
  const int width = count >= 2 ? 2 : 1;
  switch (letter) {
    case 'd':
      if (count <= 2) AppendPadded(out, time.day, width);
      break;
    case 'M':
      AppendPadded(out, time.month, width);
      break;
    case 'y':
      AppendPadded(out, count > 2 ? time.year : time.year % 100, count > 2 ? 4 : 2);
      break;
    default:
      out.append(count, letter);
  }
}

/// The date in the operating system's letters; what stands between apostrophes is text.
void AppendShortDate(std::string& out, const CalendarTime& time, std::string_view letters) {
  while (!letters.empty()) {
    const char letter = letters.front();
    if (letter == '\'') {
      letters.remove_prefix(1);
      const std::size_t end = std::min(letters.find('\''), letters.size());
      out += letters.substr(0, end);
      letters.remove_prefix(std::min(end + 1, letters.size()));
      continue;
    }
    const std::size_t count = std::min(letters.find_first_not_of(letter), letters.size());
    AppendShortDateField(out, time, letter, count);
    letters.remove_prefix(count);
  }
}

void AppendTime(std::string& out, const CalendarTime& time) {
  AppendPadded(out, time.hour, 2);
  out.push_back(':');
  AppendPadded(out, time.minute, 2);
  out.push_back(':');
  AppendPadded(out, time.second, 2);
}

std::string GeneralDate(const CalendarTime& time, const RegionalSettings& settings) {
  std::string out;
  const bool withoutDay = time.year == 1899 && time.month == 12 && time.day == 30;
  if (!withoutDay) AppendShortDate(out, time, settings.shortDate.empty() ? std::string_view("dd/MM/yyyy") : settings.shortDate);
  while (!out.empty() && out.front() == ' ') out.erase(0, 1);
  if (withoutDay || time.hour != 0 || time.minute != 0 || time.second != 0) {
    if (!out.empty()) out.push_back(' ');
    AppendTime(out, time);
  }
  return out;
}

/// The length of a run of the letter of a picture at a position, without regard to case.
std::size_t RunLength(std::string_view picture, std::size_t position) {
  std::size_t count = 1;
  while (position + count < picture.size() && base::AsciiUpper(picture[position + count]) == base::AsciiUpper(picture[position])) ++count;
  return count;
}

/// The field that two letters of a picture stand for: "MM" behind an hour are minutes.
int FieldOf(const CalendarTime& time, char letter, bool behindHour) {
  switch (letter) {
    case 'Y':
      return time.year % 100;
    case 'M':
      return behindHour ? time.minute : time.month;
    case 'D':
      return time.day;
    case 'H':
      return time.hour;
    case 'N':
      return time.minute;
    default:
      return time.second;
  }
}

}  // namespace

Date ToSerial(const CalendarTime& time) {
  const bool valid = base::IsCivilDay(time.year, time.month, time.day) && IsTimeOfDay(time.hour, time.minute, time.second) &&
                     time.nanosecond >= 0 && time.nanosecond < 1'000'000'000;
  if (!valid) throw Error(kInvalidArgument);
  const double seconds = time.hour * 3600 + time.minute * 60 + time.second + time.nanosecond / 1e9;
  return {base::JoinDayAndTime(static_cast<double>(base::DayNumber(time.year, time.month, time.day)),
                               seconds / static_cast<double>(kSecondsADay))};
}

CalendarTime ToCalendar(Date date) { return Split(date.serial, 1); }

CalendarTime ToCalendarWithFraction(Date date) { return Split(date.serial, 1000); }

Date Today() { return {std::trunc(base::LocalNow())}; }

Date Now() { return {base::LocalNow()}; }

std::optional<Date> ParseDate(std::string_view text, const RegionalSettings& settings) {
  const auto serial = base::ReadDateText(text, settings.Order(), settings.monthNames);
  if (!serial) return std::nullopt;
  return Date{*serial};
}

std::string FormatDate(Date date, std::string_view picture, const RegionalSettings& settings) {
  const CalendarTime time = ToCalendar(date);
  if (picture.empty()) return GeneralDate(time, settings);
  std::string out;
  char previousToken = '\0';
  for (std::size_t i = 0; i < picture.size();) {
    const char letter = base::AsciiUpper(picture[i]);
    const std::size_t run = RunLength(picture, i);
    if (run < 2 || std::string_view("YMDHNS").find(letter) == std::string_view::npos) {
      out.push_back(picture[i++]);
      continue;
    }
    const bool wholeYear = letter == 'Y' && run >= 4;
    AppendPadded(out, wholeYear ? time.year : FieldOf(time, letter, previousToken == 'H'), wholeYear ? 4 : 2);
    i += wholeYear ? 4 : 2;
    previousToken = letter;
  }
  return out;
}

}  // namespace tamlo::runtime

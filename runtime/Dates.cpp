#include "runtime/Dates.h"

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

/// The date in the operating system's letters. Names of days are left out and names of months written as two digits, so
/// that what is written can be read again.
void AppendShortDate(std::string& out, const CalendarTime& time, std::string_view letters) {
  for (std::size_t i = 0; i < letters.size();) {
    const char letter = letters[i];
    if (letter == '\'') {
      const std::size_t end = letters.find('\'', i + 1);
      out += letters.substr(i + 1, end == std::string_view::npos ? end : end - i - 1);
      i = end == std::string_view::npos ? letters.size() : end + 1;
      continue;
    }
    std::size_t count = 1;
    while (i + count < letters.size() && letters[i + count] == letter) ++count;
    i += count;
    const int width = count >= 2 ? 2 : 1;
    if (letter == 'd') {
      if (count <= 2) AppendPadded(out, time.day, width);
    } else if (letter == 'M') {
      AppendPadded(out, time.month, width);
    } else if (letter == 'y') {
      AppendPadded(out, count > 2 ? time.year : time.year % 100, count > 2 ? 4 : 2);
    } else {
      out.append(count, letter);
    }
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
    if (letter == 'Y' && run >= 4) {
      AppendPadded(out, time.year, 4);
      i += 4;
    } else if (run >= 2 && std::string_view("YMDHNS").find(letter) != std::string_view::npos) {
      const bool minutes = letter == 'N' || (letter == 'M' && previousToken == 'H');
      const int value = letter == 'Y'   ? time.year % 100
                        : minutes       ? time.minute
                        : letter == 'M' ? time.month
                        : letter == 'D' ? time.day
                        : letter == 'H' ? time.hour
                                        : time.second;
      AppendPadded(out, value, 2);
      i += 2;
    } else {
      out.push_back(picture[i++]);
      continue;
    }
    previousToken = letter;
  }
  return out;
}

}  // namespace tamlo::runtime

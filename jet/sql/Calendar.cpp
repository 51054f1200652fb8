#include "jet/sql/Calendar.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <vector>

namespace jet::sql {

namespace {

constexpr std::int64_t kEpoch = -25569;  // 1970-01-01 counted from 1899-12-30, with the sign of the conversion below
constexpr double kSecondsPerDay = 86400;

// Days since 1970-01-01 of a proleptic Gregorian date, and back (the usual arithmetic with years that begin in March).
std::int64_t DaysFromCivil(std::int64_t year, int month, int day) {
  year -= month <= 2;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const std::int64_t yearOfEra = year - era * 400;
  const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468;
}

void CivilFromDays(std::int64_t days, CalendarFields& fields) {
  days += 719468;
  const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const std::int64_t dayOfEra = days - era * 146097;
  const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const std::int64_t shifted = (5 * dayOfYear + 2) / 153;
  fields.day = static_cast<int>(dayOfYear - (153 * shifted + 2) / 5 + 1);
  fields.month = static_cast<int>(shifted < 10 ? shifted + 3 : shifted - 9);
  fields.year = yearOfEra + era * 400 + (fields.month <= 2 ? 1 : 0);
}

bool IsLeap(std::int64_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

int DaysOfMonth(std::int64_t year, int month) {
  static constexpr std::array<int, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeap(year) ? 29 : kDays[static_cast<std::size_t>(month - 1)];
}

struct Piece {
  bool word = false;
  std::int64_t number = 0;
  int digits = 0;
  std::string text;
  char after = '\0';  // separator that follows
};

int MonthOfName(const std::string& name) {
  static constexpr std::array<const char*, 12> kNames = {"jan", "feb", "mar", "apr", "may", "jun",
                                                         "jul", "aug", "sep", "oct", "nov", "dec"};
  if (name.size() < 3) return 0;
  for (std::size_t i = 0; i < kNames.size(); ++i) {
    if (name.substr(0, 3) == kNames[i]) return static_cast<int>(i) + 1;
  }
  return 0;
}

// Cuts a date text into numbers and words; false when something else stands in it.
bool CutDate(std::string_view text, std::vector<Piece>& pieces) {
  for (std::size_t i = 0; i < text.size();) {
    const char c = text[i];
    if (c == ' ' || c == '\t' || c == ',') {
      ++i;
      continue;
    }
    Piece piece;
    if (c >= '0' && c <= '9') {
      for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        if (++piece.digits > 9) return false;
        piece.number = piece.number * 10 + (text[i] - '0');
      }
    } else if ((c | 0x20) >= 'a' && (c | 0x20) <= 'z') {
      piece.word = true;
      for (; i < text.size() && (text[i] | 0x20) >= 'a' && (text[i] | 0x20) <= 'z'; ++i) piece.text += static_cast<char>(text[i] | 0x20);
    } else {
      return false;
    }
    if (i < text.size() && (text[i] == '/' || text[i] == '-' || text[i] == '.' || text[i] == ':')) {
      if (i + 1 == text.size()) return false;
      piece.after = text[i++];
    }
    pieces.push_back(std::move(piece));
  }
  return !pieces.empty();
}

std::int64_t FullYear(const Piece& piece) {
  if (piece.digits > 2) return piece.number;
  return piece.number < 30 ? 2000 + piece.number : 1900 + piece.number;
}

std::optional<double> CheckedDay(std::int64_t year, std::int64_t month, std::int64_t day) {
  if (year < 100 || year > 9999 || month < 1 || month > 12 || day < 1 || day > DaysOfMonth(year, static_cast<int>(month)))
    return std::nullopt;
  return SerialOf(year, month, day);
}

std::optional<double> DayFromPieces(const std::vector<Piece>& pieces, DateOrder order) {
  if (pieces.size() == 3) {
    if (pieces[1].word) {  // 31 dec 2003
      return CheckedDay(FullYear(pieces[2]), MonthOfName(pieces[1].text), pieces[0].number);
    }
    if (pieces[0].word) return CheckedDay(FullYear(pieces[2]), MonthOfName(pieces[0].text), pieces[1].number);
    if (pieces[0].digits > 2) return CheckedDay(pieces[0].number, pieces[1].number, pieces[2].number);
    const std::int64_t year = FullYear(pieces[2]);
    const auto dayFirst = CheckedDay(year, pieces[1].number, pieces[0].number);
    const auto monthFirst = CheckedDay(year, pieces[0].number, pieces[1].number);
    return order == DateOrder::kDayFirst ? (dayFirst ? dayFirst : monthFirst) : (monthFirst ? monthFirst : dayFirst);
  }
  if (pieces.size() == 2 && !pieces[0].word && !pieces[1].word) {  // without a year: this one
    Piece year;
    year.number = FieldsOf(LocalNow()).year;
    year.digits = 4;
    return DayFromPieces({pieces[0], pieces[1], year}, order);
  }
  return std::nullopt;
}

std::optional<double> TimeFromPieces(const std::vector<Piece>& pieces, const std::string& half) {
  if (pieces.empty() || pieces.size() > 3 || (pieces.size() == 1 && half.empty())) return std::nullopt;
  std::int64_t hour = pieces[0].number;
  const std::int64_t minute = pieces.size() > 1 ? pieces[1].number : 0;
  const std::int64_t second = pieces.size() > 2 ? pieces[2].number : 0;
  if (!half.empty()) {
    if (hour < 1 || hour > 12) return std::nullopt;
    hour = hour % 12 + (half == "pm" ? 12 : 0);
  }
  if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
  return static_cast<double>(hour * 3600 + minute * 60 + second) / kSecondsPerDay;
}

}  // namespace

double DayOf(double serial) { return std::trunc(serial); }

double TimeOf(double serial) { return std::fabs(serial - std::trunc(serial)); }

double JoinDayAndTime(double day, double time) { return day < 0 ? day - time : day + time; }

CalendarFields FieldsOf(double serial) {
  double day = DayOf(serial);
  auto seconds = static_cast<std::int64_t>(std::llround(TimeOf(serial) * kSecondsPerDay));
  if (seconds >= 86400) {
    seconds = 0;
    day += 1;
  }
  // Far outside of what a date can be: a damaged value must not overflow the arithmetic.
  if (!(std::fabs(day) < 1e8)) day = 0;
  const auto days = static_cast<std::int64_t>(day);
  CalendarFields fields;
  CivilFromDays(days + kEpoch, fields);
  fields.hour = static_cast<int>(seconds / 3600);
  fields.minute = static_cast<int>(seconds / 60 % 60);
  fields.second = static_cast<int>(seconds % 60);
  fields.weekday = static_cast<int>(((days % 7) + 7 + 6) % 7) + 1;  // day 0 was a Saturday
  fields.dayOfYear = static_cast<int>(days + kEpoch - DaysFromCivil(fields.year, 1, 1)) + 1;
  return fields;
}

std::optional<double> SerialOf(std::int64_t year, std::int64_t month, std::int64_t day, double timeOfDay) {
  if (std::llabs(year) > 20000 || std::llabs(month) > 240000 || std::llabs(day) > 8000000) return std::nullopt;
  month -= 1;
  year += month >= 0 ? month / 12 : (month - 11) / 12;
  month = (month % 12 + 12) % 12 + 1;
  const std::int64_t days = DaysFromCivil(year, static_cast<int>(month), 1) + day - 1 - kEpoch;
  const auto serial = static_cast<double>(days);
  if (serial < -657434 || serial > 2958465) return std::nullopt;
  return JoinDayAndTime(serial, timeOfDay);
}

double LocalNow() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
#ifdef _WIN32
  localtime_s(&local, &now);
#else
  localtime_r(&now, &local);
#endif
  const double time = (local.tm_hour * 3600 + local.tm_min * 60 + std::min(local.tm_sec, 59)) / kSecondsPerDay;
  return SerialOf(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, time).value_or(0);
}

std::optional<double> ParseDateText(std::string_view text, DateOrder order) {
  std::vector<Piece> pieces;
  if (!CutDate(text, pieces)) return std::nullopt;
  std::string half;
  if (pieces.back().word && (pieces.back().text == "am" || pieces.back().text == "pm")) {
    half = pieces.back().text;
    pieces.pop_back();
  }
  // The time begins at the first number that a colon follows, or at the number before am and pm.
  std::size_t timeAt = pieces.size();
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    if (pieces[i].after == ':') {
      timeAt = i;
      break;
    }
  }
  if (timeAt == pieces.size() && !half.empty() && !pieces.empty()) timeAt = pieces.size() - 1;
  const std::vector<Piece> dayPieces(pieces.begin(), pieces.begin() + static_cast<std::ptrdiff_t>(timeAt));
  const std::vector<Piece> timePieces(pieces.begin() + static_cast<std::ptrdiff_t>(timeAt), pieces.end());
  for (const Piece& piece : timePieces) {
    if (piece.word || piece.digits > 2) return std::nullopt;
  }
  double time = 0;
  if (!timePieces.empty()) {
    const auto read = TimeFromPieces(timePieces, half);
    if (!read) return std::nullopt;
    time = *read;
  }
  if (dayPieces.empty()) return time;
  const auto day = DayFromPieces(dayPieces, order);
  if (!day) return std::nullopt;
  return JoinDayAndTime(*day, time);
}

std::string GeneralDate(double serial) {
  const CalendarFields f = FieldsOf(serial);
  const bool hasTime = f.hour != 0 || f.minute != 0 || f.second != 0;
  char date[40];
  char time[40];
  std::snprintf(date, sizeof date, "%02d/%02d/%04d", f.day, f.month, static_cast<int>(f.year));
  std::snprintf(time, sizeof time, "%02d:%02d:%02d", f.hour, f.minute, f.second);
  if (!hasTime) return date;
  if (DayOf(serial) == 0) return time;
  return std::string(date) + " " + time;
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
  const int day = std::min(f.day, DaysOfMonth(year, month));
  return SerialOf(year, month, day, TimeOf(serial));
}

std::string Lower(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
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
  if (result && (*result <= -657435 || *result >= 2958466)) return std::nullopt;
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

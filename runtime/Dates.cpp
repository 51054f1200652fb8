#include "runtime/Dates.h"

#include <array>
#include <chrono>
#include <cmath>
#include <ctime>
#include <vector>

#include "runtime/Error.h"

namespace tamlo::runtime {

namespace {

constexpr std::int64_t kDayOfEpoch = 25569;  // serial day of 1970-01-01
constexpr std::int64_t kFirstDay = -657434;  // 0100-01-01
constexpr std::int64_t kLastDay = 2958465;   // 9999-12-31
constexpr std::int64_t kSecondsADay = 86400;

std::int64_t DayNumber(int year, int month, int day) {
  const std::chrono::year_month_day fields{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day))};
  return std::chrono::sys_days(fields).time_since_epoch().count() + kDayOfEpoch;
}

bool IsCalendarDay(int year, int month, int day) {
  if (year < 100 || year > 9999 || month < 1 || month > 12 || day < 1) return false;
  return std::chrono::year_month_day{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                                     std::chrono::day(static_cast<unsigned>(day))}
      .ok();
}

bool IsTimeOfDay(int hour, int minute, int second) {
  return hour >= 0 && hour < 24 && minute >= 0 && minute < 60 && second >= 0 && second < 60;
}

/// Day and time together: the time counts forward from midnight, so before the first day its fraction points away from
/// zero.
double Join(std::int64_t day, double fraction) {
  const auto whole = static_cast<double>(day);
  return day < 0 ? whole - fraction : whole + fraction;
}

/// Calendar fields of a serial date rounded to a whole number of ticks.
CalendarTime Split(double serial, std::int64_t ticksASecond) {
  if (!(serial > static_cast<double>(kFirstDay) - 1 && serial < static_cast<double>(kLastDay) + 1)) throw Error(kInvalidArgument);
  const std::int64_t ticksADay = kSecondsADay * ticksASecond;
  auto day = static_cast<std::int64_t>(serial);
  const double fraction = std::fabs(serial - static_cast<double>(day));
  auto ticks = static_cast<std::int64_t>(std::floor(fraction * static_cast<double>(ticksADay) + 0.5));
  if (ticks >= ticksADay) {
    // The last instant of the calendar has no next day to round to.
    ticks = day == kLastDay ? ticksADay - 1 : 0;
    if (day != kLastDay) ++day;
  }
  const std::chrono::year_month_day fields{std::chrono::sys_days(std::chrono::days(day - kDayOfEpoch))};
  CalendarTime time;
  time.year = static_cast<int>(fields.year());
  time.month = static_cast<int>(static_cast<unsigned>(fields.month()));
  time.day = static_cast<int>(static_cast<unsigned>(fields.day()));
  const std::int64_t seconds = ticks / ticksASecond;
  time.hour = static_cast<int>(seconds / 3600);
  time.minute = static_cast<int>(seconds / 60 % 60);
  time.second = static_cast<int>(seconds % 60);
  time.nanosecond = static_cast<int>(ticks % ticksASecond * (1'000'000'000 / ticksASecond));
  return time;
}

std::tm LocalNow() {
  const std::time_t now = std::time(nullptr);
  const std::tm* fields = std::localtime(&now);
  return fields != nullptr ? *fields : std::tm{};
}

/// Reads date texts from left to right.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  [[nodiscard]] bool AtEnd() const { return position_ == text_.size(); }
  [[nodiscard]] char Peek() const { return AtEnd() ? '\0' : text_[position_]; }
  void Advance() { ++position_; }
  bool SkipBlanks() {
    const std::size_t start = position_;
    while (Peek() == ' ') ++position_;
    return position_ != start;
  }
  bool Take(char wanted) {
    if (Peek() != wanted || AtEnd()) return false;
    ++position_;
    return true;
  }
  /// A run of 1 to 4 digits; its length is 0 when there is none or it is longer.
  struct Number {
    int value = 0;
    int digits = 0;
  };
  Number TakeNumber() {
    Number number;
    while (Peek() >= '0' && Peek() <= '9') {
      if (++number.digits > 4) return {};
      number.value = number.value * 10 + (text_[position_++] - '0');
    }
    return number;
  }
  [[nodiscard]] std::size_t Mark() const { return position_; }
  void Return(std::size_t mark) { position_ = mark; }

 private:
  std::string_view text_;
  std::size_t position_ = 0;
};

/// "h:mm" or "h:mm:ss" as a fraction of a day.
std::optional<double> ParseTime(Scanner& scanner) {
  const Scanner::Number hour = scanner.TakeNumber();
  if (hour.digits < 1 || hour.digits > 2 || !scanner.Take(':')) return std::nullopt;
  const Scanner::Number minute = scanner.TakeNumber();
  if (minute.digits < 1 || minute.digits > 2) return std::nullopt;
  Scanner::Number second;
  if (scanner.Take(':')) {
    second = scanner.TakeNumber();
    if (second.digits < 1 || second.digits > 2) return std::nullopt;
  }
  if (!IsTimeOfDay(hour.value, minute.value, second.value)) return std::nullopt;
  return static_cast<double>(hour.value * 3600 + minute.value * 60 + second.value) / static_cast<double>(kSecondsADay);
}

int FullYear(Scanner::Number year) {
  if (year.digits > 2) return year.value;
  return year.value < 30 ? 2000 + year.value : 1900 + year.value;
}

/// Three numbers with one separator between them, as a serial day.
std::optional<std::int64_t> ParseDay(Scanner& scanner, bool monthFirst) {
  const Scanner::Number first = scanner.TakeNumber();
  const char separator = scanner.Peek();
  if (first.digits == 0 || (separator != '/' && separator != '-' && separator != '.' && separator != ' ')) return std::nullopt;
  const auto takeSeparator = [&] { return separator == ' ' ? scanner.SkipBlanks() : scanner.Take(separator); };
  if (!takeSeparator()) return std::nullopt;
  const Scanner::Number second = scanner.TakeNumber();
  if (second.digits < 1 || second.digits > 2 || !takeSeparator()) return std::nullopt;
  const Scanner::Number third = scanner.TakeNumber();
  if (third.digits == 0) return std::nullopt;

  const bool yearFirst = first.digits > 2;
  if (yearFirst ? third.digits > 2 : false) return std::nullopt;
  const int year = FullYear(yearFirst ? first : third);
  const int month = yearFirst ? second.value : (monthFirst ? first.value : second.value);
  const int day = yearFirst ? third.value : (monthFirst ? second.value : first.value);
  if (!IsCalendarDay(year, month, day)) return std::nullopt;
  return DayNumber(year, month, day);
}

void AppendPadded(std::string& out, int value, int width) {
  const std::string digits = std::to_string(value);
  out.append(static_cast<std::size_t>(width) > digits.size() ? static_cast<std::size_t>(width) - digits.size() : 0, '0');
  out += digits;
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

char UpperLetter(char letter) { return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 32) : letter; }

/// The length of a run of the letter of a picture at a position, without regard to case.
std::size_t RunLength(std::string_view picture, std::size_t position) {
  std::size_t count = 1;
  while (position + count < picture.size() && UpperLetter(picture[position + count]) == UpperLetter(picture[position])) ++count;
  return count;
}

}  // namespace

Date ToSerial(const CalendarTime& time) {
  const bool valid = IsCalendarDay(time.year, time.month, time.day) && IsTimeOfDay(time.hour, time.minute, time.second) &&
                     time.nanosecond >= 0 && time.nanosecond < 1'000'000'000;
  if (!valid) throw Error(kInvalidArgument);
  const double seconds = time.hour * 3600 + time.minute * 60 + time.second + time.nanosecond / 1e9;
  return {Join(DayNumber(time.year, time.month, time.day), seconds / static_cast<double>(kSecondsADay))};
}

CalendarTime ToCalendar(Date date) { return Split(date.serial, 1); }

CalendarTime ToCalendarWithFraction(Date date) { return Split(date.serial, 1000); }

Date Today() {
  const std::tm now = LocalNow();
  return {static_cast<double>(DayNumber(now.tm_year + 1900, now.tm_mon + 1, now.tm_mday))};
}

Date Now() {
  const std::tm now = LocalNow();
  CalendarTime time{now.tm_year + 1900, now.tm_mon + 1, now.tm_mday, now.tm_hour, now.tm_min, now.tm_sec, 0};
  if (time.second > 59) time.second = 59;  // a leap second
  return ToSerial(time);
}

std::optional<Date> ParseDate(std::string_view text, const RegionalSettings& settings) {
  Scanner scanner(text);
  scanner.SkipBlanks();
  const std::size_t start = scanner.Mark();
  std::int64_t day = 0;
  bool wantsTime = true;
  if (const auto parsed = ParseDay(scanner, settings.MonthFirst())) {
    day = *parsed;
    const bool blank = scanner.SkipBlanks();
    wantsTime = !scanner.AtEnd();
    if (wantsTime && !blank) return std::nullopt;
  } else {
    scanner.Return(start);
  }
  double fraction = 0;
  if (wantsTime) {
    const auto time = ParseTime(scanner);
    if (!time) return std::nullopt;
    fraction = *time;
    scanner.SkipBlanks();
  }
  if (!scanner.AtEnd()) return std::nullopt;
  return Date{Join(day, fraction)};
}

std::string FormatDate(Date date, std::string_view picture, const RegionalSettings& settings) {
  const CalendarTime time = ToCalendar(date);
  if (picture.empty()) return GeneralDate(time, settings);
  std::string out;
  char previousToken = '\0';
  for (std::size_t i = 0; i < picture.size();) {
    const char letter = UpperLetter(picture[i]);
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

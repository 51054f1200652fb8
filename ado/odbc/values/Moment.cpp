#include "ado/odbc/values/Moment.h"

#include <algorithm>
#include <cmath>

#include "base/Calendar.h"
#include "runtime/Dates.h"

namespace tamlo::ado::odbc {
namespace {

constexpr std::int64_t kSecond = 1'000'000;
constexpr std::int64_t kDay = base::kSecondsADay * kSecond;
constexpr double kMicrosecondDays = 65536;  // beyond, the step of a double is more than half a microsecond

/// Reads a text from left to right.
class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}
  [[nodiscard]] bool AtEnd() const { return text_.empty(); }
  bool Take(char wanted) {
    if (text_.empty() || text_.front() != wanted) return false;
    text_.remove_prefix(1);
    return true;
  }
  /// A number of low to high digits; -1 when it has fewer or more.
  std::int64_t Digits(std::size_t low, std::size_t high) {
    std::int64_t number = 0;
    std::size_t count = 0;
    for (; count < text_.size() && text_[count] >= '0' && text_[count] <= '9'; ++count) {
      if (count == high) return -1;
      number = number * 10 + (text_[count] - '0');
    }
    text_.remove_prefix(count);
    return count < low ? -1 : number;
  }
  /// Microseconds of a fraction; -1 for a digit below them.
  std::int64_t Fraction() {
    std::int64_t number = 0;
    std::size_t count = 0;
    for (; !text_.empty() && text_.front() >= '0' && text_.front() <= '9'; ++count, text_.remove_prefix(1)) {
      if (count >= 6 && text_.front() != '0') return -1;
      if (count < 6) number = number * 10 + (text_.front() - '0');
    }
    for (std::size_t i = count; i < 6; ++i) number *= 10;
    return count == 0 ? -1 : number;
  }

 private:
  std::string_view text_;
};

bool IsDay(int year, int month, int day) {
  if (month == 0 || day == 0) return month <= 12 && day <= 31;
  return month <= 12 && day <= base::DaysOfMonth(year, month);
}

std::int64_t DayNumber(const Moment& moment) { return base::DayNumber(moment.year, moment.month, moment.day); }

void SetDay(Moment& moment, std::int64_t number) {
  const base::CivilDay day = base::CivilOf(number);
  moment.year = static_cast<int>(day.year);
  moment.month = day.month;
  moment.day = day.day;
}

bool ReadTime(Reader& reader, Moment& moment, std::size_t hourDigits) {
  const std::int64_t hour = reader.Digits(2, hourDigits);
  if (hour < 0 || !reader.Take(':')) return false;
  const std::int64_t minute = reader.Digits(2, 2);
  if (minute < 0 || minute > 59) return false;
  std::int64_t second = 0;
  std::int64_t fraction = 0;
  if (reader.Take(':')) {
    second = reader.Digits(2, 2);
    if (second < 0 || second > 59) return false;
    if (reader.Take('.')) fraction = reader.Fraction();
    if (fraction < 0) return false;
  }
  moment.microseconds = ((hour * 60 + minute) * 60 + second) * kSecond + fraction;
  moment.hasTime = true;
  return reader.AtEnd();
}

std::int64_t StepOf(std::int16_t digits) {
  std::int64_t step = 1;
  for (int i = std::clamp<int>(digits, 0, 6); i < 6; ++i) step *= 10;
  return step;
}

void RoundTo(Moment& moment, std::int16_t digits) {
  const std::int64_t step = StepOf(digits);
  moment.microseconds = (moment.microseconds + step / 2) / step * step;
  if (!moment.hasDay || moment.microseconds < kDay || moment.month == 0 || moment.day == 0) return;
  if (moment.year == 9999 && moment.month == 12 && moment.day == 31) {
    moment.microseconds = kDay - step;  // the calendar's last instant has none behind it
    return;
  }
  moment.microseconds -= kDay;
  SetDay(moment, DayNumber(moment) + 1);
}

/// Whole microseconds of a Date, and its day.
Moment SplitDate(runtime::Date date) {
  const auto [day, microseconds] = base::SplitSerial(date.serial, kDay, base::HalfTick::kToEven);
  Moment moment;
  moment.hasDay = moment.hasTime = true;
  moment.microseconds = microseconds;
  SetDay(moment, day);
  return moment;
}

}  // namespace

std::optional<Moment> ReadMoment(std::string_view text) {
  Moment moment;
  Reader reader(text);
  const bool isDay = text.size() >= 10 && text[4] == '-' && text[7] == '-';
  if (!isDay) {
    moment.negative = reader.Take('-');
    if (!ReadTime(reader, moment, 3)) return std::nullopt;
    return moment;
  }
  moment.hasDay = true;
  moment.year = static_cast<int>(reader.Digits(4, 4));
  (void)reader.Take('-');
  moment.month = static_cast<int>(reader.Digits(2, 2));
  (void)reader.Take('-');
  moment.day = static_cast<int>(reader.Digits(2, 2));
  if (moment.year < 0 || moment.month < 0 || moment.day < 0 || !IsDay(moment.year, moment.month, moment.day)) return std::nullopt;
  if (reader.AtEnd()) return moment;
  if (!reader.Take(' ') && !reader.Take('T')) return std::nullopt;
  if (!ReadTime(reader, moment, 2) || moment.microseconds >= kDay) return std::nullopt;
  return moment;
}

MomentText::MomentText(Moment moment, std::int16_t digits) {
  RoundTo(moment, digits);
  if (moment.hasDay) {
    Number(moment.year, 4);
    Sign('-');
    Number(moment.month, 2);
    Sign('-');
    Number(moment.day, 2);
  }
  if (!moment.hasTime) return;
  if (moment.hasDay) Sign(' ');
  if (moment.negative) Sign('-');
  const std::int64_t seconds = moment.microseconds / kSecond;
  const std::int64_t hours = seconds / 3600;
  Number(hours, hours > 99 ? 3 : 2);
  Sign(':');
  Number(seconds / 60 % 60, 2);
  Sign(':');
  Number(seconds % 60, 2);
  if (const std::int64_t fraction = moment.microseconds % kSecond; fraction != 0) {
    Sign('.');
    Number(fraction, 6);
    while (text_[length_ - 1] == '0') --length_;
  }
}

void MomentText::Number(std::int64_t value, std::size_t digits) {
  for (std::size_t i = digits; i-- > 0; value /= 10) text_[length_ + i] = static_cast<char>('0' + value % 10);
  length_ += digits;
}

std::optional<runtime::Date> DateOfMoment(const Moment& moment) {
  if (moment.negative || moment.microseconds >= kDay || moment.month == 0 || moment.day == 0 || moment.year < 100) return std::nullopt;
  const double fraction = static_cast<double>(moment.microseconds) / static_cast<double>(kDay);
  if (!moment.hasDay) return runtime::Date{fraction};
  const auto day = static_cast<double>(DayNumber(moment));
  if (std::fabs(day) >= kMicrosecondDays && moment.microseconds % 1000 != 0) return std::nullopt;
  return runtime::Date{base::JoinDayAndTime(day, fraction)};
}

Moment MomentOfDate(runtime::Date date, std::int16_t digits) {
  Moment moment;
  if (digits > 3 && std::fabs(date.serial) < kMicrosecondDays) {
    moment = SplitDate(date);
    RoundTo(moment, digits);
    return moment;
  }
  runtime::CalendarTime time;
  if (digits <= 0) {
    time = runtime::ToCalendar(date);
  } else {
    time = runtime::ToCalendarWithFraction(date);
    if (digits < 3) {
      // Hundredths or tenths: round once, from the date itself, so that 59.96 becomes the next minute.
      const double step = digits == 1 ? 864000.0 : 8640000.0;
      time = runtime::ToCalendarWithFraction(runtime::Date{std::nearbyint(date.serial * step) / step});
    }
  }
  moment.hasDay = moment.hasTime = true;
  moment.year = time.year;
  moment.month = time.month;
  moment.day = time.day;
  moment.microseconds = ((time.hour * 60LL + time.minute) * 60 + time.second) * kSecond + time.nanosecond / 1000;
  return moment;
}

}  // namespace tamlo::ado::odbc

#include "base/Calendar.h"

#include <algorithm>
#include <array>
#include <ctime>

namespace base {

namespace {

constexpr std::int64_t kDayOfEpoch = 25569;  // the number of 1970-01-01

}  // namespace

// The usual arithmetic with years that begin in March.
std::int64_t DayNumber(std::int64_t year, int month, int day) {
  year -= month <= 2;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const std::int64_t yearOfEra = year - era * 400;
  const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468 + kDayOfEpoch;
}

CivilDay CivilOf(std::int64_t dayNumber) {
  const std::int64_t days = dayNumber - kDayOfEpoch + 719468;
  const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const std::int64_t dayOfEra = days - era * 146097;
  const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const std::int64_t shifted = (5 * dayOfYear + 2) / 153;
  CivilDay civil;
  civil.day = static_cast<int>(dayOfYear - (153 * shifted + 2) / 5 + 1);
  civil.month = static_cast<int>(shifted < 10 ? shifted + 3 : shifted - 9);
  civil.year = yearOfEra + era * 400 + (civil.month <= 2 ? 1 : 0);
  return civil;
}

bool IsLeapYear(std::int64_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

int DaysOfMonth(std::int64_t year, int month) {
  static constexpr std::array<int, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[static_cast<std::size_t>(month - 1)];
}

bool IsCivilDay(std::int64_t year, std::int64_t month, std::int64_t day) {
  return year >= 100 && year <= 9999 && month >= 1 && month <= 12 && day >= 1 && day <= DaysOfMonth(year, static_cast<int>(month));
}

double JoinDayAndTime(double day, double time) { return day < 0 ? day - time : day + time; }

double LocalNow() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
#ifdef _WIN32
  localtime_s(&local, &now);
#else
  localtime_r(&now, &local);
#endif
  // A leap second is the last second of its minute.
  const int seconds = local.tm_hour * 3600 + local.tm_min * 60 + std::min(local.tm_sec, 59);
  return JoinDayAndTime(static_cast<double>(DayNumber(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday)),
                        seconds / static_cast<double>(kSecondsADay));
}

}  // namespace base

#include "base/Calendar.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>

namespace base {

namespace {

constexpr std::int64_t kDayOfEpoch = 25569;  // the number of 1970-01-01
constexpr std::int64_t kCycleYears = 400;    // after which the calendar begins anew
constexpr std::int64_t kCycleDays = 146097;

std::int64_t FloorOf(std::int64_t value, std::int64_t unit) { return (value >= 0 ? value : value - unit + 1) / unit; }

/// A year of the library's calendar, which has fewer than an arithmetic with days may pass through: of the cycle that begins in the year 0.
std::chrono::year YearOfCycle(std::int64_t year) {
  return std::chrono::year(static_cast<int>(year - FloorOf(year, kCycleYears) * kCycleYears));
}

}  // namespace

std::int64_t DayNumber(std::int64_t year, int month, int day) {
  const std::chrono::sys_days first(YearOfCycle(year) / std::chrono::month(static_cast<unsigned>(month)) / 1);
  return FloorOf(year, kCycleYears) * kCycleDays + first.time_since_epoch().count() + kDayOfEpoch + day - 1;
}

CivilDay CivilOf(std::int64_t dayNumber) {
  const std::int64_t days = dayNumber - kDayOfEpoch;
  const std::int64_t cycle = FloorOf(days, kCycleDays);
  const std::chrono::year_month_day civil(std::chrono::sys_days(std::chrono::days(days - cycle * kCycleDays)));
  return {static_cast<int>(civil.year()) + cycle * kCycleYears, static_cast<int>(static_cast<unsigned>(civil.month())),
          static_cast<int>(static_cast<unsigned>(civil.day()))};
}

bool IsLeapYear(std::int64_t year) { return YearOfCycle(year).is_leap(); }

int DaysOfMonth(std::int64_t year, int month) {
  const auto last = YearOfCycle(year) / std::chrono::month(static_cast<unsigned>(month)) / std::chrono::last;
  return static_cast<int>(static_cast<unsigned>(last.day()));
}

bool IsCivilDay(std::int64_t year, std::int64_t month, std::int64_t day) {
  return year >= 100 && year <= 9999 && month >= 1 && month <= 12 && day >= 1 && day <= DaysOfMonth(year, static_cast<int>(month));
}

DayAndTicks SplitSerial(double serial, std::int64_t ticksADay, HalfTick half) {
  const double day = std::trunc(serial);
  const double ticks = std::fabs(serial - day) * static_cast<double>(ticksADay);
  const double rounded = half == HalfTick::kUp ? std::round(ticks) : std::nearbyint(ticks);
  DayAndTicks split{static_cast<std::int64_t>(day), static_cast<std::int64_t>(rounded)};
  if (split.ticks < ticksADay) return split;
  return {split.day + 1, 0};
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

double UtcNow() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now).count();
  return static_cast<double>(kDayOfEpoch) + static_cast<double>(seconds) / static_cast<double>(kSecondsADay);
}

}  // namespace base

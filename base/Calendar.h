#pragma once

#include <cstdint>

/// What every room may use: English, the standard library alone, no state.
namespace base {

/// Days are counted from 1899-12-30, which is day 0, in the proleptic Gregorian calendar. A moment ("serial") is a day and the time of
/// day as a fraction of it that counts forward also before day 0: -1.25 is 1899-12-29 06:00.
inline constexpr std::int64_t kFirstDay = -657434;  ///< 0100-01-01
inline constexpr std::int64_t kLastDay = 2958465;   ///< 9999-12-31
inline constexpr std::int64_t kSecondsADay = 86400;

struct CivilDay {
  std::int64_t year = 1899;
  int month = 12;
  int day = 30;

  friend constexpr bool operator==(const CivilDay&, const CivilDay&) = default;
};

/// The number of a day. month is 1 to 12; the day may lie outside of the month and counts on from it. Any year of a calendar's size.
[[nodiscard]] std::int64_t DayNumber(std::int64_t year, int month, int day);
/// The day of a number, the other way round.
[[nodiscard]] CivilDay CivilOf(std::int64_t dayNumber);
[[nodiscard]] bool IsLeapYear(std::int64_t year);
/// month is 1 to 12.
[[nodiscard]] int DaysOfMonth(std::int64_t year, int month);
/// True for a day of the years 100 to 9999.
[[nodiscard]] bool IsCivilDay(std::int64_t year, std::int64_t month, std::int64_t day);

/// A serial as a whole day and the ticks of its time of day, of which a day has ticksADay, rounded to the nearest one; what rounds up to
/// a whole day is the day behind, also behind kLastDay. The serial is finite and of a calendar's size (below 1e8 on either side of 0).
struct DayAndTicks {
  std::int64_t day = 0;
  std::int64_t ticks = 0;
};
enum class HalfTick { kUp, kToEven };
[[nodiscard]] DayAndTicks SplitSerial(double serial, std::int64_t ticksADay, HalfTick half = HalfTick::kUp);
/// A whole day and a time of day (0 to below 1) as one serial.
[[nodiscard]] double JoinDayAndTime(double day, double time);
/// The present moment to the second, in local time and in that of Greenwich.
[[nodiscard]] double LocalNow();
[[nodiscard]] double UtcNow();

}  // namespace base

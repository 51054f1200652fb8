// Dates.
#include "jet/sql/functions/Calendar.h"
#include "jet/sql/functions/Pictures.h"
#include "jet/sql/functions/Support.h"

namespace jet::sql::functions {

namespace {

void Today(Context* context, int, Values) { sqlite3_result_double(context, DayOf(LocalNow())); }
void TimeNow(Context* context, int, Values) { sqlite3_result_double(context, TimeOf(LocalNow())); }
void Now(Context* context, int, Values) { sqlite3_result_double(context, LocalNow()); }
void DatePartOnly(Context* context, int, Values v) { sqlite3_result_double(context, DayOf(DateOf(context, v[0]))); }
void TimePartOnly(Context* context, int, Values v) { sqlite3_result_double(context, TimeOf(DateOf(context, v[0]))); }

template <auto field>
void FieldOfDate(Context* context, int, Values v) {
  sqlite3_result_int64(context, FieldsOf(DateOf(context, v[0])).*field);
}

int FirstDay(Context* context, int count, Values v, int at) {
  const std::int64_t day = count > at ? WholeOf(context, v[at]) : 1;
  if (day < 0 || day > 7) Raise("first day of the week out of range");
  return day == 0 ? 1 : static_cast<int>(day);
}

void WeekdayFunction(Context* context, int count, Values v) {
  sqlite3_result_int(context, Weekday(DateOf(context, v[0]), FirstDay(context, count, v, 1)));
}

void DateAddFunction(Context* context, int, Values v) {
  const std::optional<double> result = DateAdd(TextOf(v[0]), NumberOf(context, v[1]), DateOf(context, v[2]));
  if (!result) Raise("unknown interval or date out of range");
  sqlite3_result_double(context, *result);
}

void DateDiffFunction(Context* context, int count, Values v) {
  const std::optional<double> result = DateDiff(TextOf(v[0]), DateOf(context, v[1]), DateOf(context, v[2]), FirstDay(context, count, v, 3));
  if (!result) Raise("unknown interval");
  sqlite3_result_int64(context, static_cast<std::int64_t>(*result));
}

void DatePartFunction(Context* context, int count, Values v) {
  const std::int64_t week = count > 3 ? WholeOf(context, v[3]) : 1;
  const std::optional<int> result = DatePart(TextOf(v[0]), DateOf(context, v[1]), FirstDay(context, count, v, 2), static_cast<int>(week));
  if (!result) Raise("unknown interval");
  sqlite3_result_int(context, *result);
}

void DateSerial(Context* context, int, Values v) {
  std::int64_t year = WholeOf(context, v[0]);
  if (year >= 0 && year < 100) year += year < 30 ? 2000 : 1900;
  const std::optional<double> serial = SerialOf(year, WholeOf(context, v[1]), WholeOf(context, v[2]));
  if (!serial) Raise("date out of range");
  sqlite3_result_double(context, *serial);
}

void TimeSerial(Context* context, int, Values v) {
  constexpr double kUnits[] = {3600, 60, 1};
  double seconds = 0;
  for (int i = 0; i < 3; ++i) {
    const std::int64_t part = WholeOf(context, v[i]);
    if (part < INT16_MIN || part > INT16_MAX) Raise("overflow");
    seconds += static_cast<double>(part) * kUnits[i];
  }
  sqlite3_result_double(context, seconds / static_cast<double>(base::kSecondsADay));
}

void MonthName(Context* context, int, Values v) {
  const std::int64_t month = WholeOf(context, v[0]);
  if (month < 1 || month > 12) Raise("month out of range");
  ReturnText(context, FormatDatePicture(*SerialOf(2001, month, 1), "mmmm"));
}

void WeekdayName(Context* context, int count, Values v) {
  const std::int64_t day = WholeOf(context, v[0]);
  if (day < 1 || day > 7) Raise("day of the week out of range");
  const bool abbreviated = count > 1 && NumberOf(context, v[1]) != 0;
  constexpr int kSunday = 1;  // the serial 1 is 1899-12-31, a Sunday
  const auto serial = static_cast<double>(kSunday + (day - 1 + FirstDay(context, count, v, 2) - 1) % 7);
  ReturnText(context, FormatDatePicture(serial, abbreviated ? "ddd" : "dddd"));
}

void Timer(Context* context, int, Values) { sqlite3_result_double(context, static_cast<float>(TimeOf(LocalNow()) * base::kSecondsADay)); }

constexpr Entry kFunctions[] = {
    {{" datevalue", "jet_datevalue", 1, 1, F, A}, NullIn<DatePartOnly>},
    {{" timevalue", "jet_timevalue", 1, 1, F, A}, NullIn<TimePartOnly>},
    {{"DATE", "jet_date", 0, 0, F, A}, Guarded<Today>, false},
    {{"TIME", "jet_time", 0, 0, F, A}, Guarded<TimeNow>, false},
    {{"NOW", "jet_now", 0, 0, F, A}, Guarded<Now>, false},
    {{"YEAR", "jet_year", 1, 1, F, ColumnType::kInteger}, NullIn<FieldOfDate<&CalendarFields::year>>},
    {{"MONTH", "jet_month", 1, 1, F, ColumnType::kInteger}, NullIn<FieldOfDate<&CalendarFields::month>>},
    {{"DAY", "jet_day", 1, 1, F, ColumnType::kInteger}, NullIn<FieldOfDate<&CalendarFields::day>>},
    {{"HOUR", "jet_hour", 1, 1, F, ColumnType::kInteger}, NullIn<FieldOfDate<&CalendarFields::hour>>},
    {{"MINUTE", "jet_minute", 1, 1, F, ColumnType::kInteger}, NullIn<FieldOfDate<&CalendarFields::minute>>},
    {{"SECOND", "jet_second", 1, 1, F, ColumnType::kInteger}, NullIn<FieldOfDate<&CalendarFields::second>>},
    {{"WEEKDAY", "jet_weekday", 1, 2, F, ColumnType::kInteger}, NullIn<WeekdayFunction>},
    {{"MONTHNAME", "jet_monthname", 1, 1, F, T}, NullIn<MonthName>},
    {{"WEEKDAYNAME", "jet_weekdayname", 1, 3, F, T}, NullIn<WeekdayName>},
    {{"TIMER", "jet_timer", 0, 0, F, ColumnType::kSingle}, Guarded<Timer>, false},
    {{"DATEADD", "jet_dateadd", 3, 3, F, A}, NullIn<DateAddFunction>},
    {{"DATEDIFF", "jet_datediff", 3, 4, F, L}, NullIn<DateDiffFunction>},
    {{"DATEPART", "jet_datepart", 2, 4, F, ColumnType::kInteger}, NullIn<DatePartFunction>},
    {{"DATESERIAL", "jet_dateserial", 3, 3, F, A}, NullIn<DateSerial>},
    {{"TIMESERIAL", "jet_timeserial", 3, 3, F, A}, NullIn<TimeSerial>},
};

}  // namespace

std::span<const Entry> DateFunctions() { return kFunctions; }

}  // namespace jet::sql::functions

#include "ado/odbc/values/MomentEncoding.h"

#include <optional>
#include <string>
#include <string_view>

#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/values/Moment.h"
#include "ado/odbc/values/TextEncoding.h"
#include "base/Calendar.h"
#include "runtime/Conversions.h"
#include "runtime/Dates.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

using Form = ParameterShape::Form;
using runtime::Error;

/// A day and time out of any value; texts are read as the user writes them.
Moment MomentOf(const Variant& value, std::int16_t digits) {
  if (const auto* text = value.If<std::string>()) {
    if (const auto moment = ReadMoment(*text)) return *moment;
  }
  return MomentOfDate(runtime::ToDate(value), digits);
}

/// Texts that the server itself writes for what no Date holds. It reads them again, and refuses those that mean nothing to it.
bool IsServersOwn(std::string_view text, MomentWords words) {
  if (words != MomentWords::kInfinite) return words == MomentWords::kAny;
  const std::string upper = runtime::UpperCase(text);
  if (upper == "INFINITY" || upper == "-INFINITY") return true;
  const auto digits = upper.find_first_not_of("0123456789");
  return digits != std::string::npos && digits >= 4 && upper[digits] == '-' &&
         upper.find_first_not_of("0123456789-+:. BC") == std::string::npos;
}

void CheckMomentRange(const Moment& moment, const ParameterShape& shape) {
  constexpr std::int64_t kHour = 3600LL * 1000000;
  const std::int64_t end = shape.values.hoursOfTime * kHour;
  if (end != 0 && !moment.hasDay && moment.microseconds >= end) throw Error(runtime::kOverflow);
}

/// What the column keeps of it: a column of days no time, one of times no day.
void KeepPart(Moment& moment, std::int16_t adoType) {
  if (adoType == adDBTime && moment.hasTime) moment.hasDay = false;
  if (adoType == adDBDate && moment.hasDay) moment.hasTime = false;
}

SQL_TIMESTAMP_STRUCT StampOf(const Moment& moment) {
  const std::int64_t seconds = moment.microseconds / 1000000;
  SQL_TIMESTAMP_STRUCT stamp{};
  stamp.year = static_cast<SQLSMALLINT>(moment.year);
  stamp.month = static_cast<SQLUSMALLINT>(moment.month);
  stamp.day = static_cast<SQLUSMALLINT>(moment.day);
  stamp.hour = static_cast<SQLUSMALLINT>(seconds / 3600);
  stamp.minute = static_cast<SQLUSMALLINT>(seconds / 60 % 60);
  stamp.second = static_cast<SQLUSMALLINT>(seconds % 60);
  stamp.fraction = static_cast<SQLUINTEGER>(moment.microseconds % 1000000 * 1000);
  return stamp;
}

}  // namespace

void AppendMoment(const Variant& value, const ParameterShape& shape, std::vector<std::byte>& out) {
  const auto* text = value.If<std::string>();
  auto moment = text ? ReadMoment(*text) : std::nullopt;
  if (text && !moment) {
    if (const auto date = runtime::ParseDate(*text)) moment = MomentOfDate(*date, shape.digits);
  }
  if (text && !moment && IsServersOwn(*text, shape.values.momentWords)) {
    CheckCharacters(*text, shape);
    return AppendText(out, *text, shape);
  }
  if (!moment) moment = MomentOfDate(runtime::ToDate(value), shape.adoType == adDBDate ? std::int16_t{0} : shape.digits);
  // A time alone in a column of days and times stands on day 0.
  if (!moment->hasDay && shape.adoType != adDBTime && !shape.values.keepsAnyValue) {
    if (moment->negative || moment->microseconds >= base::kSecondsADay * 1000000) throw Error(runtime::kTypeMismatch);
    moment->hasDay = true;
  }
  KeepPart(*moment, shape.adoType);
  CheckMomentRange(*moment, shape);
  AppendText(out, MomentText(*moment, shape.digits).Text(), shape);
}

void AppendMomentStructure(const Variant& value, const ParameterShape& shape, std::vector<std::byte>& out) {
  const Moment moment = MomentOf(value, shape.digits);
  const std::int64_t seconds = moment.microseconds / 1000000;
  // What a structure has no room for.
  if (moment.negative || seconds >= base::kSecondsADay || moment.month == 0 || moment.day == 0) throw Error(runtime::kTypeMismatch);
  if (shape.form == Form::kDate) {
    Append(out, SQL_DATE_STRUCT{static_cast<SQLSMALLINT>(moment.year), static_cast<SQLUSMALLINT>(moment.month),
                                static_cast<SQLUSMALLINT>(moment.day)});
  } else if (shape.form == Form::kTime) {
    Append(out, SQL_TIME_STRUCT{static_cast<SQLUSMALLINT>(seconds / 3600), static_cast<SQLUSMALLINT>(seconds / 60 % 60),
                                static_cast<SQLUSMALLINT>(seconds % 60)});
  } else {
    Append(out, StampOf(moment));
  }
}

}  // namespace tamlo::ado::odbc

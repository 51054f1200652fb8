// From one type to another, and FORMAT.
#include <charconv>
#include <cmath>

#include "base/Numbers.h"
#include "jet/sql/Names.h"
#include "jet/sql/functions/Pictures.h"
#include "jet/sql/functions/Support.h"

namespace jet::sql::functions {

namespace {

void SingleToText(Context* context, int, Values v) {
  // Rounded to the digits of its type, then written as any other number: "15000000000", not "1.5E+10".
  const double number = NumberOf(context, v[0]);
  const double rounded = base::ReadReal(base::SignificantText(number, 7)).value_or(number);
  ReturnText(context, NumberText(rounded, SettingsOf(context).decimalPoint));
}
void ToText(Context* context, int, Values v) { ReturnText(context, AnyText(context, v[0])); }
void DateToText(Context* context, int, Values v) { ReturnText(context, DateText(context, DateOf(context, v[0]))); }
void ToDate(Context* context, int, Values v) { sqlite3_result_double(context, DateOf(context, v[0])); }
void ToDouble(Context* context, int, Values v) { sqlite3_result_double(context, NumberOf(context, v[0])); }
void ToSingle(Context* context, int, Values v) { sqlite3_result_double(context, static_cast<float>(NumberOf(context, v[0]))); }
void ToCurrency(Context* context, int, Values v) {
  sqlite3_result_double(context, std::nearbyint(NumberOf(context, v[0]) * 10000) / 10000);
}

template <std::int64_t low, std::int64_t high>
void ToWhole(Context* context, int, Values v) {
  const std::int64_t whole = WholeOf(context, v[0]);
  if (whole < low || whole > high) Raise("overflow");
  sqlite3_result_int64(context, whole);
}

void IsDateFunction(Context* context, int, Values v) {
  const bool isDate =
      !IsNull(v[0]) && (TextOf(v[1]) == "d" || (sqlite3_value_type(v[0]) == SQLITE_TEXT && DateFromText(context, TextOf(v[0]))));
  sqlite3_result_int(context, isDate ? 1 : 0);
}

void IsNumericFunction(Context* context, int, Values v) {
  const int type = sqlite3_value_type(v[0]);
  const bool numeric = type == SQLITE_INTEGER || type == SQLITE_FLOAT ||
                       (type == SQLITE_TEXT && base::ReadWrittenReal(TextOf(v[0]), SettingsOf(context).decimalPoint));
  sqlite3_result_int(context, numeric && TextOf(v[1]) != "d" ? 1 : 0);
}

void Val(Context* context, int, Values v) {
  std::string text;
  for (const char c : TextOf(v[0])) {
    if (c != ' ' && c != '\t' && c != '\n' && c != '\r') text += c;
  }
  const char* begin = text.data();
  if (!text.empty() && text[0] == '+') ++begin;
  double value = 0;
  const auto [end, problem] = std::from_chars(begin, text.data() + text.size(), value);
  if (problem != std::errc() || !std::isfinite(value)) value = 0;
  sqlite3_result_double(context, value);
}

void Str(Context* context, int, Values v) {
  const double value = NumberOf(context, v[0]);
  ReturnText(context, (value < 0 ? "" : " ") + NumberText(value, '.'));
}

void Format(Context* context, int, Values v) {
  if (IsNull(v[0])) return;
  const std::string picture = IsNull(v[1]) ? std::string() : std::string(TextOf(v[1]));
  const std::string_view kind = TextOf(v[2]);
  const char point = SettingsOf(context).decimalPoint;
  if (kind == "d") {
    if (picture.empty()) return ReturnText(context, DateText(context, DateOf(context, v[0])));
    return ReturnText(context, FormatDatePicture(DateOf(context, v[0]), picture));
  }
  if (sqlite3_value_type(v[0]) == SQLITE_TEXT) {
    const bool forNumbers = picture.find_first_of("0#") != std::string::npos;
    const bool forDates = picture.find_first_of("dmyhDMYH") != std::string::npos;
    if (forNumbers && base::ReadWrittenReal(TextOf(v[0]), point))
      return ReturnText(context, FormatNumber(NumberOf(context, v[0]), picture, point));
    if (forDates && !forNumbers) {
      if (const auto serial = DateFromText(context, TextOf(v[0]))) return ReturnText(context, FormatDatePicture(*serial, picture));
    }
    return ReturnText(context, FormatText(TextOf(v[0]), picture));
  }
  const bool forDates = picture.find_first_of("0#%") == std::string::npos && picture.find_first_of("dmyhnsDMYHNS") != std::string::npos;
  bool named = false;
  for (const char* name : {"general number", "currency", "fixed", "standard", "percent", "yes/no", "true/false", "on/off"}) {
    named = named || LowerCase(picture) == name;
  }
  if (forDates && !named) return ReturnText(context, FormatDatePicture(DateOf(context, v[0]), picture));
  ReturnText(context, FormatNumber(NumberOf(context, v[0]), picture, point));
}

constexpr Entry kFunctions[] = {
    {{" text", "jet_text", 1, 1, F, T}, NullIn<ToText>},
    {{" singletext", "jet_singletext", 1, 1, F, T}, NullIn<SingleToText>},
    {{" datetext", "jet_datetext", 1, 1, F, T}, NullIn<DateToText>},
    {{" cdate", "jet_cdate", 1, 1, F, A}, NullIn<ToDate>},
    {{" isdate", "jet_isdate", 2, 2, F, L}, Guarded<IsDateFunction>},
    {{" isnumeric", "jet_isnumeric", 2, 2, F, L}, Guarded<IsNumericFunction>},
    {{" format", "jet_format", 3, 3, F, T}, Guarded<Format>},
    {{"CLNG", "jet_clng", 1, 1, F, L}, NullIn<ToWhole<INT32_MIN, INT32_MAX>>},
    {{"CINT", "jet_cint", 1, 1, F, ColumnType::kInteger}, NullIn<ToWhole<INT16_MIN, INT16_MAX>>},
    {{"CBYTE", "jet_cbyte", 1, 1, F, ColumnType::kByte}, NullIn<ToWhole<0, 255>>},
    {{"CDBL", "jet_cdbl", 1, 1, F, D}, NullIn<ToDouble>},
    {{"CSNG", "jet_csng", 1, 1, F, ColumnType::kSingle}, NullIn<ToSingle>},
    {{"CCUR", "jet_ccur", 1, 1, F, ColumnType::kCurrency}, NullIn<ToCurrency>},
    {{"VAL", "jet_val", 1, 1, F, D}, NullIn<Val>},
    {{"STR", "jet_str", 1, 1, F, T}, NullIn<Str>},
};

}  // namespace

std::span<const Entry> ConversionFunctions() { return kFunctions; }

}  // namespace jet::sql::functions

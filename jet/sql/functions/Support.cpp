#include "jet/sql/functions/Support.h"

#include <cmath>

#include "base/DateText.h"
#include "base/Numbers.h"
#include "jet/sql/functions/Calendar.h"

namespace jet::sql::functions {

const TextSettings& SettingsOf(Context* context) { return *static_cast<const TextSettings*>(sqlite3_user_data(context)); }

std::string_view TextOf(sqlite3_value* value) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
  return text == nullptr ? std::string_view() : std::string_view(text, static_cast<std::size_t>(sqlite3_value_bytes(value)));
}

void ReturnText(Context* context, std::string_view text) {
  sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void Raise(const std::string& text) { throw FunctionError{text}; }

double NumberOf(Context* context, sqlite3_value* value) {
  if (sqlite3_value_type(value) == SQLITE_INTEGER || sqlite3_value_type(value) == SQLITE_FLOAT) return sqlite3_value_double(value);
  const std::optional<double> number = base::ReadWrittenReal(TextOf(value), SettingsOf(context).decimalPoint);
  if (!number) Raise("type mismatch: \"" + std::string(TextOf(value)) + "\" is not a number");
  return *number;
}

std::int64_t WholeOf(Context* context, sqlite3_value* value) {
  const double number = NumberOf(context, value);
  if (!(std::fabs(number) < 9e18)) Raise("overflow");
  return static_cast<std::int64_t>(std::nearbyint(number));  // halves to the even neighbour
}

std::optional<double> DateFromText(Context* context, std::string_view text) {
  const TextSettings& settings = SettingsOf(context);
  return settings.parseDate ? settings.parseDate(text) : base::ReadDateText(text, base::DateOrder::kDayFirst);
}

double DateOf(Context* context, sqlite3_value* value) {
  double serial = 0;
  if (sqlite3_value_type(value) == SQLITE_TEXT) {
    const std::optional<double> read = DateFromText(context, TextOf(value));
    if (!read) Raise("type mismatch: \"" + std::string(TextOf(value)) + "\" is not a date");
    serial = *read;
  } else {
    serial = sqlite3_value_double(value);
  }
  if (!(serial > base::kFirstDay - 1 && serial < base::kLastDay + 1)) Raise("date out of range");
  return serial;
}

std::string DateText(Context* context, double serial) {
  const TextSettings& settings = SettingsOf(context);
  return settings.formatDate ? settings.formatDate(serial) : GeneralDate(serial);
}

std::string NumberText(double value, char decimalPoint) {
  std::string text = base::SignificantText(value, 15);
  for (char& c : text) c = c == '.' ? decimalPoint : c == 'e' ? 'E' : c;
  return text;
}

std::string AnyText(Context* context, sqlite3_value* value) {
  if (sqlite3_value_type(value) == SQLITE_FLOAT) return NumberText(sqlite3_value_double(value), SettingsOf(context).decimalPoint);
  return std::string(TextOf(value));
}

}  // namespace jet::sql::functions

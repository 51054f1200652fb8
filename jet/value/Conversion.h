#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "jet/value/Value.h"

namespace jet {

/// How texts are read and written under the settings of somebody.
struct TextSettings {
  /// Reads a date text; nothing when it is none. Unset: base::ReadDateText, day first.
  std::function<std::optional<double>(std::string_view)> parseDate;
  /// Writes a date in the general form. Unset: the engine writes yyyy-mm-dd hh:nn:ss, statements dd/mm/yyyy, with hh:nn:ss when there is a time.
  std::function<std::string(double)> formatDate;
  char decimalPoint = '.';  ///< read beside ".", and written
};

/// The number that a text is as a whole, blanks around it passed over: digits with or without a sign, a point and an exponent. Nothing for
/// anything else and for one that no double can hold.
[[nodiscard]] std::optional<double> ReadNumber(std::string_view text, char decimalPoint = '.');

/// What a text says to a column of the type: a date, a truth value (also its French and English words), a GUID, a number: exact (Numeric)
/// where the column is exact and the text has no exponent, else a Double. Nothing when it says no such thing, or the type reads no texts.
[[nodiscard]] std::optional<Value> ReadAs(ColumnType type, const std::string& text, const TextSettings& settings);

/// The value as a text column takes it: truth values as -1 and 0, Singles with 7 digits and Doubles with 15, amounts without trailing
/// zeros. The text itself for a text; nothing for null and bytes.
[[nodiscard]] std::optional<std::string> WriteAsText(const Value& value, const TextSettings& settings);

/// Any number, date, truth value (-1 or 0) or text that reads as a number as a double; none for null and everything else.
[[nodiscard]] std::optional<double> AsReal(const Value& value);

}  // namespace jet

#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <exception>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "jet/sql/functions/Functions.h"

/// What the functions share: their arguments as values of Access, their results, their errors, and the rows of the table that names them.
namespace jet::sql::functions {

using Context = sqlite3_context;
using Values = sqlite3_value**;

// The longest text that a statement makes; longer ones are an error, not a machine without memory.
constexpr std::size_t kLongestText = std::size_t{1} << 28;

// Raised inside a function; becomes SQLite's error at its border, and jet::Error again in the session.
struct FunctionError {
  std::string text;
};
[[noreturn]] void Raise(const std::string& text);

[[nodiscard]] const TextSettings& SettingsOf(Context* context);
[[nodiscard]] inline bool IsNull(sqlite3_value* value) { return sqlite3_value_type(value) == SQLITE_NULL; }
/// The text of an argument; empty for a null.
[[nodiscard]] std::string_view TextOf(sqlite3_value* value);
/// The same, of any value.
[[nodiscard]] std::string AnyText(Context* context, sqlite3_value* value);
/// Raises for what is no number, or too large; halves go to the even neighbour.
[[nodiscard]] double NumberOf(Context* context, sqlite3_value* value);
[[nodiscard]] std::int64_t WholeOf(Context* context, sqlite3_value* value);
[[nodiscard]] std::optional<double> DateFromText(Context* context, std::string_view text);
/// Raises for what is no date.
[[nodiscard]] double DateOf(Context* context, sqlite3_value* value);
[[nodiscard]] std::string DateText(Context* context, double serial);
[[nodiscard]] std::string NumberText(double value, char decimalPoint);
void ReturnText(Context* context, std::string_view text);

using Body = void (*)(Context*, int, Values);

// No exception crosses into SQLite.
template <Body body>
void Guarded(Context* context, int count, Values values) {
  try {
    body(context, count, values);
  } catch (const FunctionError& error) {
    sqlite3_result_error(context, error.text.c_str(), -1);
    sqlite3_result_error_code(context, SQLITE_MISMATCH);
    sqlite3_result_error(context, error.text.c_str(), -1);
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
  } catch (const std::exception& error) {
    sqlite3_result_error(context, error.what(), -1);
  }
}

// The same for functions that are null as soon as an argument is.
template <Body body>
void NullIn(Context* context, int count, Values values) {
  for (int i = 0; i < count; ++i) {
    if (IsNull(values[i])) return;
  }
  Guarded<body>(context, count, values);
}

using Native = void (*)(Context*, int, Values);

/// A function with what makes it. A name that begins with a blank cannot be written in a statement: the binder alone uses it.
struct Entry {
  FunctionInfo info;
  Native native;
  bool steady = true;  ///< same arguments, same result
};

[[nodiscard]] std::span<const Entry> OperatorFunctions();
[[nodiscard]] std::span<const Entry> ConversionFunctions();
[[nodiscard]] std::span<const Entry> TextFunctions();
[[nodiscard]] std::span<const Entry> NumberFunctions();
[[nodiscard]] std::span<const Entry> DateFunctions();
/// The functions of many rows go straight to the connection.
void RegisterAggregates(sqlite3* connection, void* data);

// Short, for the rows of the tables.
constexpr ColumnType T = ColumnType::kText;
constexpr ColumnType L = ColumnType::kLong;
constexpr ColumnType D = ColumnType::kDouble;
constexpr ColumnType A = ColumnType::kDate;
constexpr ResultRule F = ResultRule::kFixed;
constexpr ResultRule S = ResultRule::kSameAsFirst;

}  // namespace jet::sql::functions

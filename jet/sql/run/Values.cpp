// Values of the engine as SQLite's and back.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "base/Numbers.h"
#include "jet/sql/run/SessionState.h"

namespace jet::sql {

namespace {

void ReturnText(sqlite3_context* context, std::string_view text) {
  sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void ReturnBytes(sqlite3_context* context, const void* data, std::size_t size) {
  if (size == 0) return sqlite3_result_zeroblob(context, 0);
  sqlite3_result_blob64(context, data, size, SQLITE_TRANSIENT);
}

}  // namespace

void ReturnValue(sqlite3_context* context, const Value& value) {
  switch (value.Type()) {
    case ValueType::kNull:
      return sqlite3_result_null(context);
    case ValueType::kBool:
      return sqlite3_result_int(context, value.AsBool() ? -1 : 0);
    case ValueType::kByte:
      return sqlite3_result_int(context, value.AsByte());
    case ValueType::kInteger:
      return sqlite3_result_int(context, value.AsInteger());
    case ValueType::kLong:
      return sqlite3_result_int(context, value.AsLong());
    case ValueType::kCurrency:
      return sqlite3_result_double(context, static_cast<double>(value.AsCurrency().scaled) / 10000);
    case ValueType::kSingle:
      return sqlite3_result_double(context, value.AsSingle());
    case ValueType::kDouble:
      return sqlite3_result_double(context, value.AsDouble());
    case ValueType::kDate:
      return sqlite3_result_double(context, value.AsDate().serial);
    case ValueType::kText:
      return ReturnText(context, value.AsText());
    case ValueType::kBytes:
      return ReturnBytes(context, value.AsBytes().data(), value.AsBytes().size());
    case ValueType::kGuid:
      return ReturnText(context, value.AsGuid().Text());
    case ValueType::kNumeric:
      return sqlite3_result_double(context, value.AsNumeric().ToDouble());
  }
}

void Bind(sqlite3_stmt* statement, const std::vector<Value>& values) {
  const int count = std::min(sqlite3_bind_parameter_count(statement), static_cast<int>(values.size()));
  for (int i = 1; i <= count; ++i) {
    const Value& value = values[static_cast<std::size_t>(i) - 1];
    switch (value.Type()) {
      case ValueType::kNull:
        sqlite3_bind_null(statement, i);
        break;
      case ValueType::kBool:
        sqlite3_bind_int(statement, i, value.AsBool() ? -1 : 0);
        break;
      case ValueType::kByte:
        sqlite3_bind_int(statement, i, value.AsByte());
        break;
      case ValueType::kInteger:
        sqlite3_bind_int(statement, i, value.AsInteger());
        break;
      case ValueType::kLong:
        sqlite3_bind_int(statement, i, value.AsLong());
        break;
      case ValueType::kCurrency:
        sqlite3_bind_double(statement, i, static_cast<double>(value.AsCurrency().scaled) / 10000);
        break;
      case ValueType::kSingle:
        sqlite3_bind_double(statement, i, value.AsSingle());
        break;
      case ValueType::kDouble:
        sqlite3_bind_double(statement, i, value.AsDouble());
        break;
      case ValueType::kDate:
        sqlite3_bind_double(statement, i, value.AsDate().serial);
        break;
      case ValueType::kText:
        sqlite3_bind_text64(statement, i, value.AsText().data(), value.AsText().size(), SQLITE_STATIC, SQLITE_UTF8);
        break;
      case ValueType::kBytes:
        if (value.AsBytes().empty())
          sqlite3_bind_zeroblob(statement, i, 0);
        else
          sqlite3_bind_blob64(statement, i, value.AsBytes().data(), value.AsBytes().size(), SQLITE_STATIC);
        break;
      case ValueType::kGuid: {
        const std::string text = value.AsGuid().Text();
        sqlite3_bind_text64(statement, i, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
        break;
      }
      case ValueType::kNumeric:
        sqlite3_bind_double(statement, i, value.AsNumeric().ToDouble());
        break;
    }
  }
}

void ReturnColumn(sqlite3_context* context, Row& row, std::size_t column, ColumnType type) {
  if (row.IsNull(column)) return sqlite3_result_null(context);
  switch (type) {
    case ColumnType::kBoolean:
      return sqlite3_result_int(context, row.Bool(column) ? -1 : 0);
    case ColumnType::kByte:
    case ColumnType::kInteger:
    case ColumnType::kLong:
      return sqlite3_result_int64(context, row.Integer(column));
    case ColumnType::kCurrency:
      return sqlite3_result_double(context, static_cast<double>(row.Integer(column)) / 10000);
    case ColumnType::kSingle:
    case ColumnType::kDouble:
    case ColumnType::kDate:
      return sqlite3_result_double(context, row.Real(column));
    case ColumnType::kText:
    case ColumnType::kMemo:
      return ReturnText(context, row.Text(column));
    case ColumnType::kGuid:
    case ColumnType::kNumeric:
      return ReturnValue(context, row.Get(column));
    default: {
      const auto bytes = row.Blob(column);
      return ReturnBytes(context, bytes.data(), bytes.size());
    }
  }
}

namespace {

std::string_view TextOf(sqlite3_stmt* statement, int column) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
  return text == nullptr ? std::string_view() : std::string_view(text, static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
}

Value AsItComes(sqlite3_stmt* statement, int column) {
  switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER: {
      const sqlite3_int64 whole = sqlite3_column_int64(statement, column);
      if (whole >= INT32_MIN && whole <= INT32_MAX) return Value(static_cast<std::int32_t>(whole));
      return Value(static_cast<double>(whole));
    }
    case SQLITE_FLOAT:
      return Value(sqlite3_column_double(statement, column));
    case SQLITE_TEXT:
      return Value(TextOf(statement, column));
    case SQLITE_BLOB: {
      const auto* bytes = static_cast<const std::byte*>(sqlite3_column_blob(statement, column));
      return Value(Bytes(bytes, bytes + sqlite3_column_bytes(statement, column)));
    }
    default:
      return {};
  }
}

[[noreturn]] void Overflow(const char* what) {
  throw Error(ErrorCode::kTypeMismatch, std::string("overflow: the value does not fit a ") + what);
}

}  // namespace

Value ValueFrom(sqlite3_stmt* statement, int column, const TypeInfo& type) {
  const int kind = sqlite3_column_type(statement, column);
  if (kind == SQLITE_NULL) return {};
  const bool isNumber = kind == SQLITE_INTEGER || kind == SQLITE_FLOAT;
  const double number = isNumber ? sqlite3_column_double(statement, column) : 0;
  switch (type.type) {
    case ColumnType::kText:
    case ColumnType::kMemo:
      return Value(TextOf(statement, column));
    case ColumnType::kGuid: {
      const std::optional<Guid> guid = kind == SQLITE_TEXT ? Guid::Parse(TextOf(statement, column)) : std::nullopt;
      return guid ? Value(*guid) : AsItComes(statement, column);
    }
    default:
      break;
  }
  if (!isNumber) return AsItComes(statement, column);
  switch (type.type) {
    case ColumnType::kBoolean:
      return Value(number != 0);
    case ColumnType::kByte:
      if (number < 0 || number > 255) Overflow("byte");
      return Value(static_cast<std::uint8_t>(std::nearbyint(number)));
    case ColumnType::kInteger:
      if (number < INT16_MIN || number > INT16_MAX) Overflow("16-bit integer");
      return Value(static_cast<std::int16_t>(std::nearbyint(number)));
    case ColumnType::kLong:
      if (number < INT32_MIN || number > INT32_MAX) Overflow("32-bit integer");
      return Value(static_cast<std::int32_t>(std::nearbyint(number)));
    case ColumnType::kCurrency:
      if (std::fabs(number) > 9.2e14) Overflow("currency");
      return Value(Currency{static_cast<std::int64_t>(std::llround(number * 10000))});
    case ColumnType::kSingle:
      return Value(static_cast<float>(number));
    case ColumnType::kDouble:
      return Value(number);
    case ColumnType::kDate:
      return Value(Date{number});
    case ColumnType::kNumeric: {
      const std::optional<Numeric> numeric = Numeric::Parse(base::FixedText(number, type.scale));
      return numeric ? Value(*numeric) : Value(number);
    }
    default:
      return AsItComes(statement, column);
  }
}

}  // namespace jet::sql

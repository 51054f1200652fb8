#include "jet/table/Convert.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <optional>

#include "base/Calendar.h"
#include "base/Numbers.h"
#include "jet/table/AceValue.h"
#include "jet/value/Conversion.h"
#include "jet/value/Error.h"
#include "jet/value/Text.h"

namespace jet {
namespace {

using Column = TableDefinition::Column;

// The hours of the first and of the last day belong to them, and those of a negative date count away from zero: both ends are excluded.
constexpr double kFirstDate = base::kFirstDay - 1;
constexpr double kLastDate = base::kLastDay + 1;

/// Texts as the engine reads and writes them where no user has settings.
const TextSettings& EngineTexts() {
  static const TextSettings settings;
  return settings;
}

[[noreturn]] void Mismatch(const Value& value, const Column& column) {
  throw Error(ErrorCode::kTypeMismatch, "The value " + value.Describe() + " does not suit the column \"" + column.name + "\"");
}

[[noreturn]] void TooLong(const Column& column) {
  throw Error(ErrorCode::kValueTooLong, "The value is too long for the column \"" + column.name + "\"");
}

Numeric FromInteger(std::int64_t value, std::uint8_t scale) {
  return {0, value < 0 ? ~static_cast<std::uint64_t>(value) + 1 : static_cast<std::uint64_t>(value), scale, value < 0};
}

/// A value as an exact decimal where there is one.
std::optional<Numeric> AsDecimal(const Value& value) {
  switch (value.Type()) {
    case ValueType::kBool:
      return FromInteger(value.AsBool() ? -1 : 0, 0);
    case ValueType::kByte:
      return FromInteger(value.AsByte(), 0);
    case ValueType::kInteger:
      return FromInteger(value.AsInteger(), 0);
    case ValueType::kLong:
      return FromInteger(value.AsLong(), 0);
    case ValueType::kCurrency:
      return FromInteger(value.AsCurrency().scaled, 4);
    case ValueType::kNumeric:
      return value.AsNumeric();
    default:
      break;
  }
  const auto real = AsReal(value);
  if (!real || !std::isfinite(*real) || std::fabs(*real) >= 1e29) return std::nullopt;
  std::string text = base::SignificantText(*real, 15);
  if (text.find('e') != std::string::npos) text = base::FixedText(*real, std::fabs(*real) < 1 ? 28 : 0);
  return Numeric::Parse(text);
}

// ----- a value as one of a type; nothing when it does not suit

std::optional<Value> ToBool(const Value& value) {
  const auto real = AsReal(value);
  if (!real) return std::nullopt;
  return Value(*real != 0);
}

/// Halves are rounded to even.
template <typename Integer>
std::optional<Value> ToInteger(const Value& value) {
  const auto real = AsReal(value);
  if (!real || !std::isfinite(*real)) return std::nullopt;
  const double rounded = std::nearbyint(*real);
  if (rounded < static_cast<double>(std::numeric_limits<Integer>::min()) ||
      rounded > static_cast<double>(std::numeric_limits<Integer>::max()))
    return std::nullopt;
  return Value(static_cast<Integer>(rounded));
}

std::optional<Value> ToAmount(const Value& value) {
  // A binary fraction is rounded to even in the last place, a decimal as a decimal.
  if (value.Type() == ValueType::kSingle || value.Type() == ValueType::kDouble || value.Type() == ValueType::kDate) {
    const double scaled = std::nearbyint(*AsReal(value) * 10000);
    constexpr double kEnd = 9223372036854775808.0;
    if (!(scaled >= -kEnd && scaled < kEnd)) return std::nullopt;
    return Value(Currency{static_cast<std::int64_t>(scaled)});
  }
  const auto decimal = AsDecimal(value);
  const auto scaled = decimal ? decimal->WithScale(4) : std::nullopt;
  if (!scaled || scaled->high != 0) return std::nullopt;
  const std::uint64_t most = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) + (scaled->negative ? 1 : 0);
  if (scaled->low > most) return std::nullopt;
  return Value(Currency{static_cast<std::int64_t>(scaled->negative ? 0 - scaled->low : scaled->low)});
}

std::optional<Value> ToSingle(const Value& value) {
  const auto real = AsReal(value);
  if (!real || (std::isfinite(*real) && std::fabs(*real) > static_cast<double>(std::numeric_limits<float>::max()))) return std::nullopt;
  return Value(*real == 0 ? 0.0F : static_cast<float>(*real));
}

std::optional<Value> ToDouble(const Value& value) {
  const auto real = AsReal(value);
  if (!real) return std::nullopt;
  return Value(*real == 0 ? 0.0 : *real);  // minus zero would not be found by its equal
}

std::optional<Value> ToDate(const Value& value) {
  const auto serial = AsReal(value);
  if (!serial || !(*serial > kFirstDate && *serial < kLastDate)) return std::nullopt;
  return Value(Date{*serial == 0 ? 0.0 : *serial});
}

std::optional<Value> ToNumeric(const Value& value, const Column& column) {
  const auto decimal = AsDecimal(value);
  const auto scaled = decimal ? decimal->WithScale(column.sort[1]) : std::nullopt;
  if (!scaled || (column.sort[0] != 0 && scaled->Digits() > column.sort[0])) return std::nullopt;
  return Value(*scaled);
}

std::optional<Value> ToText(const Value& value) {
  auto text = WriteAsText(value, EngineTexts());
  if (!text) return std::nullopt;
  return Value(std::move(*text));
}

std::optional<Value> ToGuid(const Value& value) {
  if (value.Type() == ValueType::kGuid) return value;
  if (value.Type() != ValueType::kBytes || value.AsBytes().size() != sizeof(Guid::bytes)) return std::nullopt;
  Guid guid;
  std::memcpy(guid.bytes.data(), value.AsBytes().data(), guid.bytes.size());
  return Value(guid);
}

std::optional<Value> ToBytes(const Value& value) {
  if (value.Type() != ValueType::kGuid) return std::nullopt;
  const auto bytes = std::as_bytes(std::span(value.AsGuid().bytes));
  return Value(Bytes(bytes.begin(), bytes.end()));
}

std::optional<Value> ToTypeOf(const Column& column, const Value& value) {
  switch (column.type) {
    case ColumnType::kBoolean:
      return ToBool(value);
    case ColumnType::kByte:
      return ToInteger<std::uint8_t>(value);
    case ColumnType::kInteger:
      return ToInteger<std::int16_t>(value);
    case ColumnType::kLong:
      return ToInteger<std::int32_t>(value);
    case ColumnType::kCurrency:
      return ToAmount(value);
    case ColumnType::kSingle:
      return ToSingle(value);
    case ColumnType::kDouble:
      return ToDouble(value);
    case ColumnType::kDate:
      return ToDate(value);
    case ColumnType::kNumeric:
      return ToNumeric(value, column);
    case ColumnType::kText:
    case ColumnType::kMemo:
      return ToText(value);
    case ColumnType::kGuid:
      return ToGuid(value);
    case ColumnType::kBinary:
    case ColumnType::kOle:
    case ColumnType::kInternal:
      return ToBytes(value);
    default:
      throw Error(ErrorCode::kUnsupported, "The column \"" + column.name + "\" is of a type that is not known");
  }
}

Value Converted(const Value& value, const Column& column) {
  // A text that says nothing else to a date may be its serial: it goes on as it is.
  const auto read = value.Type() == ValueType::kText ? ReadAs(column.type, value.AsText(), EngineTexts()) : std::nullopt;
  auto converted = ToTypeOf(column, read ? *read : value);
  if (!converted) Mismatch(value, column);
  return std::move(*converted);
}

/// True when the value can be stored as it is, but for its length.
bool Suits(const Value& value, const Column& column) {
  switch (column.type) {
    case ColumnType::kBoolean:
      return value.Type() == ValueType::kBool;
    case ColumnType::kByte:
      return value.Type() == ValueType::kByte;
    case ColumnType::kInteger:
      return value.Type() == ValueType::kInteger;
    case ColumnType::kLong:
      return value.Type() == ValueType::kLong;
    case ColumnType::kCurrency:
      return value.Type() == ValueType::kCurrency;
    case ColumnType::kText:
    case ColumnType::kMemo:
      return value.Type() == ValueType::kText;
    case ColumnType::kBinary:
    case ColumnType::kOle:
    case ColumnType::kInternal:
      return value.Type() == ValueType::kBytes;
    case ColumnType::kGuid:
      return value.Type() == ValueType::kGuid;
    default:
      return false;
  }
}

void CheckLength(const Value& value, const Column& column) {
  if (column.type == ColumnType::kText) {
    const auto& text = value.AsText();
    if (text.size() > column.Letters() && CountUtf16(text) > column.Letters()) TooLong(column);
  } else if (column.type == ColumnType::kBinary || column.type == ColumnType::kInternal) {
    if (value.AsBytes().size() > column.length) TooLong(column);
  }
}

}  // namespace

const Value& ConvertToColumn(const Value& value, const Column& column, Value& scratch) {
  if (IsAceValue(column)) return ConvertToAce(value, column, scratch);
  if (Suits(value, column)) {
    CheckLength(value, column);
    if (!column.IsFixed() || value.Type() != ValueType::kBytes || value.AsBytes().size() == column.length) return value;
    Bytes padded = value.AsBytes();  // as it reads back, so that keys agree
    padded.resize(column.length);
    scratch = Value(std::move(padded));
    return scratch;
  }
  scratch = Converted(value, column);
  CheckLength(scratch, column);
  return scratch;
}

const Value& ConvertForSearch(const Value& value, const Column& column, Value& scratch) {
  if (IsAceValue(column)) return ConvertToAce(value, column, scratch);
  if (Suits(value, column)) return value;
  if (column.IsText() && value.Type() != ValueType::kBytes) {
    scratch = Converted(value, column);
    return scratch;
  }
  const Value& converted = ConvertToColumn(value, column, scratch);
  const auto before = AsReal(value);
  const auto after = AsReal(converted);
  if (before && after && column.type != ColumnType::kBoolean && *before != *after) Mismatch(value, column);
  return converted;
}

}  // namespace jet

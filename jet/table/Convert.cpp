#include "jet/table/Convert.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>

#include "base/DateText.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"
#include "jet/value/Text.h"

namespace jet {
namespace {

using Column = TableDefinition::Column;

// The time of day of a negative date counts away from zero: both ends are excluded.
constexpr double kFirstDate = -657435;  // 0100-01-01 with its hours
constexpr double kLastDate = 2958466;   // 9999-12-31 with its hours

[[noreturn]] void Mismatch(const Value& value, const Column& column) {
  throw Error(ErrorCode::kTypeMismatch, "The value " + value.Describe() + " does not suit the column \"" + column.name + "\"");
}

[[noreturn]] void TooLong(const Column& column) {
  throw Error(ErrorCode::kValueTooLong, "The value is too long for the column \"" + column.name + "\"");
}

/// A number without regard to the program's locale.
std::string Print(double value, std::chars_format format, int precision) {
  char text[400];
  return {text, std::to_chars(text, text + sizeof text, value, format, precision).ptr};
}

Numeric FromInteger(std::int64_t value, std::uint8_t scale) {
  return {0, value < 0 ? ~static_cast<std::uint64_t>(value) + 1 : static_cast<std::uint64_t>(value), scale, value < 0};
}

std::optional<double> ParseDouble(const std::string& text) {
  // Not strtod: it would follow the locale and take "inf" and "0x1".
  std::size_t i = text.find_first_not_of(" \t");
  if (i == std::string::npos) return std::nullopt;
  const std::size_t end = text.find_last_not_of(" \t") + 1;
  bool negative = false;
  if (text[i] == '-' || text[i] == '+') negative = text[i++] == '-';
  std::string digits;
  int exponent = 0;
  bool point = false;
  for (; i < end && ((text[i] >= '0' && text[i] <= '9') || (text[i] == '.' && !point)); ++i) {
    if (text[i] == '.') {
      point = true;
      continue;
    }
    digits += text[i];
    if (point) --exponent;
  }
  if (digits.empty()) return std::nullopt;
  if (i < end && (text[i] == 'e' || text[i] == 'E')) {
    ++i;
    bool down = false;
    if (i < end && (text[i] == '-' || text[i] == '+')) down = text[i++] == '-';
    if (i == end) return std::nullopt;
    int given = 0;
    for (; i < end && text[i] >= '0' && text[i] <= '9'; ++i) given = std::min(given * 10 + (text[i] - '0'), 100000);
    exponent += down ? -given : given;
  }
  if (i != end) return std::nullopt;
  digits += "e" + std::to_string(exponent);
  double value = 0;
  if (std::from_chars(digits.data(), digits.data() + digits.size(), value).ec != std::errc{}) return std::nullopt;
  return negative ? -value : value;
}

}  // namespace

std::optional<double> AsReal(const Value& value) {
  switch (value.Type()) {
    case ValueType::kBool:
      return value.AsBool() ? -1 : 0;
    case ValueType::kByte:
      return value.AsByte();
    case ValueType::kInteger:
      return value.AsInteger();
    case ValueType::kLong:
      return value.AsLong();
    case ValueType::kCurrency:
      return static_cast<double>(value.AsCurrency().scaled) / 10000;
    case ValueType::kSingle:
      return value.AsSingle();
    case ValueType::kDouble:
      return value.AsDouble();
    case ValueType::kDate:
      return value.AsDate().serial;
    case ValueType::kNumeric:
      return value.AsNumeric().ToDouble();
    case ValueType::kText:
      return ParseDouble(value.AsText());
    default:
      return std::nullopt;
  }
}

namespace {

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
    case ValueType::kText:
      if (auto exact = Numeric::Parse(value.AsText())) return exact;
      break;
    default:
      break;
  }
  const auto real = AsReal(value);
  if (!real || !std::isfinite(*real) || std::fabs(*real) >= 1e29) return std::nullopt;
  std::string text = Print(*real, std::chars_format::general, 15);
  if (text.find('e') != std::string::npos) text = Print(*real, std::chars_format::fixed, std::fabs(*real) < 1 ? 28 : 0);
  return Numeric::Parse(text);
}

std::int64_t ToInteger(const Value& value, const Column& column, std::int64_t low, std::int64_t high) {
  const auto real = AsReal(value);
  if (!real || !std::isfinite(*real)) Mismatch(value, column);
  const double rounded = std::nearbyint(*real);
  if (rounded < static_cast<double>(low) || rounded > static_cast<double>(high)) Mismatch(value, column);
  return static_cast<std::int64_t>(rounded);
}

std::int64_t ToScaled(const Value& value, const Column& column) {
  // A binary fraction is rounded to even in the last place, a decimal text as text.
  if (value.Type() == ValueType::kSingle || value.Type() == ValueType::kDouble || value.Type() == ValueType::kDate) {
    const double scaled = std::nearbyint(*AsReal(value) * 10000);
    if (!(std::fabs(scaled) < 9.2e18)) Mismatch(value, column);
    return static_cast<std::int64_t>(scaled);
  }
  const auto decimal = AsDecimal(value);
  const auto scaled = decimal ? decimal->WithScale(4) : std::nullopt;
  if (!scaled || scaled->high != 0 || scaled->low > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
    Mismatch(value, column);
  return scaled->negative ? -static_cast<std::int64_t>(scaled->low) : static_cast<std::int64_t>(scaled->low);
}

Numeric ToNumeric(const Value& value, const Column& column) {
  const auto decimal = AsDecimal(value);
  const auto scaled = decimal ? decimal->WithScale(column.sort[1]) : std::nullopt;
  if (!scaled || (column.sort[0] != 0 && scaled->Digits() > column.sort[0])) Mismatch(value, column);
  return *scaled;
}

Date ToDate(const Value& value, const Column& column) {
  auto serial = AsReal(value);
  if (value.Type() == ValueType::kText && !serial) serial = base::ReadDateText(value.AsText(), base::DateOrder::kDayFirst);
  if (!serial || !(*serial > kFirstDate && *serial < kLastDate)) Mismatch(value, column);
  return {*serial == 0 ? 0.0 : *serial};
}

bool ToBool(const Value& value, const Column& column) {
  if (value.Type() == ValueType::kText) {
    if (EqualNames(value.AsText(), "true")) return true;
    if (EqualNames(value.AsText(), "false")) return false;
  }
  const auto real = AsReal(value);
  if (!real) Mismatch(value, column);
  return *real != 0;
}

std::string ToText(const Value& value, const Column& column) {
  switch (value.Type()) {
    case ValueType::kText:
      return value.AsText();
    case ValueType::kBool:
      return value.AsBool() ? "-1" : "0";
    case ValueType::kCurrency: {
      std::string text = FromInteger(value.AsCurrency().scaled, 4).Text();
      text.erase(text.find_last_not_of('0') + 1);
      if (text.back() == '.') text.pop_back();
      return text;
    }
    case ValueType::kSingle:
    case ValueType::kDouble:
      return Print(*AsReal(value), std::chars_format::general, value.Type() == ValueType::kSingle ? 7 : 15);
    case ValueType::kDate: {
      const std::string text = value.Describe();
      return text.substr(1, text.size() - 2);
    }
    case ValueType::kBytes:
      Mismatch(value, column);
    default:
      return value.Describe();
  }
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
    if (text.size() * 2 > column.length && CountUtf16(text) * 2 > column.length) TooLong(column);
  } else if (column.type == ColumnType::kBinary || column.type == ColumnType::kInternal) {
    if (value.AsBytes().size() > column.length) TooLong(column);
  }
}

}  // namespace

const Value& ConvertToColumn(const Value& value, const Column& column, Value& scratch) {
  if (Suits(value, column)) {
    CheckLength(value, column);
    if (!column.IsFixed() || value.Type() != ValueType::kBytes || value.AsBytes().size() == column.length) return value;
    Bytes padded = value.AsBytes();  // as it reads back, so that keys agree
    padded.resize(column.length);
    scratch = Value(std::move(padded));
    return scratch;
  }
  switch (column.type) {
    case ColumnType::kBoolean:
      scratch = Value(ToBool(value, column));
      break;
    case ColumnType::kByte:
      scratch = Value(static_cast<std::uint8_t>(ToInteger(value, column, 0, 255)));
      break;
    case ColumnType::kInteger:
      scratch = Value(static_cast<std::int16_t>(ToInteger(value, column, -32768, 32767)));
      break;
    case ColumnType::kLong:
      scratch = Value(static_cast<std::int32_t>(
          ToInteger(value, column, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max())));
      break;
    case ColumnType::kCurrency:
      scratch = Value(Currency{ToScaled(value, column)});
      break;
    case ColumnType::kSingle: {
      const auto real = AsReal(value);
      if (!real || (std::isfinite(*real) && std::fabs(*real) > static_cast<double>(std::numeric_limits<float>::max())))
        Mismatch(value, column);
      scratch = Value(*real == 0 ? 0.0F : static_cast<float>(*real));
      break;
    }
    case ColumnType::kDouble: {
      const auto real = AsReal(value);
      if (!real) Mismatch(value, column);
      scratch = Value(*real == 0 ? 0.0 : *real);  // minus zero would not be found by its equal
      break;
    }
    case ColumnType::kDate:
      scratch = Value(ToDate(value, column));
      break;
    case ColumnType::kNumeric:
      scratch = Value(ToNumeric(value, column));
      break;
    case ColumnType::kText:
    case ColumnType::kMemo:
      scratch = Value(ToText(value, column));
      break;
    case ColumnType::kGuid: {
      std::optional<Guid> guid;
      if (value.Type() == ValueType::kText) guid = Guid::Parse(value.AsText());
      if (value.Type() == ValueType::kBytes && value.AsBytes().size() == 16) {
        guid.emplace();
        std::memcpy(guid->bytes.data(), value.AsBytes().data(), 16);
      }
      if (!guid) Mismatch(value, column);
      scratch = Value(*guid);
      break;
    }
    case ColumnType::kBinary:
    case ColumnType::kOle:
    case ColumnType::kInternal: {
      if (value.Type() != ValueType::kGuid) Mismatch(value, column);
      scratch.SetBytes(reinterpret_cast<const std::byte*>(value.AsGuid().bytes.data()), 16);
      break;
    }
    default:
      throw Error(ErrorCode::kUnsupported, "The column \"" + column.name + "\" is of a type that is not known");
  }
  CheckLength(scratch, column);
  return scratch;
}

const Value& ConvertForSearch(const Value& value, const Column& column, Value& scratch) {
  if (Suits(value, column)) return value;
  if (column.IsText() && value.Type() != ValueType::kBytes) {
    scratch = Value(ToText(value, column));
    return scratch;
  }
  const Value& converted = ConvertToColumn(value, column, scratch);
  const auto before = AsReal(value);
  const auto after = AsReal(converted);
  if (before && after && column.type != ColumnType::kBoolean && *before != *after) Mismatch(value, column);
  return converted;
}

void StoreValue(const Value& value, const Column& column, std::string& stored) {
  const auto fixed = [&](auto number) {
    stored.resize(sizeof number);
    StoreLittle(reinterpret_cast<std::byte*>(stored.data()), number);
  };
  switch (column.type) {
    case ColumnType::kByte:
      fixed(value.AsByte());
      break;
    case ColumnType::kInteger:
      fixed(value.AsInteger());
      break;
    case ColumnType::kLong:
      fixed(value.AsLong());
      break;
    case ColumnType::kCurrency:
      fixed(value.AsCurrency().scaled);
      break;
    case ColumnType::kSingle:
      fixed(value.AsSingle());
      break;
    case ColumnType::kDouble:
      fixed(value.AsDouble());
      break;
    case ColumnType::kDate:
      fixed(value.AsDate().serial);
      break;
    case ColumnType::kText:
      stored = ToStoredText(value.AsText(), (column.extraFlags & 1) != 0 && !column.IsFixed());
      if (stored.size() > column.length) TooLong(column);
      if (column.IsFixed())
        while (stored.size() + 1 < column.length) stored.append("\x20\x00", 2);
      break;
    case ColumnType::kBinary:
    case ColumnType::kInternal:
      stored.assign(reinterpret_cast<const char*>(value.AsBytes().data()), value.AsBytes().size());
      if (column.IsFixed()) stored.resize(column.length, '\0');
      break;
    case ColumnType::kGuid: {
      // The three leading fields are little-endian in the file.
      const auto& bytes = value.AsGuid().bytes;
      static constexpr int kOrder[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
      stored.resize(16);
      for (std::size_t i = 0; i < 16; ++i) stored[i] = static_cast<char>(bytes[static_cast<std::size_t>(kOrder[i])]);
      break;
    }
    case ColumnType::kNumeric: {
      const auto& number = value.AsNumeric();
      stored.resize(17);
      auto* bytes = reinterpret_cast<std::byte*>(stored.data());
      Store8(bytes, number.negative ? 0x80 : 0);
      Store32(bytes + 1, static_cast<std::uint32_t>(number.high >> 32));
      Store32(bytes + 5, static_cast<std::uint32_t>(number.high));
      Store32(bytes + 9, static_cast<std::uint32_t>(number.low >> 32));
      Store32(bytes + 13, static_cast<std::uint32_t>(number.low));
      break;
    }
    default:
      throw Error(ErrorCode::kUnsupported, "The column \"" + column.name + "\" cannot be written");
  }
}

}  // namespace jet

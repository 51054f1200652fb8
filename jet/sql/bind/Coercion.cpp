#include "jet/sql/bind/Coercion.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "base/DateText.h"
#include "jet/sql/functions/Calendar.h"
#include "jet/sql/Names.h"

namespace jet::sql {

namespace {

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

std::optional<double> ReadNumber(std::string_view text, char decimalPoint) {
  std::string plain(Trimmed(text));
  if (!plain.empty() && plain[0] == '+') plain.erase(0, 1);
  for (char& c : plain) c = c == decimalPoint ? '.' : c;
  double number = 0;
  const auto [end, problem] = std::from_chars(plain.data(), plain.data() + plain.size(), number);
  if (plain.empty() || problem != std::errc() || end != plain.data() + plain.size() || !std::isfinite(number)) return std::nullopt;
  return number;
}

std::string ShortText(double number, char decimalPoint, int digits = 15) {
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%.*g", digits, number);
  std::string text = buffer;
  for (char& c : text) c = c == '.' ? decimalPoint : c == 'e' ? 'E' : c;
  return text;
}

// All digits: a double would lose the last ones of a large amount.
std::string CurrencyText(Currency amount, char decimalPoint) {
  const bool negative = amount.scaled < 0;
  const auto scaled = static_cast<std::uint64_t>(amount.scaled);
  std::string text = Numeric{0, negative ? 0 - scaled : scaled, 4, negative}.Text();
  while (text.back() == '0') text.pop_back();
  if (text.back() == '.') text.pop_back();
  for (char& c : text) c = c == '.' ? decimalPoint : c;
  return text;
}

Value FromText(const std::string& text, const TypeInfo& column, const TextSettings& settings) {
  const auto mismatch = [&](const char* what) { return Error(ErrorCode::kTypeMismatch, "\"" + text + "\" is not " + what); };
  if (column.type == ColumnType::kDate) {
    const std::optional<double> serial =
        settings.parseDate ? settings.parseDate(text) : base::ReadDateText(text, base::DateOrder::kDayFirst);
    if (!serial) throw mismatch("a date");
    return Value(Date{*serial});
  }
  if (column.type == ColumnType::kNumeric) {
    std::string plain(Trimmed(text));
    for (char& c : plain) c = c == settings.decimalPoint ? '.' : c;
    const std::optional<Numeric> numeric = Numeric::Parse(plain);
    if (numeric) return Value(*numeric);
  }
  if (column.type == ColumnType::kBoolean) {
    const std::string word = UpperCase(Trimmed(text));
    if (word == "TRUE" || word == "VRAI" || word == "YES" || word == "OUI") return Value(true);
    if (word == "FALSE" || word == "FAUX" || word == "NO" || word == "NON") return Value(false);
    const std::optional<double> number = ReadNumber(text, settings.decimalPoint);
    if (!number) throw mismatch("a truth value");
    return Value(*number != 0);
  }
  if (column.type == ColumnType::kGuid) {
    const std::optional<Guid> guid = Guid::Parse(text);
    if (!guid) throw mismatch("a GUID");
    return Value(*guid);
  }
  const std::optional<double> number = ReadNumber(text, settings.decimalPoint);
  if (!number) throw mismatch("a number");
  if (column.type == ColumnType::kCurrency) {
    // Straight from the digits: the double between would lose some of a large amount.
    std::string plain(Trimmed(text));
    for (char& c : plain) c = c == settings.decimalPoint ? '.' : c;
    if (const std::optional<Numeric> numeric = Numeric::Parse(plain)) return Value(*numeric);
  }
  return Value(*number);
}

Value ToText(const Value& value, const TextSettings& settings) {
  switch (value.Type()) {
    case ValueType::kBool:
      return Value(value.AsBool() ? "-1" : "0");
    case ValueType::kByte:
      return Value(std::to_string(value.AsByte()));
    case ValueType::kInteger:
      return Value(std::to_string(value.AsInteger()));
    case ValueType::kLong:
      return Value(std::to_string(value.AsLong()));
    case ValueType::kSingle:
      return Value(ShortText(value.AsSingle(), settings.decimalPoint, 7));
    case ValueType::kDouble:
      return Value(ShortText(value.AsDouble(), settings.decimalPoint));
    case ValueType::kCurrency:
      return Value(CurrencyText(value.AsCurrency(), settings.decimalPoint));
    case ValueType::kDate:
      return Value(settings.formatDate ? settings.formatDate(value.AsDate().serial) : GeneralDate(value.AsDate().serial));
    case ValueType::kGuid:
      return Value(value.AsGuid().Text());
    case ValueType::kNumeric: {
      std::string text = value.AsNumeric().Text();
      for (char& c : text) c = c == '.' ? settings.decimalPoint : c;
      return Value(std::move(text));
    }
    default:
      return value;
  }
}

}  // namespace

bool IsNumber(ColumnType type) {
  switch (type) {
    case ColumnType::kByte:
    case ColumnType::kInteger:
    case ColumnType::kLong:
    case ColumnType::kCurrency:
    case ColumnType::kSingle:
    case ColumnType::kDouble:
    case ColumnType::kNumeric:
      return true;
    default:
      return false;
  }
}

TypeInfo CommonType(const TypeInfo& a, const TypeInfo& b) {
  if (a.type == kNoType) return b;
  if (b.type == kNoType) return a;
  TypeInfo common = a;
  common.autoNumber = false;
  common.nullable = a.nullable || b.nullable;
  common.size = std::max(a.size, b.size);
  if (a.type == b.type) {
    const int whole = std::max(a.precision - a.scale, b.precision - b.scale);
    common.scale = std::max(a.scale, b.scale);
    common.precision = static_cast<std::uint8_t>(std::min(whole + common.scale, 28));
    return common;
  }
  const auto isText = [](ColumnType type) { return type == ColumnType::kText || type == ColumnType::kMemo; };
  if (isText(a.type) || isText(b.type)) {
    common.type = a.type == ColumnType::kMemo || b.type == ColumnType::kMemo ? ColumnType::kMemo : ColumnType::kText;
    if (common.type == ColumnType::kText) common.size = isText(a.type) && isText(b.type) ? common.size : 255;
    return common;
  }
  constexpr int kLong = 4;
  constexpr int kFraction = 5;
  constexpr int kDouble = 6;
  constexpr int kDate = 7;
  const auto rank = [](ColumnType type) {
    switch (type) {
      case ColumnType::kBoolean:
        return 1;
      case ColumnType::kByte:
        return 2;
      case ColumnType::kInteger:
        return 3;
      case ColumnType::kLong:
        return kLong;
      case ColumnType::kSingle:
      case ColumnType::kCurrency:
      case ColumnType::kNumeric:
        return kFraction;
      case ColumnType::kDouble:
        return kDouble;
      case ColumnType::kDate:
        return kDate;
      default:
        return 0;  // no number: what the first one is
    }
  };
  const int lower = std::min(rank(a.type), rank(b.type));
  const int higher = std::max(rank(a.type), rank(b.type));
  if (lower == 0) return common;
  const TypeInfo& wider = rank(a.type) == higher ? a : b;
  common.type = wider.type;
  common.precision = wider.type == ColumnType::kNumeric ? 28 : 0;
  common.scale = wider.scale;
  if (lower == 1 && higher == 2) common.type = ColumnType::kInteger;  // -1 is no byte
  // Two kinds of fractions meet in a Double, and a Long has more digits than a Single.
  if (lower == kFraction && higher == kFraction) common.type = ColumnType::kDouble;
  if (lower == kLong && wider.type == ColumnType::kSingle) common.type = ColumnType::kDouble;
  return common;
}

Value Coerced(const Value& value, const TypeInfo& column, const TextSettings& settings) {
  if (value.IsNull()) return value;
  const bool toText = column.type == ColumnType::kText || column.type == ColumnType::kMemo;
  if (toText) return value.Type() == ValueType::kText ? value : ToText(value, settings);
  if (value.Type() == ValueType::kText) {
    const bool readable = IsNumber(column.type) || column.type == ColumnType::kDate || column.type == ColumnType::kBoolean ||
                          column.type == ColumnType::kGuid;
    return readable ? FromText(value.AsText(), column, settings) : value;
  }
  if (column.type == ColumnType::kDate) {
    if (value.Type() == ValueType::kDouble) return Value(Date{value.AsDouble()});
    if (value.Type() == ValueType::kLong) return Value(Date{static_cast<double>(value.AsLong())});
    if (value.Type() == ValueType::kInteger) return Value(Date{static_cast<double>(value.AsInteger())});
  }
  if (IsNumber(column.type)) {
    if (value.Type() == ValueType::kDate) return Value(value.AsDate().serial);
    if (value.Type() == ValueType::kBool) return Value(static_cast<std::int32_t>(value.AsBool() ? -1 : 0));
  }
  if (column.type == ColumnType::kBoolean) {
    switch (value.Type()) {
      case ValueType::kByte:
        return Value(value.AsByte() != 0);
      case ValueType::kInteger:
        return Value(value.AsInteger() != 0);
      case ValueType::kLong:
        return Value(value.AsLong() != 0);
      case ValueType::kDouble:
        return Value(value.AsDouble() != 0);
      case ValueType::kSingle:
        return Value(value.AsSingle() != 0);
      case ValueType::kCurrency:
        return Value(value.AsCurrency().scaled != 0);
      case ValueType::kNumeric:
        return Value(value.AsNumeric().ToDouble() != 0);
      default:
        return value;
    }
  }
  return value;
}

}  // namespace jet::sql

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

Error NotA(const char* what, const std::string& text) { return {ErrorCode::kTypeMismatch, "\"" + text + "\" is not " + what}; }

Value TruthFromText(const std::string& text, const TextSettings& settings) {
  const std::string word = UpperCase(Trimmed(text));
  if (word == "TRUE" || word == "VRAI" || word == "YES" || word == "OUI") return Value(true);
  if (word == "FALSE" || word == "FAUX" || word == "NO" || word == "NON") return Value(false);
  const std::optional<double> number = ReadNumber(text, settings.decimalPoint);
  if (!number) throw NotA("a truth value", text);
  return Value(*number != 0);
}

// Straight from the digits: the double between would lose some of a large amount.
std::optional<Numeric> DigitsFromText(const std::string& text, const TextSettings& settings) {
  std::string plain(Trimmed(text));
  for (char& c : plain) c = c == settings.decimalPoint ? '.' : c;
  return Numeric::Parse(plain);
}

Value NumberFromText(const std::string& text, ColumnType type, const TextSettings& settings) {
  std::optional<Numeric> digits;
  if (type == ColumnType::kNumeric) digits = DigitsFromText(text, settings);
  if (digits) return Value(*digits);
  const std::optional<double> number = ReadNumber(text, settings.decimalPoint);
  if (!number) throw NotA("a number", text);
  if (type == ColumnType::kCurrency) digits = DigitsFromText(text, settings);
  return digits ? Value(*digits) : Value(*number);
}

Value FromText(const std::string& text, const TypeInfo& column, const TextSettings& settings) {
  switch (column.type) {
    case ColumnType::kDate: {
      const std::optional<double> serial =
          settings.parseDate ? settings.parseDate(text) : base::ReadDateText(text, base::DateOrder::kDayFirst);
      if (!serial) throw NotA("a date", text);
      return Value(Date{*serial});
    }
    case ColumnType::kBoolean:
      return TruthFromText(text, settings);
    case ColumnType::kGuid: {
      const std::optional<Guid> guid = Guid::Parse(text);
      if (!guid) throw NotA("a GUID", text);
      return Value(*guid);
    }
    default:
      return NumberFromText(text, column.type, settings);
  }
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

namespace {

bool IsTextual(ColumnType type) { return type == ColumnType::kText || type == ColumnType::kMemo; }

constexpr int kLongRank = 4;
constexpr int kFractionRank = 5;

// Numbers of a higher rank hold those of the lower ones; 0: no number.
int RankOf(ColumnType type) {
  constexpr int kDoubleRank = 6;
  constexpr int kDateRank = 7;
  switch (type) {
    case ColumnType::kBoolean:
      return 1;
    case ColumnType::kByte:
      return 2;
    case ColumnType::kInteger:
      return 3;
    case ColumnType::kLong:
      return kLongRank;
    case ColumnType::kSingle:
    case ColumnType::kCurrency:
    case ColumnType::kNumeric:
      return kFractionRank;
    case ColumnType::kDouble:
      return kDoubleRank;
    case ColumnType::kDate:
      return kDateRank;
    default:
      return 0;
  }
}

// common: what the two have in common so far.
TypeInfo CommonText(const TypeInfo& a, const TypeInfo& b, TypeInfo common) {
  common.type = a.type == ColumnType::kMemo || b.type == ColumnType::kMemo ? ColumnType::kMemo : ColumnType::kText;
  if (common.type == ColumnType::kText) common.size = IsTextual(a.type) && IsTextual(b.type) ? common.size : 255;
  return common;
}

TypeInfo CommonNumber(const TypeInfo& a, const TypeInfo& b, TypeInfo common) {
  const int lower = std::min(RankOf(a.type), RankOf(b.type));
  const int higher = std::max(RankOf(a.type), RankOf(b.type));
  if (lower == 0) return common;  // no number: what the first one is
  const TypeInfo& wider = RankOf(a.type) == higher ? a : b;
  common.type = wider.type;
  common.precision = wider.type == ColumnType::kNumeric ? 28 : 0;
  common.scale = wider.scale;
  if (lower == 1 && higher == 2) common.type = ColumnType::kInteger;  // -1 is no byte
  // Two kinds of fractions meet in a Double, and a Long has more digits than a Single.
  if (lower == kFractionRank && higher == kFractionRank) common.type = ColumnType::kDouble;
  if (lower == kLongRank && wider.type == ColumnType::kSingle) common.type = ColumnType::kDouble;
  return common;
}

}  // namespace

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
  return IsTextual(a.type) || IsTextual(b.type) ? CommonText(a, b, common) : CommonNumber(a, b, common);
}

namespace {

// What is no number stays as it is.
Value ToTruth(const Value& value) {
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

Value ToDate(const Value& value) {
  switch (value.Type()) {
    case ValueType::kDouble:
      return Value(Date{value.AsDouble()});
    case ValueType::kLong:
      return Value(Date{static_cast<double>(value.AsLong())});
    case ValueType::kInteger:
      return Value(Date{static_cast<double>(value.AsInteger())});
    default:
      return value;
  }
}

Value ToNumber(const Value& value) {
  if (value.Type() == ValueType::kDate) return Value(value.AsDate().serial);
  if (value.Type() == ValueType::kBool) return Value(static_cast<std::int32_t>(value.AsBool() ? -1 : 0));
  return value;
}

}  // namespace

Value Coerced(const Value& value, const TypeInfo& column, const TextSettings& settings) {
  if (value.IsNull()) return value;
  const ColumnType type = column.type;
  if (IsTextual(type)) return value.Type() == ValueType::kText ? value : ToText(value, settings);
  if (value.Type() == ValueType::kText) {
    const bool readable = IsNumber(type) || type == ColumnType::kDate || type == ColumnType::kBoolean || type == ColumnType::kGuid;
    return readable ? FromText(value.AsText(), column, settings) : value;
  }
  if (type == ColumnType::kDate) return ToDate(value);
  if (type == ColumnType::kBoolean) return ToTruth(value);
  return IsNumber(type) ? ToNumber(value) : value;
}

}  // namespace jet::sql

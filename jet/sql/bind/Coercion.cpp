#include "jet/sql/bind/Coercion.h"

#include <algorithm>

#include "jet/sql/functions/Calendar.h"
#include "jet/sql/Names.h"
#include "jet/value/Conversion.h"

namespace jet::sql {

namespace {

const char* Expected(ColumnType type) {
  switch (type) {
    case ColumnType::kDate:
      return "a date";
    case ColumnType::kBoolean:
      return "a truth value";
    case ColumnType::kGuid:
      return "a GUID";
    default:
      return "a number";
  }
}

Value FromText(const std::string& text, const TypeInfo& column, const TextSettings& settings) {
  auto read = ReadAs(column.type, text, settings);
  if (!read) throw Error(ErrorCode::kTypeMismatch, "\"" + text + "\" is not " + Expected(column.type));
  return std::move(*read);
}

Value ToText(const Value& value, const TextSettings& settings) {
  if (value.Type() == ValueType::kDate && !settings.formatDate) return Value(GeneralDate(value.AsDate().serial));
  auto text = WriteAsText(value, settings);
  return text ? Value(std::move(*text)) : value;
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

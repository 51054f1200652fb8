#include "jet/index/KeyCodec.h"

#include <algorithm>
#include <bit>

#include "jet/value/AceTypes.h"
#include "jet/value/Error.h"
#include "jet/index/IndexPage.h"
#include "jet/value/TextOrder.h"

namespace jet {
namespace {

constexpr std::byte kAscendingFlag{0x7F};
constexpr std::byte kDescendingFlag{0x80};
constexpr std::byte kAscendingNull{0x00};
constexpr std::byte kDescendingNull{0xFF};

/// Flag, then the number's bytes, most significant first; complemented when descending.
template <typename Unsigned>
void AppendBits(Unsigned bits, bool descending, Bytes& key) {
  std::byte buffer[1 + sizeof(Unsigned)];
  buffer[0] = descending ? kDescendingFlag : kAscendingFlag;
  if (descending) bits = static_cast<Unsigned>(~bits);
  for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
    buffer[1 + i] = static_cast<std::byte>(bits >> (8 * (sizeof(Unsigned) - 1 - i)));
  }
  key.insert(key.end(), buffer, buffer + sizeof buffer);
}

/// Bits of a floating point number in an order that follows the number's.
template <typename Unsigned>
Unsigned OrderedBits(Unsigned bits) {
  constexpr Unsigned kSign = Unsigned{1} << (8 * sizeof(Unsigned) - 1);
  return (bits & kSign) != 0 ? static_cast<Unsigned>(~bits) : static_cast<Unsigned>(bits | kSign);
}

/// Groups of 8 bytes, each followed by 9 when another group comes, else by the number of bytes that count. An empty value has none.
/// Descending complements everything but the 9s.
void AppendGroups(std::span<const std::byte> value, bool descending, Bytes& key) {
  constexpr std::size_t kGroup = 8;
  const std::byte mask = descending ? std::byte{0xFF} : std::byte{0};
  for (std::size_t at = 0; at < value.size(); at += kGroup) {
    const std::size_t valid = std::min(kGroup, value.size() - at);
    for (std::size_t i = 0; i < kGroup; ++i) key.push_back((i < valid ? value[at + i] : std::byte{0}) ^ mask);
    const bool last = at + kGroup >= value.size();
    key.push_back(last ? static_cast<std::byte>(valid) ^ mask : std::byte{9});
  }
}

[[noreturn]] void RefuseValue(const Value& value) {
  throw Error(ErrorCode::kTypeMismatch, "a value of another type cannot be looked up in this index: " + value.Describe());
}

void AppendNumeric(const KeyColumn& column, const Value& value, Bytes& key) {
  Numeric number = value.AsNumeric();
  if (number.scale != column.scale) {
    const std::optional<Numeric> rescaled = number.WithScale(column.scale);
    if (!rescaled) RefuseValue(value);
    number = *rescaled;
  }
  AppendNumericKey(number.negative, number.high, number.low, column.descending, key);
}

/// The types that .accdb files have and Jet 4 has not.
void AppendFormed(const KeyColumn& column, const Value& value, Bytes& key) {
  if (value.IsNull()) return AppendNullKey(column.descending, key);
  if (column.form == KeyForm::kWholeNumber && value.Type() == ValueType::kNumeric) {
    if (const auto whole = WholeNumber(value.AsNumeric())) return AppendCurrencyKey(*whole, column.descending, key);
  } else if (column.form == KeyForm::kExtendedDate && value.Type() == ValueType::kText) {
    if (const auto date = ExtendedDate::Parse(value.AsText())) return AppendBinaryKey(date->Stored(), column.descending, key);
  }
  RefuseValue(value);
}

/// The type of value that belongs to the column's type; kNull for types without index.
ValueType ValueTypeOf(ColumnType type) {
  switch (type) {
    case ColumnType::kBoolean:
      return ValueType::kBool;
    case ColumnType::kByte:
      return ValueType::kByte;
    case ColumnType::kInteger:
      return ValueType::kInteger;
    case ColumnType::kLong:
      return ValueType::kLong;
    case ColumnType::kCurrency:
      return ValueType::kCurrency;
    case ColumnType::kSingle:
      return ValueType::kSingle;
    case ColumnType::kDouble:
      return ValueType::kDouble;
    case ColumnType::kDate:
      return ValueType::kDate;
    case ColumnType::kBinary:
      return ValueType::kBytes;
    case ColumnType::kText:
    case ColumnType::kMemo:
      return ValueType::kText;
    case ColumnType::kGuid:
      return ValueType::kGuid;
    case ColumnType::kNumeric:
      return ValueType::kNumeric;
    case ColumnType::kOle:
    case ColumnType::kInternal:
      break;
  }
  return ValueType::kNull;
}

}  // namespace

void AppendNullKey(bool descending, Bytes& key) { key.push_back(descending ? kDescendingNull : kAscendingNull); }

void AppendBoolKey(bool value, bool descending, Bytes& key) { AppendBits(static_cast<std::uint8_t>(value ? 0x00 : 0xFF), descending, key); }

void AppendByteKey(std::uint8_t value, bool descending, Bytes& key) { AppendBits(value, descending, key); }

void AppendIntegerKey(std::int16_t value, bool descending, Bytes& key) {
  AppendBits(static_cast<std::uint16_t>(static_cast<std::uint16_t>(value) ^ 0x8000u), descending, key);
}

void AppendLongKey(std::int32_t value, bool descending, Bytes& key) {
  AppendBits(static_cast<std::uint32_t>(value) ^ 0x80000000u, descending, key);
}

void AppendCurrencyKey(std::int64_t scaled, bool descending, Bytes& key) {
  AppendBits(static_cast<std::uint64_t>(scaled) ^ (std::uint64_t{1} << 63), descending, key);
}

void AppendSingleKey(float value, bool descending, Bytes& key) {
  AppendBits(OrderedBits(std::bit_cast<std::uint32_t>(value)), descending, key);
}

void AppendDoubleKey(double value, bool descending, Bytes& key) {
  AppendBits(OrderedBits(std::bit_cast<std::uint64_t>(value)), descending, key);
}

void AppendBinaryKey(std::span<const std::byte> value, bool descending, Bytes& key) {
  key.push_back(descending ? kDescendingFlag : kAscendingFlag);
  AppendGroups(value, descending, key);
}

void AppendGuidKey(const Guid& value, bool descending, Bytes& key) {
  AppendBinaryKey(std::as_bytes(std::span(value.bytes)), descending, key);
}

void AppendNumericKey(bool negative, std::uint64_t high, std::uint64_t low, bool descending, Bytes& key) {
  // The sign byte is the same in both directions, so that descending keys do not quite descend: the files in use have them so.
  key.push_back(descending ? kDescendingFlag : kAscendingFlag);
  key.push_back(negative ? std::byte{0x00} : std::byte{0xFF});
  const std::uint64_t mask = negative != descending ? ~std::uint64_t{0} : 0;
  for (const std::uint64_t half : {high ^ mask, low ^ mask}) {
    for (int shift = 56; shift >= 0; shift -= 8) key.push_back(static_cast<std::byte>(half >> shift));
  }
}

void AppendKey(const KeyColumn& column, const Value& value, Bytes& key) {
  if (column.form != KeyForm::kOfType) return AppendFormed(column, value, key);
  const ValueType expected = ValueTypeOf(column.type);
  if (expected == ValueType::kNull) {
    throw Error(ErrorCode::kUnsupported, "a column of this type cannot be part of an index");
  }
  const bool descending = column.descending;
  if (value.IsNull()) return AppendNullKey(descending, key);
  if (value.Type() != expected) RefuseValue(value);
  switch (expected) {
    case ValueType::kBool:
      return AppendBoolKey(value.AsBool(), descending, key);
    case ValueType::kByte:
      return AppendByteKey(value.AsByte(), descending, key);
    case ValueType::kInteger:
      return AppendIntegerKey(value.AsInteger(), descending, key);
    case ValueType::kLong:
      return AppendLongKey(value.AsLong(), descending, key);
    case ValueType::kCurrency:
      return AppendCurrencyKey(value.AsCurrency().scaled, descending, key);
    case ValueType::kSingle:
      return AppendSingleKey(value.AsSingle(), descending, key);
    case ValueType::kDouble:
      return AppendDoubleKey(value.AsDouble(), descending, key);
    case ValueType::kDate:
      return AppendDoubleKey(value.AsDate().serial, descending, key);
    case ValueType::kBytes:
      return AppendBinaryKey(value.AsBytes(), descending, key);
    case ValueType::kText:
      return AppendTextKey(value.AsText(), descending, column.order, key);
    case ValueType::kGuid:
      return AppendGuidKey(value.AsGuid(), descending, key);
    case ValueType::kNumeric:
      return AppendNumeric(column, value, key);
    case ValueType::kNull:
      break;
  }
}

KeyNulls MakeKey(std::span<const KeyColumn> columns, std::span<const Value> values, Bytes& key) {
  key.clear();
  KeyNulls nulls;
  for (std::size_t i = 0; i < std::min(columns.size(), values.size()); ++i) {
    AppendKey(columns[i], values[i], key);
    if (values[i].IsNull()) {
      nulls.any = true;
    } else {
      nulls.all = false;
    }
  }
  constexpr std::size_t kJet4PageSize = 4096;
  if (const std::size_t most = IndexLayout::Of(kJet4PageSize).MostKeyBytes(); key.size() > most) {
    throw Error(ErrorCode::kLimit,
                "the key of a row has " + std::to_string(key.size()) + " bytes, an index can hold " + std::to_string(most));
  }
  return nulls;
}

}  // namespace jet

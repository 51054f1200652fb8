#include "jet/table/StoredValue.h"

#include <array>
#include <utility>

#include "jet/table/AceValue.h"
#include "jet/value/AceTypes.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"
#include "jet/value/Text.h"

namespace jet {
namespace {

using Column = TableDefinition::Column;

constexpr std::size_t kNumericSize = 17;
/// Where each byte of a GUID stands in the file: its three leading fields are little-endian.
constexpr std::array<std::size_t, 16> kGuidOrder = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};

template <typename Number>
void StoreNumber(Number number, std::string& stored) {
  stored.resize(sizeof number);
  StoreLittle(reinterpret_cast<std::byte*>(stored.data()), number);
}

void StoreText(const std::string& text, const Column& column, std::string& stored) {
  stored = StoredText(text, column, (column.extraFlags & 1) != 0 && !column.IsFixed());
  if (stored.size() > column.length) throw Error(ErrorCode::kValueTooLong, "The value is too long for the column \"" + column.name + "\"");
  if (!column.IsFixed()) return;
  if (column.codePage != 0) stored.resize(column.length, ' ');
  while (stored.size() + 1 < column.length) stored.append("\x20\x00", 2);
}

void StoreBytes(const Bytes& bytes, const Column& column, std::string& stored) {
  stored.assign(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (column.IsFixed()) stored.resize(column.length, '\0');
}

void StoreGuid(const Guid& guid, std::string& stored) {
  stored.resize(kGuidOrder.size());
  for (std::size_t i = 0; i < kGuidOrder.size(); ++i) stored[i] = static_cast<char>(guid.bytes[kGuidOrder[i]]);
}

void StoreNumeric(const Numeric& number, std::string& stored) {
  stored.resize(kNumericSize);
  auto* bytes = reinterpret_cast<std::byte*>(stored.data());
  Store8(bytes, number.negative ? 0x80 : 0);
  Store32(bytes + 1, static_cast<std::uint32_t>(number.high >> 32));
  Store32(bytes + 5, static_cast<std::uint32_t>(number.high));
  Store32(bytes + 9, static_cast<std::uint32_t>(number.low >> 32));
  Store32(bytes + 13, static_cast<std::uint32_t>(number.low));
}

}  // namespace

std::string StoredText(const std::string& text, const Column& column, bool compress) {
  if (column.codePage == 0) return ToStoredText(text, compress);
  auto bytes = ToAnsi(text, column.codePage);
  if (!bytes)
    throw Error(ErrorCode::kUnsupported, "The value for the column \"" + column.name + "\" has a character that code page " +
                                             std::to_string(column.codePage) + " of the file does not have");
  return std::move(*bytes);
}

void StoreValue(const Value& value, const Column& column, std::string& stored) {
  if (IsAceValue(column)) return StoreAceValue(value, column, stored);
  switch (column.type) {
    case ColumnType::kByte:
      return StoreNumber(value.AsByte(), stored);
    case ColumnType::kInteger:
      return StoreNumber(value.AsInteger(), stored);
    case ColumnType::kLong:
      return StoreNumber(value.AsLong(), stored);
    case ColumnType::kCurrency:
      return StoreNumber(value.AsCurrency().scaled, stored);
    case ColumnType::kSingle:
      return StoreNumber(value.AsSingle(), stored);
    case ColumnType::kDouble:
      return StoreNumber(value.AsDouble(), stored);
    case ColumnType::kDate:
      return StoreNumber(value.AsDate().serial, stored);
    case ColumnType::kText:
      return StoreText(value.AsText(), column, stored);
    case ColumnType::kBinary:
    case ColumnType::kInternal:
      return StoreBytes(value.AsBytes(), column, stored);
    case ColumnType::kGuid:
      return StoreGuid(value.AsGuid(), stored);
    case ColumnType::kNumeric:
      return StoreNumeric(value.AsNumeric(), stored);
    default:
      throw Error(ErrorCode::kUnsupported, "The column \"" + column.name + "\" cannot be written");
  }
}

Numeric LoadNumeric(const std::byte* bytes, std::uint8_t scale) {
  Numeric number;
  number.high = std::uint64_t{Load32(bytes + 1)} << 32 | Load32(bytes + 5);
  number.low = std::uint64_t{Load32(bytes + 9)} << 32 | Load32(bytes + 13);
  number.scale = scale;
  number.negative = *bytes != std::byte{0} && (number.high | number.low) != 0;
  return number;
}

Numeric NumericIn(const Column& column, const std::byte* bytes) {
  using Shape = TableDefinition::Shape;
  if (column.shape == Shape::kPlain) return LoadNumeric(bytes, column.sort[1]);
  if (column.shape == Shape::kBigInteger) return NumericOf(LoadLittle<std::int64_t>(bytes));
  Numeric number;
  // u16, u8 scale, u8 sign, u32 high, u64 low
  number.scale = Load8(bytes + 2);
  number.high = Load32(bytes + 4);
  number.low = LoadLittle<std::uint64_t>(bytes + 8);
  number.negative = Load8(bytes + 3) != 0 && (number.high | number.low) != 0;
  return number;
}

Guid LoadGuid(const std::byte* bytes) {
  Guid guid;
  for (std::size_t i = 0; i < kGuidOrder.size(); ++i) guid.bytes[i] = Load8(bytes + kGuidOrder[i]);
  return guid;
}

}  // namespace jet

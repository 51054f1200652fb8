#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "jet/value/TextOrder.h"
#include "jet/value/Value.h"

namespace jet {

/// How a value becomes bytes of a key, where the type of its column does not say it (.accdb).
enum class KeyForm : std::uint8_t {
  kOfType,
  kWholeNumber,   ///< a numeric of 64 bits as a whole number
  kExtendedDate,  ///< the text of an extended date as its bytes in the file
};

/// How one column takes part in the keys of an index.
struct KeyColumn {
  ColumnType type = ColumnType::kLong;
  bool descending = false;
  std::uint8_t scale = 0;                 ///< numeric only: digits after the point of the column
  TextOrder order = TextOrder::kGeneral;  ///< text and memo only
  KeyForm form = KeyForm::kOfType;
};

/// Which columns of a key were null: decides about "ignore nulls" and uniqueness.
struct KeyNulls {
  bool any = false;
  bool all = true;
};

/// Appends the bytes of one column to a key: a flag byte, then the value so that comparing keys byte by byte orders the values.
/// The value is null or of the column's own type (a numeric may have any scale). Null is just its flag.
/// Text follows the order of the column (TextOrder.h).
/// Minus zero has a key of its own, right before zero's; columns are not given it (Convert.h). Descending keys of numerics keep the order of the real files, which is wrong for positive ones.
/// Errors: kTypeMismatch for a value of another type, kUnsupported for a type that no index can hold and for a
/// text that has no known place in its order.
void AppendKey(const KeyColumn& column, const Value& value, Bytes& key);

/// Makes the key of a whole row, or of a leading part of the columns when fewer values than columns are given.
/// The key's memory is reused. Errors: as AppendKey; kLimit when the key is longer than an index page of Jet 4 can hold.
KeyNulls MakeKey(std::span<const KeyColumn> columns, std::span<const Value> values, Bytes& key);

/// Parts of AppendKey over plain types, each with the flag byte.
void AppendNullKey(bool descending, Bytes& key);
void AppendBoolKey(bool value, bool descending, Bytes& key);
void AppendByteKey(std::uint8_t value, bool descending, Bytes& key);
void AppendIntegerKey(std::int16_t value, bool descending, Bytes& key);
void AppendLongKey(std::int32_t value, bool descending, Bytes& key);
void AppendCurrencyKey(std::int64_t scaled, bool descending, Bytes& key);
void AppendSingleKey(float value, bool descending, Bytes& key);
void AppendDoubleKey(double value, bool descending, Bytes& key);
void AppendBinaryKey(std::span<const std::byte> value, bool descending, Bytes& key);
void AppendGuidKey(const Guid& value, bool descending, Bytes& key);
void AppendNumericKey(bool negative, std::uint64_t high, std::uint64_t low, bool descending, Bytes& key);

}  // namespace jet

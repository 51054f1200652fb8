#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "jet/page/PageStore.h"
#include "jet/value/Value.h"

namespace jet {

class TableCore;

/// Reads a long value piece by piece without holding it in memory. Memo texts come as UTF-8, never cut inside a character.
/// Usable while the row is not changed.
class LongValueReader {
 public:
  virtual ~LongValueReader() = default;
  /// Fills the buffer (at least 8 bytes) as far as there is something; 0 = end. Errors: kDamaged.
  [[nodiscard]] virtual std::size_t Read(std::span<std::byte> buffer) = 0;
};

/// A row that was read: a pinned page and the offsets in it; columns are decoded when asked for.
/// One object serves any number of rows one after the other, so that reading rows allocates nothing. Columns count as in Table::Columns().
/// Valid until the row or the table changes. Errors of all accessors: kDamaged.
class Row {
 public:
  Row() = default;

  [[nodiscard]] RowId Id() const noexcept { return id_; }
  /// Yes/No is never null.
  [[nodiscard]] bool IsNull(std::size_t column) const;
  /// Yes/No columns.
  [[nodiscard]] bool Bool(std::size_t column) const;
  /// Yes/No (-1, 0), Byte, Integer, Long; Currency in ten-thousandths. 0 for null.
  [[nodiscard]] std::int64_t Integer(std::size_t column) const;
  /// Any number as a double; a date as its serial. 0 for null.
  [[nodiscard]] double Real(std::size_t column) const;
  /// Text and memo (whole) as UTF-8, empty for null. The view lives until the column is asked again or the object moves to another row.
  [[nodiscard]] std::string_view Text(std::size_t column);
  /// Binary, long binary (whole), GUID and numeric as stored, empty for null. Lifetime as Text.
  [[nodiscard]] std::span<const std::byte> Blob(std::size_t column);
  /// Any column as a value; memory of the target is reused.
  void Get(std::size_t column, Value& value);
  [[nodiscard]] Value Get(std::size_t column);
  /// Bytes of a text or binary value as stored in the file, long ones included, without reading it; 0 for null.
  [[nodiscard]] std::uint64_t StoredLength(std::size_t column) const;
  /// A number that tells what is stored in these columns from anything else that might be (all columns: the row's own bytes). Of long values
  /// it knows their place and length.
  [[nodiscard]] std::uint64_t Fingerprint(std::span<const std::size_t> columns) const;
  [[nodiscard]] std::uint64_t Fingerprint() const;
  /// Opens a memo or long binary for reading in pieces; null for a null value.
  [[nodiscard]] std::unique_ptr<LongValueReader> OpenLong(std::size_t column);

 private:
  friend class TableCore;
  friend class RowAccess;
  struct Place {
    const std::byte* data;
    std::size_t size;
  };
  /// Whether the row has no bytes for the column.
  [[nodiscard]] bool IsAbsent(std::size_t column) const;
  /// The value of a calculated memo, which is wrapped inside of its long value.
  [[nodiscard]] std::string CalculatedLong(std::size_t column) const;
  /// The stored bytes of a column that is not absent.
  [[nodiscard]] Place LocateStored(std::size_t column) const;
  /// The same, of a calculated column those of its value.
  [[nodiscard]] Place Locate(std::size_t column) const;

  TableCore* table_ = nullptr;
  PageRef page_;
  RowId id_;
  PageNumber dataPage_ = 0;       ///< where the bytes are (differs from id_.page for a moved row)
  std::uint32_t dataOffset_ = 0;  ///< offset of the row in that page, for messages
  const std::byte* bytes_ = nullptr;
  std::uint16_t size_ = 0;
  std::uint16_t columnCount_ = 0;    ///< N of the row
  std::uint16_t variableCount_ = 0;  ///< V of the row
  std::uint16_t maskOffset_ = 0;
  std::uint16_t tableOffset_ = 0;   ///< of the last entry of the offset table's field "V", that is where reading backwards starts
  std::vector<std::string> texts_;  ///< decoded texts by column, memory kept from row to row
};

}  // namespace jet

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "jet/table/Row.h"

namespace jet {

/// Lets the table, the checker and the recovery at the stored bytes of a row's column.
class RowAccess {
 public:
  /// How the bytes of a row are divided.
  struct Shape {
    std::span<const std::byte> bytes;
    unsigned columns;        ///< that the row has a place for
    unsigned variable;       ///< of which so many are of variable length
    std::size_t tableBegin;  ///< of the table of their ends; without one, of the mask of nulls
    std::size_t maskBegin;
  };
  static Shape ShapeOf(const Row& row) {
    return {{row.bytes_, row.size_}, row.columnCount_, row.variableCount_, row.tableOffset_, row.maskOffset_};
  }
  /// The page on which the bytes lie, and where.
  static PageNumber PageOf(const Row& row) { return row.dataPage_; }
  static std::uint32_t OffsetOf(const Row& row) { return row.dataOffset_; }

  /// Empty, and of no address, for null. What a calculated column stores is there also where its value is null.
  static std::span<const std::byte> Stored(const Row& row, std::size_t column) {
    if (row.IsAbsent(column)) return {};
    const auto place = row.LocateStored(column);
    return {place.data, place.size};
  }
};

}  // namespace jet

#pragma once

#include <cstddef>
#include <span>

#include "jet/table/Row.h"

namespace jet {

/// Lets the table and the checker at the stored bytes of a row's column.
class RowAccess {
 public:
  /// Empty, and of no address, for null.
  static std::span<const std::byte> Stored(const Row& row, std::size_t column) {
    if (row.IsNull(column)) return {};
    const auto place = row.Locate(column);
    return {place.data, place.size};
  }
};

}  // namespace jet

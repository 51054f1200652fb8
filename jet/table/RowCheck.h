#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <unordered_set>
#include <vector>

#include "jet/value/ByteOrder.h"
#include "jet/page/DataPage.h"
#include "jet/table/LongValue.h"
#include "jet/table/Row.h"

namespace jet {

/// Lets the checker and the compactor at the stored bytes of a row's column.
class RowAccess {
 public:
  /// Empty for null.
  static std::span<const std::byte> Stored(const Row& row, std::size_t column) {
    if (row.IsNull(column)) return {};
    const auto place = row.Locate(column);
    return {place.data, place.size};
  }
};

/// What the checker knows of one long column of a table.
struct LongColumn {
  std::size_t position = 0;
  std::string name;
  std::vector<PageNumber> pages;             ///< by the column's map, ascending
  std::unordered_set<PackedPointer> pieces;  ///< met so far
};

/// Follows a stored long value through its pieces: each on a page of the column, each met once, together as long as said.
void FollowLongValue(PageStore& store, std::span<const std::byte> stored, PageNumber rowPage, LongColumn& column,
                     const std::function<void(PageNumber, std::string)>& report);

}  // namespace jet

#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <unordered_set>
#include <vector>

#include "jet/value/ByteOrder.h"
#include "jet/page/DataPage.h"
#include "jet/table/LongValue.h"
#include "jet/table/RowAccess.h"

namespace jet {

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

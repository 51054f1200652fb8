// Work on all rows of a table, when its definition changes.
#include <algorithm>
#include <cstring>
#include <vector>

#include "jet/page/Pager.h"
#include "jet/page/UsageMap.h"
#include "jet/table/TableCore.h"
#include "jet/table/TableSpace.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"

namespace jet {

void TableCore::CompleteRows() {
  unsigned needed = 0;  // columns that a row must have for the last one of fixed length to have its place
  std::size_t fixed = 0;
  for (const auto& column : layout_.columns) {
    if (!column.IsFixed()) continue;
    needed = column.number + 1u;
    ++fixed;
  }
  // Only where another one of fixed length has been dropped.
  if (static_cast<std::size_t>(layout_.columnCount - layout_.variableCount) == fixed) return;
  for (const RowId home : places_.Homes()) {
    if (!ReadRow(home, oldRow_) || oldRow_.columnCount_ >= needed || oldRow_.size_ < RowLayout::kMinRowSize) continue;
    draft_.Keep(oldRow_);
    const bool fits = draft_.EncodeKept();
    oldRow_.page_ = {};
    if (fits) places_.Replace(home, draft_.Encoded());
  }
}

void TableCore::RewriteRows() {
  // Rows written when the table had no variable column end with the mask right behind the fixed part; they get a trailer.
  Pager& pager = *space.pager;
  const std::size_t head = layout_.CountSize();
  Bytes row;
  for (const RowId home : places_.Homes()) {
    const RowId place = places_.FindLive(home);
    {
      const PageRef ref = pager.Read(place.page);
      const auto old = DataPage(ref).RowBytes(place.slot);
      const std::size_t oldColumns = old.size() < head ? 0 : layout_.LoadCount(old.data());
      const std::size_t oldMask = (oldColumns + 7) / 8;
      if (old.size() < head + oldMask || oldColumns > layout_.columnCount)
        throw Error(ErrorCode::kDamaged, "A row is too short", place.page, 0);
      const std::size_t fixed = old.size() - head - oldMask;
      const std::size_t mask = (layout_.columnCount + 7u) / 8u;
      const std::size_t data = head + std::max(fixed, layout_.fixedSize);
      row.assign(layout_.RowSize(data, mask), std::byte{0});
      layout_.StoreCount(row.data(), layout_.columnCount);
      std::memcpy(row.data() + head, old.data() + head, fixed);
      std::byte* const newMask = row.data() + row.size() - mask;
      layout_.StoreTrailer(newMask, layout_.JumpsOf(row.size()), std::vector<std::size_t>(layout_.variableCount + std::size_t{1}, data));
      std::memcpy(newMask, old.data() + old.size() - oldMask, oldMask);
    }
    places_.Replace(home, row);
  }
}

void TableCore::FreeContents() {
  Pager& pager = *space.pager;
  FreePages(pager, definition_.ownedMap, page);
  if (definition_.freeMap != 0) UsageMap(pager, definition_.freeMap).Clear();
  for (const auto& tree : definition_.trees) FreePages(pager, tree.ownedMap, page);
  for (const auto& maps : definition_.longMaps) {
    FreePages(pager, maps.ownedMap, DataPage::kLongValueOwner);
    if (maps.freeMap != 0) UsageMap(pager, maps.freeMap).Clear();
  }
}

void FreePages(Pager& pager, PackedPointer map, std::uint32_t owner) {
  if (map == 0) return;
  UsageMap pages(pager, map);
  for (const PageNumber number : pages.Pages(pager.PageCount())) {
    {
      constexpr std::size_t kOwnerOffset = 4;
      const PageRef ref = pager.Read(number);
      const auto kind = Load8(ref.Bytes().data());
      // Pages may have been taken and never written; all that is written says whose it is.
      if (kind != 0 && Load32(ref.Bytes().data() + kOwnerOffset) != owner)
        throw Error(ErrorCode::kDamaged, "A usage map lists a page that belongs to another", number, kOwnerOffset);
    }
    pager.Free(number);
  }
  pages.Clear();
}

}  // namespace jet

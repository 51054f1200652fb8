#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "jet/page/PageStore.h"
#include "jet/page/RowPointer.h"

namespace jet {

/// A set of page numbers kept as one row of a data page.
///
///   inline:        00, u32 first page, bitmap to the end of the row (bit i, low bit first = first page + i)
///   by reference:  01, u32 pages of type 05, 0 = none; entry k covers (page size - 4) * 8 pages
///   page of type 05: 05 01 00 00, bitmap
///
/// The map of free pages tells of the pages that it covers. Of the others those that the file has are in use, whatever put them there
/// (other programs let an inline map begin where the last free pages are), and those behind its end are free to come.
class UsageMap {
 public:
  enum class Kind { kOwned, kFreePages };

  UsageMap(PageStore& store, PackedPointer where, Kind kind = Kind::kOwned) : store_(store), where_(Unpack(where)), kind_(kind) {}

  [[nodiscard]] bool Contains(PageNumber page);
  /// True when the map has a bit for the page; what holds for the others see above.
  [[nodiscard]] bool Covers(PageNumber page);
  void Add(PageNumber page) { Set(page, true); }
  void Remove(PageNumber page) { Set(page, false); }
  /// The lowest member from the page on and below the limit.
  [[nodiscard]] std::optional<PageNumber> NextFrom(PageNumber page, PageNumber limit) { return Find(page, limit, true); }
  /// The lowest non-member likewise.
  [[nodiscard]] std::optional<PageNumber> NextMissingFrom(PageNumber page, PageNumber limit) { return Find(page, limit, false); }
  /// All members below the limit.
  [[nodiscard]] std::vector<PageNumber> Pages(PageNumber limit);
  /// Pages of type 05 that the map uses, those outside the file left out.
  [[nodiscard]] std::vector<PageNumber> BitmapPages();
  /// Empties the map; its bitmap pages are freed.
  void Clear();
  /// True when the map names bitmap pages that the file does not have.
  [[nodiscard]] bool NamesBitmapsOutside();

  /// The free-page map cannot take its own bitmap pages from itself: this gives it new ones at the end of the file.
  void SetBitmapSource(std::function<PageRef()> source) { source_ = std::move(source); }

 private:
  struct Bits;
  void Set(PageNumber page, bool on);
  [[nodiscard]] std::optional<PageNumber> Find(PageNumber page, PageNumber limit, bool on);
  [[nodiscard]] PageNumber PagesPerBitmap() const noexcept { return static_cast<PageNumber>((store_.PageSize() - 4) * 8); }
  /// Where the bit is; no bytes when the map does not cover the page.
  [[nodiscard]] Bits Locate(PageNumber page);
  /// What a page without a bit counts as.
  [[nodiscard]] bool Uncovered(PageNumber page) const { return kind_ == Kind::kFreePages && page >= store_.PageCount(); }
  void MakeRoomFor(PageNumber page);
  bool MoveStart(PageNumber page);
  void ConvertToReferences();
  void NewBitmap(std::size_t index);

  PageStore& store_;
  RowId where_;
  Kind kind_;
  std::function<PageRef()> source_;
};

}  // namespace jet

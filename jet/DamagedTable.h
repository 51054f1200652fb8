#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "jet/DamagedFile.h"
#include "jet/page/DataPage.h"
#include "jet/table/TableCore.h"

namespace jet {

/// The rows of one table of a damaged file, each by itself: one that contradicts the format is told and left, and the next one read.
class DamagedTable {
 public:
  /// Something that was there and cannot be read.
  struct Trouble {
    PageNumber page = 0;
    int row = -1;  ///< on the page, from 0; negative: the page itself
    std::string text;
  };
  /// What a walk hands out. A row comes with the long columns whose values cannot be read.
  struct Visitor {
    std::function<void(Row& row, const std::vector<bool>& unreadable)> row;
    std::function<void(const Trouble&)> lostRow;
    std::function<void(const Trouble&)> lostValue;
    std::function<void(const Trouble&)> lostPage;
  };

  /// Errors: kDamaged, kIo (the definition).
  DamagedTable(DamagedFile& file, PageNumber definition, const std::string& name);

  [[nodiscard]] TableCore& Core() noexcept { return core_; }
  /// Place of a column by its name; nothing when there is none.
  [[nodiscard]] std::optional<std::size_t> Place(const char* column) const;
  /// Every row that can be read, once, in the order of the pages.
  void Walk(const Visitor& visitor);

 private:
  [[nodiscard]] std::vector<PageNumber> ChoosePages(const Visitor& visitor);
  [[nodiscard]] std::uint64_t LiveRows(const std::vector<PageNumber>& pages);
  [[nodiscard]] bool IsCopy(PageNumber page, std::span<const std::byte> bytes, const Visitor& visitor);
  void WalkPage(PageNumber page, const Visitor& visitor);
  void WalkSlot(const DataPage& data, RowId id, bool suspect, const Visitor& visitor);
  void WalkOrphans(const Visitor& visitor);
  void Visit(RowId shown, bool suspect, const Visitor& visitor);
  void RequireSound(bool suspect) const;
  void RequireVariablePart(std::size_t fixedEnd, bool suspect) const;
  void RequireLongValue(std::span<const std::byte> stored);

  DamagedFile& file_;
  TableCore core_;
  Row row_;
  bool pagesLost_ = false;
  std::unordered_set<PackedPointer> pieces_;     ///< of long values, met so far
  std::unordered_set<PackedPointer> pointedAt_;  ///< moved rows, met so far
  std::vector<RowId> moved_;                     ///< all of them
  std::unordered_set<std::uint64_t> sums_;       ///< of pages, where no two can be equal
};

}  // namespace jet

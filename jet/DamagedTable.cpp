#include "jet/DamagedTable.h"

#include <algorithm>
#include <utility>

#include "jet/page/UsageMap.h"
#include "jet/table/LongValue.h"
#include "jet/table/RowAccess.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"
#include "jet/value/Mix.h"
#include "jet/value/Text.h"

namespace jet {
namespace {

[[noreturn]] void Damaged(const char* text, PageNumber page, std::uint32_t offset) { throw Error(ErrorCode::kDamaged, text, page, offset); }

/// The free bytes that the page itself tells are those that its slots leave, unless something on it was hit.
bool IsSuspect(const DataPage& data, std::span<const std::byte> bytes) {
  try {
    return Load16(bytes.data() + 2) != data.FreeBytes();
  } catch (const Error&) {
    return true;
  }
}

}  // namespace

DamagedTable::DamagedTable(DamagedFile& file, PageNumber definition, const std::string& name)
    : file_(file), core_(file.Space(), definition, name) {
  (void)file.Definition(definition);
}

std::optional<std::size_t> DamagedTable::Place(const char* column) const {
  const auto& columns = core_.Stored();
  for (std::size_t i = 0; i < columns.size(); ++i)
    if (EqualNames(columns[i].name, column)) return i;
  return std::nullopt;
}

std::uint64_t DamagedTable::LiveRows(const std::vector<PageNumber>& pages) {
  std::uint64_t rows = 0;
  for (const PageNumber page : pages) {
    try {
      const PageRef ref = file_.Pages().Read(page);
      const DataPage data(ref);
      for (unsigned slot = 0; slot < data.SlotCount(); ++slot)
        if ((data.Slot(slot) & DataPage::kMovedFlag) == 0) ++rows;
    } catch (const Error&) {
      continue;  // counted where it is read
    }
  }
  return rows;
}

/// The pages that the table's map lists and that say themselves that they are the table's. Others that say so are either what was freed once,
/// which the map of free pages then knows, or what the table's map has lost: they count as long as the definition counts as many rows.
std::vector<PageNumber> DamagedTable::ChoosePages(const Visitor& visitor) {
  const auto& saying = file_.PagesOfOwner(core_.page);
  std::vector<PageNumber> listed;
  bool mapRead = true;
  const PageNumber count = file_.Pages().PageCount();
  try {
    const RowId place = Unpack(core_.Definition().ownedMap);
    const auto extent = DataPage(file_.Pages().Read(place.page)).Row(place.slot);
    if (file_.IsCut(place.page, extent.offset + extent.size)) Damaged("It lies behind the end of the file", place.page, extent.offset);
    UsageMap map(file_.Pages(), core_.Definition().ownedMap);
    listed = map.Pages(count);
    constexpr PageNumber kMostPages = PageNumber{1} << 20;
    if (const auto outside = map.NextFrom(count, kMostPages))
      visitor.lostPage({*outside, -1, "the list of its pages goes on behind the end of the file"});
  } catch (const Error& error) {
    mapRead = false;
    visitor.lostPage({Unpack(core_.Definition().ownedMap).page, -1,
                      std::string("the list of its pages cannot be read, those that name it were taken: ") + error.what()});
  }
  std::vector<PageNumber> chosen;
  for (const PageNumber page : listed) {
    if (std::binary_search(saying.begin(), saying.end(), page)) {
      chosen.push_back(page);
      continue;
    }
    pagesLost_ = true;
    visitor.lostPage({page, -1, "a page of its rows no longer is one of it"});
  }
  std::vector<PageNumber> others;
  for (const PageNumber page : saying)
    if (!std::binary_search(listed.begin(), listed.end(), page) && !file_.IsFree(page)) others.push_back(page);
  if (!others.empty() &&
      (!mapRead || listed.empty() || (core_.Definition().tableType == 'N' && LiveRows(chosen) + LiveRows(others) <= core_.RowCount())))
    chosen.insert(chosen.end(), others.begin(), others.end());
  std::sort(chosen.begin(), chosen.end());
  pagesLost_ = pagesLost_ || !mapRead;
  return chosen;
}

/// A page of which there are two cannot be, where no two rows are equal.
bool DamagedTable::IsCopy(PageNumber page, std::span<const std::byte> bytes, const Visitor& visitor) {
  const bool unequal = std::any_of(core_.Trees().begin(), core_.Trees().end(), [](const auto& tree) { return tree.IsUnique(); });
  if (!unequal || sums_.insert(Mix(bytes.size(), bytes)).second) return false;
  visitor.lostPage({page, -1, "a page of its rows was overwritten by another one of them"});
  pagesLost_ = true;
  return true;
}

void DamagedTable::Walk(const Visitor& visitor) {
  for (const PageNumber page : ChoosePages(visitor)) WalkPage(page, visitor);
  WalkOrphans(visitor);
}

void DamagedTable::WalkPage(PageNumber page, const Visitor& visitor) {
  try {
    const PageRef ref = file_.Pages().Read(page);
    const DataPage data(ref);
    if (IsCopy(page, ref.Bytes(), visitor)) return;
    const bool suspect = IsSuspect(data, ref.Bytes());
    pagesLost_ = pagesLost_ || suspect;
    for (unsigned slot = 0; slot < data.SlotCount() && slot < DataPage::kMaxSlots; ++slot)
      WalkSlot(data, {page, static_cast<std::uint8_t>(slot)}, suspect, visitor);
  } catch (const Error& error) {
    pagesLost_ = true;
    visitor.lostPage({page, -1, error.what()});
  }
}

void DamagedTable::WalkSlot(const DataPage& data, RowId id, bool suspect, const Visitor& visitor) {
  const unsigned flags = data.Slot(id.slot) & DataPage::kDeletedFlags;
  if (flags == DataPage::kMovedFlag) moved_.push_back(id);
  if ((flags & DataPage::kMovedFlag) != 0) return;
  try {
    if (flags == DataPage::kPointerFlag && !pointedAt_.insert(Load32(data.RowBytes(id.slot).data())).second)
      Damaged("Two rows lead to one moved row", id.page, 0);
    if (!core_.ReadRow(id, row_)) Damaged("The row is not there", id.page, 0);
    Visit(id, suspect, visitor);
  } catch (const Error& error) {
    visitor.lostRow({id.page, id.slot, error.what()});
  }
}

/// Rows that have moved and whose pointers went with the pages where they were first.
void DamagedTable::WalkOrphans(const Visitor& visitor) {
  if (!pagesLost_) return;
  for (const RowId id : moved_) {
    if (pointedAt_.count(Pack(id)) != 0) continue;
    try {
      const PageRef ref = file_.Pages().Read(id.page);
      core_.Bind(row_, id, DataPage(ref), ref.Bytes().data(), id.page, id.slot);
      Visit(id, true, visitor);
    } catch (const Error& error) {
      visitor.lostRow({id.page, id.slot, error.what()});
    }
  }
}

void DamagedTable::Visit(RowId shown, bool suspect, const Visitor& visitor) {
  RequireSound(suspect);
  std::vector<bool> unreadable(core_.Stored().size());
  for (std::size_t i = 0; i < core_.Stored().size(); ++i) {
    const auto stored = RowAccess::Stored(row_, i);
    if (!core_.Stored()[i].IsLong() || stored.empty()) continue;
    try {
      RequireLongValue(stored);
    } catch (const Error& error) {
      unreadable[i] = true;
      visitor.lostValue({shown.page, shown.slot, "\"" + core_.Stored()[i].name + "\": " + error.what()});
    }
  }
  visitor.row(row_, unreadable);
}

/// Whether the bytes are those of a row at all: what a part of a page of zeros, or of another page, looks like is none.
void DamagedTable::RequireSound(bool suspect) const {
  const auto shape = RowAccess::ShapeOf(row_);
  const PageNumber page = RowAccess::PageOf(row_);
  const std::uint32_t offset = RowAccess::OffsetOf(row_);
  if (shape.columns == 0) Damaged("The row has no columns", page, offset);
  if (file_.IsCut(page, offset + shape.bytes.size())) Damaged("The row lies behind the end of the file", page, offset);
  const std::size_t head = file_.Space().header.version == 3 ? 1 : 2;
  std::size_t fixedEnd = head;
  bool anything = false;
  for (std::size_t i = 0; i < core_.Stored().size(); ++i) {
    const auto& column = core_.Stored()[i];
    if (column.type == ColumnType::kBoolean) {
      anything = anything || row_.Bool(i);
      continue;
    }
    anything = anything || !row_.IsNull(i);
    (void)RowAccess::Stored(row_, i);
    if (column.IsFixed() && column.number < shape.columns)
      fixedEnd = std::max<std::size_t>(fixedEnd, head + column.fixedOffset + column.length);
  }
  const auto inside = shape.bytes.subspan(head, shape.tableBegin - head);
  if (!anything && std::any_of(inside.begin(), inside.end(), [](std::byte byte) { return byte != std::byte{0}; }))
    Damaged("Every column of the row is null, and its bytes are not", page, offset);
  if (head == 2 && shape.tableBegin != shape.maskBegin) RequireVariablePart(fixedEnd, suspect);
}

/// The ends of the variable columns rise from the end of the fixed part to where their table begins, or near it (Access leaves bytes
/// behind where it shortens a row).
void DamagedTable::RequireVariablePart(std::size_t fixedEnd, bool suspect) const {
  const auto shape = RowAccess::ShapeOf(row_);
  std::size_t before = fixedEnd;
  for (unsigned i = 0; i <= shape.variable; ++i) {
    const std::size_t end = Load16(shape.bytes.data() + shape.maskBegin - 4 - 2u * i);
    if (end < before || end > shape.tableBegin) Damaged("A row's columns overlap", RowAccess::PageOf(row_), RowAccess::OffsetOf(row_));
    before = end;
  }
  if (suspect && before != shape.tableBegin) Damaged("A row ends before its end", RowAccess::PageOf(row_), RowAccess::OffsetOf(row_));
}

/// Every piece is there, is this value's alone, and together they are as long as the row says.
void DamagedTable::RequireLongValue(std::span<const std::byte> stored) {
  const auto definition = LongValueDefinition::Parse(stored, RowAccess::PageOf(row_), RowAccess::OffsetOf(row_));
  using Kind = LongValueDefinition::Kind;
  if (definition.kind == Kind::kInline) return;
  const std::uint32_t number = Load32(stored.data() + 8);
  std::uint64_t total = 0;
  for (PackedPointer where = definition.first; where != 0;) {
    const RowId id = Unpack(where);
    const PageRef ref = file_.Pages().Read(id.page);
    const DataPage data(ref);
    const auto extent = data.Row(id.slot);
    if (data.Owner() != DataPage::kLongValueOwner) Damaged("A long value lies on a page of another kind", id.page, 4);
    if ((data.Slot(id.slot) & DataPage::kDeletedFlags) != 0) Damaged("A long value has been deleted", id.page, extent.offset);
    if (file_.IsCut(id.page, extent.offset + extent.size)) Damaged("A long value lies behind the end of the file", id.page, extent.offset);
    if (!pieces_.insert(where).second) Damaged("A piece of a long value belongs to another one too", id.page, extent.offset);
    if (definition.kind == Kind::kSinglePage) {
      total = extent.size;
      break;
    }
    if (extent.size <= 4) Damaged("A piece of a long value is empty", id.page, extent.offset);
    if (total == 0 && number != 0 && file_.Space().header.version != 3 && Load32(ref.Bytes().data() + 8) != number)
      Damaged("A long value begins on the page of another one", id.page, 8);
    total += extent.size - 4u;
    if (total > definition.length) break;
    where = Load32(ref.Bytes().data() + extent.offset);
  }
  if (total != definition.length)
    throw Error(ErrorCode::kDamaged, "A long value has " + std::to_string(total) + " bytes, not " + std::to_string(definition.length),
                RowAccess::PageOf(row_), RowAccess::OffsetOf(row_));
}

}  // namespace jet

#include <algorithm>
#include <cstring>
#include <random>
#include <utility>

#include "base/Utf8.h"
#include "jet/table/TableSpace.h"
#include "jet/page/ChangeScope.h"
#include "jet/value/ByteOrder.h"
#include "jet/table/Convert.h"
#include "jet/value/Error.h"
#include "jet/table/LongValue.h"
#include "jet/table/References.h"
#include "jet/table/StoredValue.h"
#include "jet/table/TableCore.h"
#include "jet/value/Text.h"
#include "jet/page/UsageMap.h"

namespace jet {
namespace {

constexpr std::size_t kMaxRowSize = 4060;
constexpr std::size_t kPointerSize = 4;
constexpr unsigned kRoomWorthTrying = 256;  // free bytes under which a page is not looked at for new rows
constexpr unsigned kRoomForNothing = 70;    // and under which it is no longer listed, as real files have it
constexpr int kPagesTried = 8;

Guid NewGuid() {
  static thread_local std::mt19937_64 random{std::random_device{}()};
  Guid guid;
  for (auto& byte : guid.bytes) byte = static_cast<std::uint8_t>(random());
  guid.bytes[6] = static_cast<std::uint8_t>((guid.bytes[6] & 0x0F) | 0x40);
  guid.bytes[8] = static_cast<std::uint8_t>((guid.bytes[8] & 0x3F) | 0x80);
  return guid;
}

/// Gives the UTF-8 of a source as UTF-16, whatever way the source cuts it.
class Utf16Source {
 public:
  explicit Utf16Source(ChunkSource& source) : source_(source) {}
  [[nodiscard]] std::string Read() {
    std::byte buffer[8192];
    const std::size_t count = source_.Read(buffer);
    pending_.append(reinterpret_cast<const char*>(buffer), count);
    // An unfinished character waits for its rest.
    const std::size_t whole = pending_.size() - (count == 0 ? 0 : base::BegunCharacter(pending_));
    ended_ = count == 0;
    std::string units = ToUtf16(std::string_view(pending_).substr(0, whole));
    pending_.erase(0, whole);
    if (units.empty()) return units;
    const bool first = !std::exchange(begun_, true);
    if (first) marked_ = units.starts_with("\xFF\xFE");
    return marked_ ? ToMarkedText(std::move(units), first) : units;
  }
  [[nodiscard]] bool Ended() const noexcept { return ended_; }

 private:
  ChunkSource& source_;
  std::string pending_;
  bool ended_ = false;
  bool begun_ = false;
  bool marked_ = false;  ///< the text begins with U+FEFF
};

std::span<const std::byte> AsBytes(const std::string& text) { return std::as_bytes(std::span(text)); }

}  // namespace

// ----- reading

void TableCore::Bind(Row& row, RowId id, const DataPage& data, const std::byte* pageBytes, PageNumber dataPage, unsigned slot) {
  const auto extent = data.Row(slot);
  const std::byte* bytes = pageBytes + extent.offset;
  const auto damaged = [&](const char* text) -> Error { return {ErrorCode::kDamaged, text, dataPage, extent.offset}; };
  const bool jet3 = space.header.version == 3;
  const std::size_t head = jet3 ? 1 : 2;
  if (extent.size < head) throw damaged("A row is too short");
  const unsigned columns = jet3 ? Load8(bytes) : Load16(bytes);
  const std::size_t mask = (columns + 7) / 8;
  if (columns > definition_.maxColumns) throw damaged("A row has more columns than its table");
  if (extent.size < head + mask) throw damaged("A row is too short");
  row.maskOffset_ = static_cast<std::uint16_t>(extent.size - mask);
  row.tableOffset_ = row.maskOffset_;
  row.variableCount_ = 0;
  if (definition_.variableColumns > 0 && columns > firstVariableNumber_) {
    // Jet 3 has one byte for each offset and jumps between them and the count.
    const std::size_t countSize = jet3 ? 1 : 2;
    if (extent.size < head + mask + 2 * countSize) throw damaged("A row is too short");
    const unsigned variable = jet3 ? Load8(bytes + row.maskOffset_ - 1) : Load16(bytes + row.maskOffset_ - 2);
    const std::size_t jumps = jet3 ? (extent.size - 1u) / 256u : 0;
    const std::size_t trailer = countSize * (variable + 2) + jumps;
    if (variable > definition_.variableColumns || trailer + head > row.maskOffset_) throw damaged("A row has impossible variable columns");
    row.variableCount_ = static_cast<std::uint16_t>(variable);
    row.tableOffset_ = static_cast<std::uint16_t>(row.maskOffset_ - trailer);
  }
  row.table_ = this;
  row.id_ = id;
  row.dataPage_ = dataPage;
  row.dataOffset_ = extent.offset;
  row.bytes_ = bytes;
  row.size_ = extent.size;
  row.columnCount_ = static_cast<std::uint16_t>(columns);
}

std::optional<RowId> TableCore::Find(RowId home) {
  Pager& pager = *space.pager;
  if (home.page == 0 || home.page >= pager.PageCount()) return std::nullopt;
  const PageRef ref = pager.Read(home.page);
  if (Load8(ref.Bytes().data()) != 1) return std::nullopt;
  const DataPage data(ref);
  if (data.Owner() != page || home.slot >= data.SlotCount()) return std::nullopt;
  const unsigned flags = data.Slot(home.slot) & DataPage::kDeletedFlags;
  if (flags == 0) return home;
  if (flags != DataPage::kPointerFlag) return std::nullopt;
  const auto pointer = data.RowBytes(home.slot);
  if (pointer.size() < kPointerSize) throw Error(ErrorCode::kDamaged, "The pointer to a moved row is too short", home.page, 0);
  const RowId target = Unpack(Load32(pointer.data()));
  const PageRef targetRef = pager.Read(target.page);
  const DataPage targetData(targetRef);
  if (targetData.Owner() != page || target.slot >= targetData.SlotCount() ||
      (targetData.Slot(target.slot) & DataPage::kDeletedFlags) != DataPage::kMovedFlag)
    throw Error(ErrorCode::kDamaged, "The pointer to a moved row leads nowhere", home.page, data.Row(home.slot).offset);
  return target;
}

bool TableCore::ReadRow(RowId id, Row& row) {
  const auto place = Find(id);
  if (!place) return false;
  row.page_ = space.pager->Read(place->page);
  Bind(row, id, DataPage(row.page_), row.page_.Bytes().data(), place->page, place->slot);
  return true;
}

// ----- cells: what the new row is to hold

std::vector<Assignment>& TableCore::AllColumns(std::span<const Value> values) {
  if (values.size() != stored_.size())
    throw Error(ErrorCode::kTypeMismatch,
                "The table \"" + name + "\" has " + std::to_string(stored_.size()) + " columns, not " + std::to_string(values.size()));
  allColumns_.resize(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) allColumns_[i] = {i, &values[i], nullptr};
  return allColumns_;
}

void TableCore::PrepareCell(std::size_t position, const Assignment& assignment) {
  const Column& column = stored_[position];
  Cell& cell = cells_[position];
  cell.newLong = false;
  cell.value = nullptr;
  cell.state = Cell::State::kNull;
  if (assignment.source != nullptr && assignment.value == nullptr) {
    if (!column.IsLong()) throw Error(ErrorCode::kTypeMismatch, "The column \"" + column.name + "\" does not hold long values");
    for (const auto& tree : trees_)
      if (std::find(tree.columns.begin(), tree.columns.end(), position) != tree.columns.end())
        throw Error(ErrorCode::kUnsupported, "The column \"" + column.name + "\" has an index: its values cannot be written in pieces");
    cell.state = Cell::State::kStored;  // its bytes are stored last, when everything else is known to be right
    return;
  }
  if (column.type == ColumnType::kBoolean) {
    cell.truth = false;
    cell.scratch = Value(false);
    cell.value = &cell.scratch;
    if (assignment.value != nullptr && !assignment.value->IsNull()) {
      cell.value = &ConvertToColumn(*assignment.value, column, cell.scratch);
      cell.truth = cell.value->AsBool();
    }
    cell.state = Cell::State::kStored;
    return;
  }
  if (assignment.value == nullptr || assignment.value->IsNull()) return;
  cell.value = &ConvertToColumn(*assignment.value, column, cell.scratch);
  cell.state = Cell::State::kStored;
  if (!column.IsLong()) StoreValue(*cell.value, column, cell.stored);
}

void TableCore::CheckCell(std::size_t position) {
  const Cell& cell = cells_[position];
  const ColumnDef& column = columns_[position];
  if (column.required && cell.state == Cell::State::kNull && column.type != ColumnType::kBoolean)
    throw Error(ErrorCode::kNullNotAllowed, "The column \"" + column.name + "\" must have a value");
  const bool text = column.type == ColumnType::kText || column.type == ColumnType::kMemo;
  if (text && !column.allowZeroLength && cell.value != nullptr && cell.value->AsText().empty() && definition_.tableType != 'S')
    throw Error(ErrorCode::kZeroLengthNotAllowed, "The column \"" + column.name + "\" does not take an empty text");
}

void TableCore::AppendLongCell(std::size_t position, const Assignment& assignment, LongValueWriter& writer) {
  const Cell& cell = cells_[position];
  const Column& column = stored_[position];
  if (cell.value == nullptr && assignment.source != nullptr) {
    if (column.type == ColumnType::kMemo) {
      Utf16Source source(*assignment.source);
      while (!source.Ended()) writer.Append(AsBytes(source.Read()));
    } else {
      std::byte buffer[8192];
      for (std::size_t count = assignment.source->Read(buffer); count > 0; count = assignment.source->Read(buffer))
        writer.Append({buffer, count});
    }
  } else if (column.type == ColumnType::kMemo) {
    constexpr std::size_t kLongestCompressed = 1024;
    const auto& text = cell.value->AsText();
    writer.Append(AsBytes(ToStoredText(text, (column.extraFlags & 1) != 0 && text.size() <= kLongestCompressed)));
  } else {
    writer.Append(cell.value->AsBytes());
  }
}

void TableCore::StoreLongCell(std::size_t position, const Assignment& assignment, bool allowInline) {
  Cell& cell = cells_[position];
  const Column& column = stored_[position];
  const auto* maps = definition_.FindLongMaps(column.number);
  if (maps == nullptr) throw Error(ErrorCode::kDamaged, "The long column \"" + column.name + "\" has no usage maps", page, 0);
  LongValuePages pages(*space.pager, maps->ownedMap, maps->freeMap);
  LongValueWriter writer(pages, allowInline);
  try {
    AppendLongCell(position, assignment, writer);
    cell.stored = writer.Finish();
  } catch (const Error& error) {
    if (error.Code() == ErrorCode::kLimit) writer.Discard();
    throw;
  }
  cell.newLong = true;
}

void TableCore::StoreLongCells(std::span<const Assignment> assignments, bool allowInline) {
  for (const auto& assignment : assignments) {
    const Cell& cell = cells_[assignment.column];
    if (!stored_[assignment.column].IsLong() || cell.state != Cell::State::kStored) continue;
    if (!cell.newLong) StoreLongCell(assignment.column, assignment, allowInline);
  }
}

void TableCore::FreeLongValue(std::size_t position, std::span<const std::byte> stored) {
  const auto* maps = definition_.FindLongMaps(stored_[position].number);
  if (maps == nullptr || stored.empty()) return;
  LongValuePages(*space.pager, maps->ownedMap, maps->freeMap).Free(LongValueDefinition::Parse(stored, page, 0));
}

void TableCore::FreeNewLongValues() {
  for (std::size_t i = 0; i < cells_.size(); ++i)
    if (std::exchange(cells_[i].newLong, false)) FreeLongValue(i, AsBytes(cells_[i].stored));
}

void TableCore::EncodeRow(Bytes& bytes) {
  const std::size_t columns = definition_.maxColumns;
  const std::size_t variable = definition_.variableColumns;
  const auto bytesOf = [](const Cell& cell) { return cell.state == Cell::State::kKept ? cell.kept : AsBytes(cell.stored); };
  std::size_t dataSize = 0;
  for (const std::size_t position : variableOrder_)
    if (position != kNowhere && cells_[position].state != Cell::State::kNull) dataSize += bytesOf(cells_[position]).size();
  const std::size_t trailer = variable > 0 ? 2 * (variable + 2) : 0;
  const std::size_t mask = (columns + 7) / 8;
  // A row may have to become a pointer one day, on a page that is full by then: none is shorter than that.
  bytes.assign(std::max(2 + fixedSize_ + dataSize + trailer + mask, kPointerSize), std::byte{0});
  std::byte* out = bytes.data();
  Store16(out, static_cast<std::uint16_t>(columns));
  std::byte* maskBytes = out + bytes.size() - mask;
  for (std::size_t i = 0; i < stored_.size(); ++i) {
    const Cell& cell = cells_[i];
    const Column& column = stored_[i];
    const bool set = column.type == ColumnType::kBoolean ? cell.truth : cell.state != Cell::State::kNull;
    if (set) maskBytes[column.number / 8] |= static_cast<std::byte>(1u << (column.number % 8));
    if (column.type == ColumnType::kBoolean || !column.IsFixed() || !set) continue;
    const auto value = bytesOf(cell);
    std::memcpy(out + 2 + column.fixedOffset, value.data(), std::min<std::size_t>(value.size(), column.length));
  }
  if (variable == 0) return;
  std::size_t at = 2 + fixedSize_;
  std::byte* entry = maskBytes - 4;
  Store16(maskBytes - 2, static_cast<std::uint16_t>(variable));
  for (std::size_t i = 0; i < variable; ++i, entry -= 2) {
    Store16(entry, static_cast<std::uint16_t>(at));
    const std::size_t position = variableOrder_[i];
    if (position == kNowhere || cells_[position].state == Cell::State::kNull) continue;
    const auto value = bytesOf(cells_[position]);
    if (!value.empty()) std::memcpy(out + at, value.data(), value.size());
    at += value.size();
  }
  Store16(entry, static_cast<std::uint16_t>(at));
}

void TableCore::EncodeWithLongValues(std::span<const Assignment> assignments) {
  StoreLongCells(assignments, true);
  EncodeRow(encoded_);
  if (encoded_.size() <= kMaxRowSize) return;
  // Long values that stand in the row go to pages of their own; streamed ones are too long to stand there when that matters.
  for (const auto& assignment : assignments) {
    Cell& cell = cells_[assignment.column];
    if (!cell.newLong || cell.value == nullptr || cell.stored.size() <= LongValueDefinition::kSize) continue;
    StoreLongCell(assignment.column, assignment, false);
  }
  EncodeRow(encoded_);
  if (encoded_.size() > kMaxRowSize)
    throw Error(ErrorCode::kLimit, "The row is too long for the table \"" + name + "\": " + std::to_string(encoded_.size()) + " bytes of " +
                                       std::to_string(kMaxRowSize));
}

void TableCore::EncodeOrUndo(std::span<const Assignment> assignments, ChangeScope& scope) {
  try {
    EncodeWithLongValues(assignments);
  } catch (const Error& error) {
    if (error.Code() == ErrorCode::kLimit) {
      FreeNewLongValues();
      scope.Untouched();
    }
    throw;
  }
}

// ----- keys

void TableCore::AppendKeyOf(const Tree& tree, const KeyColumn& part, const Value& value, Bytes& key) const {
  try {
    AppendKey(part, value, key);
  } catch (const Error& error) {
    RefuseKey(tree, error);
  }
}

std::optional<Bytes> TableCore::OtherKeyOf(const Tree& tree, Row& row, std::span<const std::byte> key) {
  std::vector<KeyColumn> parts = tree.keyColumns;
  bool any = false;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (parts[i].order != TextOrder::kGeneral || !stored_[tree.columns[i]].IsText()) continue;
    parts[i].order = TextOrder::kGeneralOnce;
    any = true;
  }
  Bytes other;
  bool anyNull = false;
  if (!any || !KeyOf(tree, parts, row, other, anyNull) || std::equal(other.begin(), other.end(), key.begin(), key.end()))
    return std::nullopt;
  return other;
}

void TableCore::EraseKey(const Tree& tree, Row& row, std::span<const std::byte> key, RowId id) {
  if (tree.tree->Erase(key, id)) return;
  const auto other = OtherKeyOf(tree, row, key);
  if (other && tree.tree->Erase(*other, id)) return;
  throw Error(ErrorCode::kDamaged, "The index \"" + tree.name + "\" does not hold a row of its table", tree.tree->Root(), 0);
}

bool TableCore::KeyOf(const Tree& tree, const std::vector<KeyColumn>& parts, Row& row, Bytes& key, bool& anyNull) {
  key.clear();
  anyNull = false;
  bool allNull = true;
  Value value;
  for (std::size_t i = 0; i < tree.columns.size(); ++i) {
    row.Get(tree.columns[i], value);
    if (value.IsNull())
      anyNull = true;
    else
      allNull = false;
    AppendKeyOf(tree, parts[i], value, key);
  }
  return !(allNull && tree.IgnoresNulls());
}

bool TableCore::KeyOfCells(const Tree& tree, Row* old, Bytes& key, bool& anyNull) {
  static const Value kNull;
  key.clear();
  anyNull = false;
  bool allNull = true;
  Value kept;
  for (std::size_t i = 0; i < tree.columns.size(); ++i) {
    const std::size_t position = tree.columns[i];
    const Cell& cell = cells_[position];
    const Value* value = &kNull;
    if (cell.state == Cell::State::kStored) {
      value = cell.value;
    } else if (cell.state == Cell::State::kKept) {
      old->Get(position, kept);
      value = &kept;
    }
    if (value->IsNull())
      anyNull = true;
    else
      allNull = false;
    if (value->IsNull() && tree.IsRequired())
      throw Error(ErrorCode::kNullNotAllowed,
                  "The column \"" + stored_[position].name + "\" must have a value: the index \"" + tree.name + "\" asks for it");
    AppendKeyOf(tree, tree.keyColumns[i], *value, key);
  }
  if (key.size() > kMaxKeyBytes) throw Error(ErrorCode::kLimit, "The values are too long for the index \"" + tree.name + "\"");
  return !(allNull && tree.IgnoresNulls());
}

void TableCore::Duplicate(const Tree& tree) const {
  throw Error(ErrorCode::kDuplicateKey, "The index \"" + tree.name + "\" of the table \"" + name + "\" already holds these values");
}

// ----- places for rows

void TableCore::NoteRoom(PageNumber number, unsigned freeBytes, unsigned slots) {
  UsageMap map(*space.pager, definition_.freeMap);
  if (freeBytes >= kRoomWorthTrying && slots < DataPage::kMaxSlots)
    map.Add(number);
  else
    map.Remove(number);
}

std::optional<RowId> TableCore::TryPlace(PageNumber candidate, std::span<const std::byte> bytes, std::uint16_t flags) {
  // Rows on a page that is listed as having room but not as the table's would never be found again.
  if (candidate != insertPage_ && !UsageMap(*space.pager, definition_.ownedMap).Contains(candidate)) return std::nullopt;
  {
    const PageRef ref = space.pager->Read(candidate);
    const DataPage data(ref);
    if (data.Owner() != page) throw Error(ErrorCode::kDamaged, "A page listed for the table belongs to another", candidate, 4);
    const unsigned freeBytes = data.FreeBytes();
    if (data.SlotCount() >= DataPage::kMaxSlots || bytes.size() + 2 > freeBytes) {
      if (freeBytes < kRoomWorthTrying || data.SlotCount() >= DataPage::kMaxSlots)
        UsageMap(*space.pager, definition_.freeMap).Remove(candidate);
      return std::nullopt;
    }
  }
  const PageRef ref = space.pager->Edit(candidate);
  DataPageEditor editor(ref);
  const unsigned slot = editor.Add(bytes, flags);
  if (editor.FreeBytes() < kRoomForNothing || editor.SlotCount() >= DataPage::kMaxSlots)
    UsageMap(*space.pager, definition_.freeMap).Remove(candidate);
  return RowId{candidate, static_cast<std::uint8_t>(slot)};
}

RowId TableCore::Place(std::span<const std::byte> bytes, std::uint16_t flags) {
  Pager& pager = *space.pager;
  if (insertPage_ != 0)
    if (const auto id = TryPlace(insertPage_, bytes, flags)) return *id;
  UsageMap freeMap(pager, definition_.freeMap);
  auto candidate = freeMap.NextFrom(0, pager.PageCount());
  for (int tried = 0; candidate && tried < kPagesTried; ++tried) {
    if (*candidate != insertPage_) {
      if (const auto id = TryPlace(*candidate, bytes, flags)) {
        insertPage_ = *candidate;
        return *id;
      }
    }
    candidate = freeMap.NextFrom(*candidate + 1, pager.PageCount());
  }
  const PageRef ref = pager.Allocate();
  DataPageEditor editor = DataPageEditor::Format(ref, page);
  const unsigned slot = editor.Add(bytes, flags);
  UsageMap(pager, definition_.ownedMap).Add(ref.Number());
  if (editor.FreeBytes() >= kRoomForNothing) freeMap.Add(ref.Number());
  insertPage_ = ref.Number();
  return {ref.Number(), static_cast<std::uint8_t>(slot)};
}

void TableCore::RemoveSlot(RowId id) {
  Pager& pager = *space.pager;
  const PageRef ref = pager.Edit(id.page);
  DataPageEditor editor(ref);
  editor.Delete(id.slot);
  if (!editor.Empty()) {
    NoteRoom(id.page, editor.FreeBytes(), editor.SlotCount());
    return;
  }
  UsageMap(pager, definition_.ownedMap).Remove(id.page);
  UsageMap(pager, definition_.freeMap).Remove(id.page);
  pager.Free(id.page);
  if (insertPage_ == id.page) insertPage_ = 0;
}

void TableCore::Replace(RowId home, std::span<const std::byte> bytes) {
  const RowId place = FindLive(home);
  {
    const PageRef ref = space.pager->Edit(place.page);
    DataPageEditor editor(ref);
    if (editor.CanResize(place.slot, bytes.size())) {
      editor.Resize(place.slot, bytes.size());
      std::memcpy(editor.Writable(place.slot).data(), bytes.data(), bytes.size());
      NoteRoom(place.page, editor.FreeBytes(), editor.SlotCount());
      return;
    }
  }
  // The row moves; its home keeps a pointer. A row that moved before leaves its second place and the pointer follows, never a chain.
  const RowId target = Place(bytes, DataPage::kMovedFlag);
  if (place != home) RemoveSlot(place);
  const PageRef ref = space.pager->Edit(home.page);
  DataPageEditor editor(ref);
  if (!editor.CanResize(home.slot, kPointerSize)) throw Error(ErrorCode::kLimit, "The row cannot be moved: its page is full");
  editor.Resize(home.slot, kPointerSize);
  Store32(editor.Writable(home.slot).data(), Pack(target));
  editor.SetFlags(home.slot, DataPage::kPointerFlag);
  NoteRoom(home.page, editor.FreeBytes(), editor.SlotCount());
}

void TableCore::Remove(RowId home) {
  const RowId place = FindLive(home);
  if (place != home) RemoveSlot(place);
  RemoveSlot(home);
}

void TableCore::CountRows(int delta) {
  const PageRef first = space.pager->Edit(page);
  std::byte* field = first.Writable().data() + TableDefinition::kRowCountOffset;
  const std::uint32_t rows = Load32(field);
  if (delta < 0 && rows == 0) return;  // system tables may carry a stale count
  Store32(field, rows + static_cast<std::uint32_t>(delta));
}

void TableCore::CountKeys(std::size_t tree, std::size_t added) {
  if (added == 0) return;
  const std::size_t offset = TableDefinition::kTreeCountsOffset + 12 * tree + 4;
  const PageRef first = space.pager->Edit(page);
  if (offset + 4 > first.Bytes().size()) return;
  std::byte* field = first.Writable().data() + offset;
  Store32(field, Load32(field) + static_cast<std::uint32_t>(added));
}

// ----- insert, update, delete

RowId TableCore::FindLive(RowId home) {
  const std::optional<RowId> place = Find(home);
  if (!place) throw Error(ErrorCode::kDamaged, "A row of the table \"" + name + "\" has no bytes", home.page, 0);
  return *place;
}

RowId TableCore::InsertRow(std::span<const Assignment> assignments) {
  ChangeScope scope(*space.pager);
  Refresh();
  (void)Columns();
  for (auto& cell : cells_) {
    cell.state = Cell::State::kNull;
    cell.truth = false;
    cell.value = nullptr;
    cell.newLong = false;
  }
  for (std::size_t i = 0; i < stored_.size(); ++i)
    if (stored_[i].type == ColumnType::kBoolean) PrepareCell(i, {});
  for (const auto& assignment : assignments) PrepareCell(assignment.column, assignment);

  std::optional<std::int32_t> counter;
  std::optional<std::int32_t> handedOut;
  for (std::size_t i = 0; i < stored_.size(); ++i) {
    Cell& cell = cells_[i];
    if (stored_[i].IsCounter()) {
      const std::int32_t last = LastAutoNumber();
      if (cell.state == Cell::State::kNull) {
        if (last == 0x7FFFFFFF) throw Error(ErrorCode::kLimit, "The counter of the table \"" + name + "\" has reached its end");
        const Value next(last + 1);
        PrepareCell(i, {i, &next, nullptr});
        cell.scratch = next;
        cell.value = &cell.scratch;
        handedOut = last + 1;
      }
      const std::int32_t given = cell.value->AsLong();
      if (given > last) counter = given;
    } else if (stored_[i].MakesGuids() && cell.state == Cell::State::kNull) {
      const Value next(NewGuid());
      PrepareCell(i, {i, &next, nullptr});
      cell.scratch = next;
      cell.value = &cell.scratch;
    }
    CheckCell(i);
  }

  keys_.resize(trees_.size());
  std::uint32_t present = 0;
  std::uint32_t nulls = 0;
  for (std::size_t t = 0; t < trees_.size(); ++t) {
    bool anyNull = false;
    if (KeyOfCells(trees_[t], nullptr, keys_[t], anyNull)) present |= 1u << t;
    if (anyNull) nulls |= 1u << t;
  }
  CheckParents(*this, [&](std::size_t position) { return cells_[position].state == Cell::State::kNull ? nullptr : cells_[position].value; },
               {});

  scope.Touching();
  EncodeOrUndo(assignments, scope);
  const RowId id = Place(encoded_, 0);
  for (std::size_t t = 0; t < trees_.size(); ++t) {
    if ((present >> t & 1) == 0) continue;
    const bool unique = trees_[t].IsUnique() && (nulls >> t & 1) == 0;
    if (!trees_[t].tree->Insert(keys_[t], id, unique)) {
      CountKeys(t, 1);
      continue;
    }
    for (std::size_t undo = 0; undo < t; ++undo)
      if ((present >> undo & 1) != 0) trees_[undo].tree->Erase(keys_[undo], id);
    RemoveSlot(id);
    FreeNewLongValues();
    scope.Untouched();
    Duplicate(trees_[t]);
  }
  CountRows(1);
  if (counter) {
    const PageRef first = space.pager->Edit(page);
    Store32(first.Writable().data() + TableDefinition::kAutoNumberOffset, static_cast<std::uint32_t>(*counter));
  }
  scope.Done();
  if (handedOut) space.lastIdentity = *handedOut;
  return id;
}

/// Until something else is said, the new row holds what the old one holds.
void TableCore::KeepCells() {
  for (std::size_t i = 0; i < cells_.size(); ++i) {
    Cell& cell = cells_[i];
    cell.newLong = false;
    cell.value = nullptr;
    cell.state = Cell::State::kNull;
    cell.truth = stored_[i].type == ColumnType::kBoolean && oldRow_.Bool(i);
    if (stored_[i].type == ColumnType::kBoolean) {
      cell.state = Cell::State::kKept;
      cell.kept = {};
    } else if (!oldRow_.IsNull(i)) {
      const auto place = oldRow_.Locate(i);
      cell.state = Cell::State::kKept;
      cell.kept = {place.data, place.size};
    }
  }
}

void TableCore::UpdateRow(RowId id, std::span<const Assignment> assignments, const Table::RowTest& isMeant) {
  ChangeScope scope(*space.pager);
  Refresh();
  (void)Columns();
  if (!ReadRow(id, oldRow_) || (isMeant && !isMeant(oldRow_))) throw Error(ErrorCode::kNotFound, "The row is no longer there");
  KeepCells();
  std::vector<bool> assigned(cells_.size(), false);
  for (const auto& assignment : assignments) {
    PrepareCell(assignment.column, assignment);
    CheckCell(assignment.column);
    assigned[assignment.column] = true;
  }

  // Only the trees that a changed column takes part in are looked at, and of those only the ones whose key comes out different.
  keys_.resize(trees_.size());
  oldKeys_.resize(trees_.size());
  std::uint32_t changed = 0, present = 0, oldPresent = 0, nulls = 0;
  for (std::size_t t = 0; t < trees_.size(); ++t) {
    const auto& columns = trees_[t].columns;
    if (std::none_of(columns.begin(), columns.end(), [&](std::size_t position) { return assigned[position]; })) continue;
    bool anyNull = false;
    bool ignored = false;
    if (KeyOfCells(trees_[t], &oldRow_, keys_[t], anyNull)) present |= 1u << t;
    if (KeyOf(trees_[t], oldRow_, oldKeys_[t], ignored)) oldPresent |= 1u << t;
    if (anyNull) nulls |= 1u << t;
    if (keys_[t] != oldKeys_[t] || (present >> t & 1) != (oldPresent >> t & 1)) changed |= 1u << t;
  }
  Value kept;
  CheckParents(
      *this,
      [&](std::size_t position) -> const Value* {
        if (cells_[position].state == Cell::State::kNull) return nullptr;
        if (cells_[position].value != nullptr) return cells_[position].value;
        oldRow_.Get(position, kept);
        return &kept;
      },
      assigned);
  ChildWork children = CollectChildren(*this, id, oldRow_, &assigned, [&](std::size_t position) -> const Value* {
    return cells_[position].state == Cell::State::kNull ? nullptr : cells_[position].value;
  });
  std::optional<std::int32_t> counter;
  for (std::size_t i = 0; i < stored_.size(); ++i)
    if (assigned[i] && stored_[i].IsCounter() && cells_[i].value != nullptr && cells_[i].value->AsLong() > LastAutoNumber())
      counter = cells_[i].value->AsLong();

  std::vector<std::pair<std::size_t, std::string>> oldLong;
  for (const auto& assignment : assignments) {
    if (!stored_[assignment.column].IsLong() || oldRow_.IsNull(assignment.column)) continue;
    const auto place = oldRow_.Locate(assignment.column);
    oldLong.emplace_back(assignment.column, std::string(reinterpret_cast<const char*>(place.data), place.size));
  }
  if (!children.changes.empty()) scope.BeginNested();
  scope.Touching();
  // The kept bytes lie in the page that is about to change: everything is encoded before the first byte moves.
  EncodeOrUndo(assignments, scope);
  for (std::size_t t = 0; t < trees_.size(); ++t) {
    if ((changed >> t & 1) == 0) continue;
    if ((oldPresent >> t & 1) != 0) EraseKey(trees_[t], oldRow_, oldKeys_[t], id);
    const bool unique = trees_[t].IsUnique() && (nulls >> t & 1) == 0;
    if ((present >> t & 1) == 0 || !trees_[t].tree->Insert(keys_[t], id, unique)) continue;
    for (std::size_t undo = 0; undo <= t; ++undo) {
      if ((changed >> undo & 1) == 0) continue;
      if (undo < t && (present >> undo & 1) != 0) trees_[undo].tree->Erase(keys_[undo], id);
      if ((oldPresent >> undo & 1) != 0) (void)trees_[undo].tree->Insert(oldKeys_[undo], id, false);
    }
    FreeNewLongValues();
    scope.Untouched();
    Duplicate(trees_[t]);
  }
  oldRow_.page_ = {};
  Replace(id, encoded_);
  for (const auto& [position, stored] : oldLong) FreeLongValue(position, AsBytes(stored));
  if (counter) {
    const PageRef first = space.pager->Edit(page);
    Store32(first.Writable().data() + TableDefinition::kAutoNumberOffset, static_cast<std::uint32_t>(*counter));
  }
  FollowChildren(space, children);
  scope.Done();
}

void TableCore::DeleteRow(RowId id, const Table::RowTest& isMeant) {
  ChangeScope scope(*space.pager);
  Refresh();
  if (!ReadRow(id, oldRow_) || (isMeant && !isMeant(oldRow_))) throw Error(ErrorCode::kNotFound, "The row is no longer there");
  ChildWork children = CollectChildren(*this, id, oldRow_, nullptr, {});
  if (!children.changes.empty()) scope.BeginNested();
  scope.Touching();
  keys_.resize(trees_.size());
  for (std::size_t t = 0; t < trees_.size(); ++t) {
    bool anyNull = false;
    if (!KeyOf(trees_[t], oldRow_, keys_[t], anyNull)) continue;
    EraseKey(trees_[t], oldRow_, keys_[t], id);
  }
  std::vector<std::pair<std::size_t, std::string>> oldLong;
  for (std::size_t i = 0; i < stored_.size(); ++i) {
    if (!stored_[i].IsLong() || oldRow_.IsNull(i)) continue;
    const auto place = oldRow_.Locate(i);
    oldLong.emplace_back(i, std::string(reinterpret_cast<const char*>(place.data), place.size));
  }
  oldRow_.page_ = {};
  Remove(id);
  for (const auto& [position, stored] : oldLong) FreeLongValue(position, AsBytes(stored));
  CountRows(-1);
  FollowChildren(space, children);
  scope.Done();
}

std::vector<RowId> TableCore::Homes() {
  Pager& pager = *space.pager;
  std::vector<RowId> homes;
  for (const PageNumber number : UsageMap(pager, definition_.ownedMap).Pages(pager.PageCount())) {
    const PageRef ref = pager.Read(number);
    const DataPage data(ref);
    for (unsigned slot = 0; slot < data.SlotCount(); ++slot)
      if ((data.Slot(slot) & DataPage::kMovedFlag) == 0) homes.push_back({number, static_cast<std::uint8_t>(slot)});
  }
  return homes;
}

void TableCore::CompleteRows() {
  unsigned needed = 0;  // columns that a row must have for the last one of fixed length to have its place
  std::size_t fixed = 0;
  for (const auto& column : stored_) {
    if (!column.IsFixed()) continue;
    needed = column.number + 1u;
    ++fixed;
  }
  // Only where another one of fixed length has been dropped.
  if (static_cast<std::size_t>(definition_.maxColumns - definition_.variableColumns) == fixed) return;
  for (const RowId home : Homes()) {
    if (!ReadRow(home, oldRow_) || oldRow_.columnCount_ >= needed || oldRow_.size_ < kPointerSize) continue;
    KeepCells();
    EncodeRow(encoded_);
    oldRow_.page_ = {};
    if (encoded_.size() <= kMaxRowSize) Replace(home, encoded_);
  }
}

void TableCore::RewriteRows() {
  // Rows written when the table had no variable column end with the mask right behind the fixed part; they get an offset table.
  Pager& pager = *space.pager;
  Bytes row;
  for (const RowId home : Homes()) {
    const RowId place = FindLive(home);
    {
      const PageRef ref = pager.Read(place.page);
      const auto old = DataPage(ref).RowBytes(place.slot);
      const std::size_t oldColumns = old.size() < 2 ? 0 : Load16(old.data());
      const std::size_t oldMask = (oldColumns + 7) / 8;
      if (old.size() < 2 + oldMask || oldColumns > definition_.maxColumns)
        throw Error(ErrorCode::kDamaged, "A row is too short", place.page, 0);
      const std::size_t fixed = old.size() - 2 - oldMask;
      const std::size_t mask = (definition_.maxColumns + 7u) / 8u;
      const std::size_t variable = definition_.variableColumns;
      const std::size_t data = 2 + std::max(fixed, fixedSize_);
      row.assign(data + 2 * (variable + 2) + mask, std::byte{0});
      Store16(row.data(), definition_.maxColumns);
      std::memcpy(row.data() + 2, old.data() + 2, fixed);
      for (std::size_t i = 0; i <= variable; ++i) Store16(row.data() + data + 2 * i, static_cast<std::uint16_t>(data));
      Store16(row.data() + data + 2 * (variable + 1), static_cast<std::uint16_t>(variable));
      std::memcpy(row.data() + row.size() - mask, old.data() + old.size() - oldMask, oldMask);
    }
    Replace(home, row);
  }
}

}  // namespace jet

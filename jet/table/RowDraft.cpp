#include "jet/table/RowDraft.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "jet/page/Format.h"
#include "jet/page/Pager.h"
#include "jet/table/Convert.h"
#include "jet/table/LongValue.h"
#include "jet/table/RowAccess.h"
#include "jet/table/StoredValue.h"
#include "jet/table/TextSource.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"
#include "jet/value/Text.h"

namespace jet {
namespace {

std::span<const std::byte> AsBytes(const std::string& text) { return std::as_bytes(std::span(text)); }

}  // namespace

void RowDraft::Reset() {
  cells_.clear();
  cells_.resize(layout_.columns.size());
}

// ----- what the columns are to hold

void RowDraft::SetTruth(Cell& cell, const TableDefinition::Column& column, const Value* value) {
  cell.truth = false;
  cell.scratch = Value(false);
  cell.value = &cell.scratch;
  if (value != nullptr && !value->IsNull()) {
    cell.value = &ConvertToColumn(*value, column, cell.scratch);
    cell.truth = cell.value->AsBool();
  }
  cell.state = State::kStored;
}

void RowDraft::Clear() {
  for (std::size_t i = 0; i < cells_.size(); ++i) {
    Cell& cell = cells_[i];
    cell.state = State::kNull;
    cell.truth = false;
    cell.value = nullptr;
    cell.newLong = false;
    if (layout_.columns[i].type == ColumnType::kBoolean) SetTruth(cell, layout_.columns[i], nullptr);
  }
}

void RowDraft::Keep(const Row& old) {
  for (std::size_t i = 0; i < cells_.size(); ++i) {
    Cell& cell = cells_[i];
    const bool isTruth = layout_.columns[i].type == ColumnType::kBoolean;
    cell.newLong = false;
    cell.value = nullptr;
    cell.truth = isTruth && old.Bool(i);
    cell.kept = isTruth ? std::span<const std::byte>{} : RowAccess::Stored(old, i);
    cell.state = isTruth || cell.kept.data() != nullptr ? State::kKept : State::kNull;
  }
}

void RowDraft::Assign(std::size_t position, const Assignment& assignment) {
  const auto& column = layout_.columns[position];
  Cell& cell = cells_[position];
  cell.newLong = false;
  cell.value = nullptr;
  cell.state = State::kNull;
  if (assignment.source != nullptr && assignment.value == nullptr) {
    if (!column.IsLong()) throw Error(ErrorCode::kTypeMismatch, "The column \"" + column.name + "\" does not hold long values");
    cell.state = State::kStored;  // its bytes are stored last, when everything else is known to be right
    return;
  }
  if (column.type == ColumnType::kBoolean) return SetTruth(cell, column, assignment.value);
  if (assignment.value == nullptr || assignment.value->IsNull()) return;
  cell.value = &ConvertToColumn(*assignment.value, column, cell.scratch);
  cell.state = State::kStored;
  if (!column.IsLong()) StoreValue(*cell.value, column, cell.stored);
}

void RowDraft::AssignOwn(std::size_t position, const Value& value) {
  Assign(position, {position, &value, nullptr});
  Cell& cell = cells_[position];
  cell.scratch = value;
  cell.value = &cell.scratch;
}

void RowDraft::Check(std::size_t position, const ColumnDef& rules) const {
  const Cell& cell = cells_[position];
  if (rules.required && cell.state == State::kNull && rules.type != ColumnType::kBoolean)
    throw Error(ErrorCode::kNullNotAllowed, "The column \"" + rules.name + "\" must have a value");
  const bool text = rules.type == ColumnType::kText || rules.type == ColumnType::kMemo;
  if (text && !rules.allowZeroLength && cell.value != nullptr && cell.value->AsText().empty() && definition_.tableType != 'S')
    throw Error(ErrorCode::kZeroLengthNotAllowed, "The column \"" + rules.name + "\" does not take an empty text");
}

// ----- long values

void RowDraft::AppendLong(std::size_t position, const Assignment& assignment, LongValueWriter& writer) {
  const Cell& cell = cells_[position];
  const auto& column = layout_.columns[position];
  if (cell.value == nullptr && assignment.source != nullptr) {
    if (column.type == ColumnType::kMemo) {
      TextSource source(*assignment.source, column);
      while (!source.Ended()) writer.Append(AsBytes(source.Read()));
    } else {
      std::byte buffer[8192];
      for (std::size_t count = assignment.source->Read(buffer); count > 0; count = assignment.source->Read(buffer))
        writer.Append({buffer, count});
    }
  } else if (column.type == ColumnType::kMemo) {
    constexpr std::size_t kLongestCompressed = 1024;
    const auto& text = cell.value->AsText();
    writer.Append(AsBytes(StoredText(text, column, (column.extraFlags & 1) != 0 && text.size() <= kLongestCompressed)));
  } else {
    writer.Append(cell.value->AsBytes());
  }
}

void RowDraft::StoreLong(std::size_t position, const Assignment& assignment, bool allowInline) {
  Cell& cell = cells_[position];
  const auto& column = layout_.columns[position];
  const auto* maps = definition_.FindLongMaps(column.number);
  if (maps == nullptr)
    throw Error(ErrorCode::kDamaged, "The long column \"" + column.name + "\" has no usage maps", definition_.pages.front(), 0);
  LongValuePages pages(pager_, maps->ownedMap, maps->freeMap);
  LongValueWriter writer(pages, allowInline);
  try {
    AppendLong(position, assignment, writer);
    cell.stored = writer.Finish();
  } catch (const Error& error) {
    if (error.Code() == ErrorCode::kLimit) writer.Discard();
    throw;
  }
  cell.newLong = true;
}

void RowDraft::FreeLongValue(std::size_t position, std::span<const std::byte> stored) {
  const auto* maps = definition_.FindLongMaps(layout_.columns[position].number);
  if (maps == nullptr || stored.empty()) return;
  LongValuePages(pager_, maps->ownedMap, maps->freeMap).Free(LongValueDefinition::Parse(stored, definition_.pages.front(), 0));
}

void RowDraft::FreeNewLongValues() {
  for (std::size_t i = 0; i < cells_.size(); ++i)
    if (std::exchange(cells_[i].newLong, false)) FreeLongValue(i, AsBytes(cells_[i].stored));
}

// ----- bytes

std::span<const std::byte> RowDraft::BytesOf(const Cell& cell) noexcept {
  return cell.state == State::kKept ? cell.kept : AsBytes(cell.stored);
}

void RowDraft::EncodeFixed(std::byte* row, std::byte* mask) const {
  for (std::size_t i = 0; i < cells_.size(); ++i) {
    const Cell& cell = cells_[i];
    const auto& column = layout_.columns[i];
    const bool set = column.type == ColumnType::kBoolean ? cell.truth : cell.state != State::kNull;
    if (set) mask[column.number / 8] |= static_cast<std::byte>(1u << (column.number % 8));
    if (column.type == ColumnType::kBoolean || !column.IsFixed() || !set) continue;
    const auto value = BytesOf(cell);
    std::memcpy(row + layout_.CountSize() + column.fixedOffset, value.data(), std::min<std::size_t>(value.size(), column.length));
  }
}

void RowDraft::EncodeVariable(std::byte* row, std::byte* mask) {
  std::size_t at = layout_.CountSize() + layout_.fixedSize;
  offsets_.clear();
  for (const std::size_t position : layout_.variableOrder) {
    offsets_.push_back(at);
    if (position == RowLayout::kNowhere || cells_[position].state == State::kNull) continue;
    const auto value = BytesOf(cells_[position]);
    if (!value.empty()) std::memcpy(row + at, value.data(), value.size());
    at += value.size();
  }
  offsets_.push_back(at);
  layout_.StoreTrailer(mask, layout_.JumpsOf(encoded_.size()), offsets_);
}

void RowDraft::EncodeCells() {
  std::size_t dataSize = 0;
  for (const std::size_t position : layout_.variableOrder)
    if (position != RowLayout::kNowhere && cells_[position].state != State::kNull) dataSize += BytesOf(cells_[position]).size();
  const std::size_t count = layout_.CountSize();
  const std::size_t maskSize = (layout_.columnCount + std::size_t{7}) / 8;
  const std::size_t rowSize = layout_.RowSize(count + layout_.fixedSize + dataSize, maskSize);
  encoded_.assign(rowSize, std::byte{0});
  std::byte* row = encoded_.data();
  std::byte* mask = row + encoded_.size() - maskSize;
  layout_.StoreCount(row, layout_.columnCount);
  EncodeFixed(row, mask);
  if (layout_.variableCount > 0) EncodeVariable(row, mask);
}

std::size_t RowDraft::LongestRow() const noexcept { return Format::Of(pager_.PageSize()).longestRow; }

bool RowDraft::EncodeKept() {
  EncodeCells();
  return encoded_.size() <= LongestRow();
}

void RowDraft::Encode(std::span<const Assignment> assignments) {
  for (const auto& assignment : assignments) {
    const Cell& cell = cells_[assignment.column];
    if (!layout_.columns[assignment.column].IsLong() || cell.state != State::kStored) continue;
    if (!cell.newLong) StoreLong(assignment.column, assignment, true);
  }
  EncodeCells();
  if (encoded_.size() <= LongestRow()) return;
  // Long values that stand in the row go to pages of their own; streamed ones are too long to stand there when that matters.
  for (const auto& assignment : assignments) {
    const Cell& cell = cells_[assignment.column];
    if (!cell.newLong || cell.value == nullptr || cell.stored.size() <= LongValueDefinition::kSize) continue;
    StoreLong(assignment.column, assignment, false);
  }
  EncodeCells();
  if (encoded_.size() > LongestRow())
    throw Error(ErrorCode::kLimit, "The row is too long for the table \"" + name_ + "\": " + std::to_string(encoded_.size()) +
                                       " bytes of " + std::to_string(LongestRow()));
}

}  // namespace jet

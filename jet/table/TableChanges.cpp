// Inserting, updating and deleting rows.
#include <algorithm>
#include <random>

#include "jet/page/ChangeScope.h"
#include "jet/table/References.h"
#include "jet/table/RowAccess.h"
#include "jet/table/TableCore.h"
#include "jet/table/TableSpace.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"

namespace jet {
namespace {

Guid NewGuid() {
  static thread_local std::mt19937_64 random{std::random_device{}()};
  Guid guid;
  for (auto& byte : guid.bytes) byte = static_cast<std::uint8_t>(random());
  guid.bytes[6] = static_cast<std::uint8_t>((guid.bytes[6] & 0x0F) | 0x40);
  guid.bytes[8] = static_cast<std::uint8_t>((guid.bytes[8] & 0x3F) | 0x80);
  return guid;
}

}  // namespace

// ----- what the new row is to hold

std::vector<Assignment>& TableCore::AllColumns(std::span<const Value> values) {
  if (values.size() != layout_.columns.size())
    throw Error(ErrorCode::kTypeMismatch, "The table \"" + name + "\" has " + std::to_string(layout_.columns.size()) + " columns, not " +
                                              std::to_string(values.size()));
  allColumns_.resize(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) allColumns_[i] = {i, &values[i], nullptr};
  return allColumns_;
}

void TableCore::RefuseInPieces(std::size_t position) const {
  for (const auto& tree : trees_)
    if (std::find(tree.columns.begin(), tree.columns.end(), position) != tree.columns.end())
      throw Error(ErrorCode::kUnsupported,
                  "The column \"" + layout_.columns[position].name + "\" has an index: its values cannot be written in pieces");
}

void TableCore::Assign(const Assignment& assignment) {
  draft_.Assign(assignment.column, assignment);
  if (assignment.source != nullptr && assignment.value == nullptr) RefuseInPieces(assignment.column);
}

void TableCore::Count(std::size_t position, Counted& counted) {
  const std::int32_t last = LastAutoNumber();
  if (draft_.StateOf(position) == RowDraft::State::kNull) {
    if (last == 0x7FFFFFFF) throw Error(ErrorCode::kLimit, "The counter of the table \"" + name + "\" has reached its end");
    draft_.AssignOwn(position, Value(last + 1));
    counted.handedOut = last + 1;
  }
  const std::int32_t given = draft_.ValueOf(position)->AsLong();
  if (given > last) counted.highest = given;
}

/// What the table itself gives to a new row; then the row is as its columns' rules want it.
TableCore::Counted TableCore::FillIn() {
  Counted counted;
  for (std::size_t i = 0; i < layout_.columns.size(); ++i) {
    const Column& column = layout_.columns[i];
    if (column.IsCounter())
      Count(i, counted);
    else if (column.MakesGuids() && draft_.StateOf(i) == RowDraft::State::kNull)
      draft_.AssignOwn(i, Value(NewGuid()));
    draft_.Check(i, columns_[i]);
  }
  return counted;
}

std::vector<bool> TableCore::AssignAll(std::span<const Assignment> assignments) {
  std::vector<bool> assigned(layout_.columns.size(), false);
  for (const auto& assignment : assignments) {
    Assign(assignment);
    draft_.Check(assignment.column, columns_[assignment.column]);
    assigned[assignment.column] = true;
  }
  return assigned;
}

/// A number given to a counter that is higher than any before.
std::optional<std::int32_t> TableCore::HighestNumber(const std::vector<bool>& assigned) {
  std::optional<std::int32_t> highest;
  for (std::size_t i = 0; i < layout_.columns.size(); ++i) {
    if (!assigned[i] || !layout_.columns[i].IsCounter()) continue;
    const Value* value = draft_.ValueOf(i);
    if (value != nullptr && value->AsLong() > LastAutoNumber()) highest = value->AsLong();
  }
  return highest;
}

void TableCore::CheckParentsOfChange(const std::vector<bool>& assigned) {
  Value kept;
  const auto valueOf = [&](std::size_t position) -> const Value* {
    if (draft_.StateOf(position) == RowDraft::State::kNull) return nullptr;
    if (const Value* value = draft_.ValueOf(position)) return value;
    oldRow_.Get(position, kept);
    return &kept;
  };
  CheckParents(*this, valueOf, assigned);
}

void TableCore::EncodeOrUndo(std::span<const Assignment> assignments, ChangeScope& scope) {
  try {
    draft_.Encode(assignments);
  } catch (const Error& error) {
    if (error.Code() == ErrorCode::kLimit) {
      draft_.FreeNewLongValues();
      scope.Untouched();
    }
    throw;
  }
}

// ----- what the definition counts

void TableCore::CountRows(int delta) {
  const PageRef first = space.pager->Edit(page);
  std::byte* field = first.Writable().data() + space.Layout().rowCount;
  const std::uint32_t rows = Load32(field);
  if (delta < 0 && rows == 0) return;  // system tables may carry a stale count
  Store32(field, rows + static_cast<std::uint32_t>(delta));
}

void TableCore::StoreAutoNumber(std::int32_t number) {
  const PageRef first = space.pager->Edit(page);
  Store32(first.Writable().data() + space.Layout().lastCounter, static_cast<std::uint32_t>(number));
}

// ----- the old row

void TableCore::ReadForChange(RowId id, const Table::RowTest& isMeant) {
  if (!ReadRow(id, oldRow_) || (isMeant && !isMeant(oldRow_))) throw Error(ErrorCode::kNotFound, "The row is no longer there");
}

void TableCore::KeepLong(std::size_t position, std::vector<OldLong>& values) const {
  if (!layout_.columns[position].IsLong()) return;
  const auto stored = RowAccess::Stored(oldRow_, position);
  if (stored.data() == nullptr) return;
  values.push_back({position, std::string(reinterpret_cast<const char*>(stored.data()), stored.size())});
}

void TableCore::FreeLongs(const std::vector<OldLong>& values) {
  for (const auto& [position, stored] : values) draft_.FreeLongValue(position, std::as_bytes(std::span(stored)));
}

// ----- insert, update, delete

RowId TableCore::InsertRow(std::span<const Assignment> assignments) {
  ChangeScope scope(*space.pager);
  Refresh();
  (void)Columns();
  ace_.RequireInsertable(assignments);
  draft_.Clear();
  for (const auto& assignment : assignments) Assign(assignment);
  const auto complexNumber = ace_.Number(draft_);
  const Counted counted = FillIn();
  const KeyBits keys = MakeKeys();
  CheckParents(*this, [&](std::size_t position) { return draft_.ValueOf(position); }, {});

  scope.Touching();
  EncodeOrUndo(assignments, scope);
  const RowId id = places_.Add(draft_.Encoded());
  EnterKeys(keys, id, scope);
  CountRows(1);
  if (counted.highest) StoreAutoNumber(*counted.highest);
  if (complexNumber) ace_.StoreNumber(*complexNumber);
  scope.Done();
  if (counted.handedOut) space.lastIdentity = *counted.handedOut;
  return id;
}

void TableCore::UpdateRow(RowId id, std::span<const Assignment> assignments, const Table::RowTest& isMeant) {
  ChangeScope scope(*space.pager);
  Refresh();
  (void)Columns();
  ReadForChange(id, isMeant);
  ace_.RequireUpdatable(assignments, oldRow_);
  draft_.Keep(oldRow_);
  const std::vector<bool> assigned = AssignAll(assignments);
  const KeyBits keys = CompareKeys(assigned);
  CheckParentsOfChange(assigned);
  const ChildWork children = CollectChildren(*this, id, oldRow_, &assigned, [&](std::size_t position) { return draft_.ValueOf(position); });
  const auto highest = HighestNumber(assigned);
  std::vector<OldLong> oldLong;
  for (const auto& assignment : assignments) KeepLong(assignment.column, oldLong);

  if (!children.changes.empty()) scope.BeginNested();
  scope.Touching();
  // The kept bytes lie in the page that is about to change: everything is encoded before the first byte moves.
  EncodeOrUndo(assignments, scope);
  ReplaceKeys(keys, id, scope);
  oldRow_.page_ = {};
  places_.Replace(id, draft_.Encoded());
  FreeLongs(oldLong);
  if (highest) StoreAutoNumber(*highest);
  FollowChildren(space, children);
  scope.Done();
}

void TableCore::DeleteRow(RowId id, const Table::RowTest& isMeant) {
  ChangeScope scope(*space.pager);
  Refresh();
  ReadForChange(id, isMeant);
  const ChildWork children = CollectChildren(*this, id, oldRow_, nullptr, {});
  const auto values = ace_.ValuesOf(oldRow_);
  // An index whose keys cannot be made refuses the row before anything has changed.
  std::vector<bool> present(trees_.size());
  keys_.resize(trees_.size());
  for (std::size_t t = 0; t < trees_.size(); ++t) {
    bool anyNull = false;
    present[t] = KeyOf(trees_[t], oldRow_, keys_[t], anyNull);
  }
  if (!children.changes.empty() || !values.empty()) scope.BeginNested();
  scope.Touching();
  for (std::size_t t = 0; t < trees_.size(); ++t)
    if (present[t]) EraseKey(trees_[t], oldRow_, keys_[t], id);
  std::vector<OldLong> oldLong;
  for (std::size_t i = 0; i < layout_.columns.size(); ++i) KeepLong(i, oldLong);
  oldRow_.page_ = {};
  places_.Remove(id);
  FreeLongs(oldLong);
  CountRows(-1);
  ace_.Delete(values);
  FollowChildren(space, children);
  scope.Done();
}

}  // namespace jet

#include <algorithm>
#include <iterator>
#include <utility>

#include "ado/Errors.h"
#include "ado/RecordsetState.h"
#include "runtime/Text.h"

// What a recordset does with cursors whose rows can be reached in any order.
namespace tamlo::ado {
namespace {

constexpr int kPositionBits = 32;

[[noreturn]] void RefuseArguments() { throw AdoError(runtime::kBadArguments); }

}  // namespace

bool RecordsetState::StandOn(std::size_t place) {
  const std::size_t row = PositionOf(place);
  if (rows->gone.contains(row)) return false;
  rows->user = this;
  if (Rowset().MoveTo(row)) return true;
  rows->gone.insert(row);
  return false;
}

bool RecordsetState::Forward(std::size_t place) {
  atInserted = false;
  for (; place < Shown(); ++place) {
    if (!StandOn(place)) continue;
    ordinal = place;
    position = Position::kOnRow;
    return true;
  }
  StandAt(Position::kAtEnd);
  return false;
}

/// Where no row is left the end is the beginning too.
void RecordsetState::StandAt(Position end) {
  position = end;
  atInserted = false;
  empty = RecordCount() == 0;
}

bool RecordsetState::Backward(std::size_t place) {
  atInserted = false;
  while (place-- > 0) {
    if (!StandOn(place)) continue;
    ordinal = place;
    position = Position::kOnRow;
    return true;
  }
  StandAt(Position::kBefore);
  return false;
}

void RecordsetState::FindOrdinal() {
  if (const auto told = Rowset().Position()) {
    ordinal = *told;
  } else {
    (void)Forward(0);
  }
}

std::size_t RecordsetState::Ordinal() {
  // Deleted before any row was read, it may have no place of its own: then it stands behind the last one.
  if (std::exchange(atInserted, false) && !view) ordinal = Rowset().RowCount() - (position == Position::kDeleted ? 0 : 1);
  return ordinal;
}

void RecordsetState::SeeRollbacks() {
  const std::uint64_t now = Rowset().Rollbacks();
  if (now == rows->rollbacks) return;
  rows->rollbacks = now;
  rows->gone.clear();
}

void RecordsetState::RequireScroll() {
  if (!scrolls) throw AdoError(runtime::kOperationNotSupported);
  SeeRollbacks();
  if (edit != adEditAdd) EnsureFirst();
}

bool RecordsetState::MoveLast() {
  RequireScroll();
  Update();
  if (Backward(Shown())) {
    empty = false;
    return true;
  }
  position = Position::kAtEnd;
  empty = true;
  return false;
}

void RecordsetState::MovePrevious() {
  RequireScroll();
  Update();
  if (position == Position::kBefore || empty) throw AdoError(runtime::kNoCurrentRecord);
  (void)Backward(position == Position::kAtEnd ? Shown() : Ordinal());
}

void RecordsetState::MoveOn(std::int64_t steps) {
  if (steps < 0) throw AdoError(runtime::kOperationNotSupported);
  if (steps == 0) Update();
  for (; steps > 0; --steps) {
    MoveNext();
    if (position == Position::kAtEnd) return;
  }
}

bool RecordsetState::Skip(std::size_t& next, std::uint64_t left, bool up) {
  const std::size_t count = Shown();
  for (; left > 0 && (up ? next < count : next > 0); up ? ++next : --next) {
    if (rows->gone.empty()) {
      const std::uint64_t step = std::min<std::uint64_t>(left, up ? count - next : next);
      next = up ? next + step - 1 : next - step + 1;
      left -= step;
    } else if (!rows->gone.contains(PositionOf(up ? next : next - 1))) {
      --left;
    }
  }
  return left == 0;
}

void RecordsetState::Move(std::int64_t steps, const Variant& start) {
  const bool fromHere = start.IsEmpty() || start.IsNull();
  if (!scrolls) {
    if (!fromHere) throw AdoError(runtime::kOperationNotSupported);
    return MoveOn(steps);
  }
  RequireScroll();
  Update();
  if (!fromHere) Bookmark(start);
  if (steps == 0) return;
  const bool atThatEnd = steps > 0 ? position == Position::kAtEnd : position == Position::kBefore;
  if (empty || atThatEnd) throw AdoError(runtime::kNoCurrentRecord);
  const bool up = steps > 0;
  // The places between which it stands: of the ends, those beyond the rows.
  std::size_t next = position == Position::kBefore ? 0 : position == Position::kAtEnd ? Shown() : up ? Ordinal() + 1 : Ordinal();
  const std::uint64_t count = up ? static_cast<std::uint64_t>(steps) : 0 - static_cast<std::uint64_t>(steps);
  if (!Skip(next, count - 1, up)) return StandAt(up ? Position::kAtEnd : Position::kBefore);
  (void)(up ? Forward(next) : Backward(next));
}

std::int64_t RecordsetState::RecordCount() {
  if (!scrolls) return -1;
  SeeRollbacks();
  const std::size_t shown = Shown();
  const auto isGone = [this](std::size_t row) { return rows->gone.contains(row); };
  const auto lost = view ? static_cast<std::size_t>(std::count_if(view->begin(), view->end(), isGone)) : rows->gone.size();
  return static_cast<std::int64_t>(shown - lost);
}

std::int64_t RecordsetState::AbsolutePosition() {
  if (!scrolls || edit == adEditAdd) return adPosUnknown;
  EnsureFirst();
  if (empty) return adPosUnknown;
  if (position == Position::kBefore) return adPosBOF;
  if (position == Position::kAtEnd) return adPosEOF;
  if (position != Position::kOnRow) return adPosUnknown;
  const std::size_t place = Ordinal();
  std::int64_t before = 0;
  if (!view) {
    before = std::distance(rows->gone.begin(), rows->gone.lower_bound(place));
  } else if (!rows->gone.empty()) {
    const auto isGone = [this](std::size_t row) { return rows->gone.contains(row); };
    before = std::count_if(view->begin(), view->begin() + static_cast<std::ptrdiff_t>(place), isGone);
  }
  return static_cast<std::int64_t>(place) + 1 - before;
}

void RecordsetState::AbsolutePosition(std::int64_t number) {
  RequireScroll();
  Update();
  if (number < 1 || number > RecordCount()) RefuseArguments();
  std::size_t place = 0;
  if (rows->gone.empty()) {
    place = static_cast<std::size_t>(number - 1);
  } else {
    for (;; ++place) {
      if (!rows->gone.contains(PositionOf(place)) && --number == 0) break;
    }
  }
  (void)Forward(place);
}

Variant RecordsetState::Bookmark() {
  RequireScroll();
  RequireRow();
  if (edit == adEditAdd) throw AdoError(runtime::kNoCurrentRecord);
  return (rows->serial << kPositionBits) + static_cast<std::int64_t>(PositionOf(Ordinal()));
}

std::size_t RecordsetState::OrdinalOf(const Variant& bookmark) {
  const auto* const number = bookmark.If<std::int64_t>();
  if (number == nullptr || *number >> kPositionBits != rows->serial) RefuseArguments();
  const auto row = static_cast<std::size_t>(*number & ((std::int64_t{1} << kPositionBits) - 1));
  if (row >= Rowset().RowCount()) RefuseArguments();
  if (!view) return row;
  const auto found = std::find(view->begin(), view->end(), row);
  if (found == view->end()) throw AdoError(runtime::kNoCurrentRecord);
  return static_cast<std::size_t>(found - view->begin());
}

void RecordsetState::Bookmark(const Variant& bookmark) {
  RequireScroll();
  Update();
  const std::size_t place = OrdinalOf(bookmark);
  const bool hadRow = position == Position::kOnRow;
  const std::size_t before = hadRow ? Ordinal() : 0;
  if (!StandOn(place)) {
    if (hadRow && !StandOn(before)) position = Position::kDeleted;
    throw AdoError(runtime::kNoCurrentRecord);
  }
  ordinal = place;
  atInserted = false;
  position = Position::kOnRow;
}

void RecordsetState::LoseRow() {
  if (scrolls) rows->gone.insert(PositionOf(Ordinal()));
  position = Position::kDeleted;
}

void RecordsetState::Requery() {
  Update();
  // Rows of no connection have nothing to be read from, and what waits would be lost.
  if (!connection || (rows->local != nullptr && rows->local->HasChanges())) throw AdoError(runtime::kIllegalOperation);
  LetGo();
  try {
    if (!OpenRowset()) throw AdoError(runtime::kObjectClosed);
    for (Field& field : fields) field.owner_ = this;
    position = Position::kUnread;
    empty = atInserted = read = false;
    view.reset();
    ReadWhereEager();
    group = adFilterNone;
    if (!filter.empty() || !sort.empty()) {
      RequireScroll();
      RebuildView(filter, sort, group);
      (void)MoveFirst();
    }
  } catch (...) {
    LetGo();
    std::erase(connection->recordsets, this);
    throw;
  }
}

}  // namespace tamlo::ado

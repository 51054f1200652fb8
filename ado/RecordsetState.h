#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

#include "ado/ConnectionState.h"
#include "ado/LocalRowset.h"
#include "ado/Provider.h"
#include "ado/Recordset.h"

namespace tamlo::ado {

struct RecordsetState;

/// The rows of one opening, and what the recordsets that show them know of them together: one, or several that are clones of each other.
struct OpenRows {
  std::unique_ptr<ProviderRowset> rowset;
  LocalRowset* local = nullptr;          // the same, where it is one
  const RecordsetState* user = nullptr;  // on whose current row it stands
  std::int64_t serial = 0;               // of this opening, in bookmarks
  std::set<std::size_t> gone;            // positions of rows that were found to be gone
  std::uint64_t rollbacks = 0;           // of the rowset, when it was last looked
};

/// An open recordset: the provider's rowset, where it stands and what is being edited. Its address is known to its fields and to the
/// connection, so it does not move.
///
/// Of a cursor that scrolls the rows have positions, the provider's own, from 0. What is shown of them, in which order, is a list of positions
/// (view), or all of them in theirs. An ordinal is a place in what is shown.
struct RecordsetState {
  enum class Position { kUnread, kBefore, kOnRow, kDeleted, kAtEnd };
  using Pending = std::variant<Variant, ChunkSource>;

  /// Without a rowset when the statement, which was run, gives none.
  RecordsetState(std::shared_ptr<ConnectionState> owner, RowsetRequest asked);
  /// Of rows that belong to no connection.
  explicit RecordsetState(std::vector<FieldInfo> described);
  /// A clone: the rows of another one, which scrolls.
  RecordsetState(RecordsetState& other, LockType lock);
  ~RecordsetState();
  RecordsetState(const RecordsetState&) = delete;
  RecordsetState& operator=(const RecordsetState&) = delete;

  /// Lets the rowset go, with whatever edit is pending; the object stays as the memory of a closed recordset.
  void Close() noexcept;
  /// Takes the fields of an earlier opening over, so that they go on living.
  void TakeFields(RecordsetState& before);
  /// Executes the query at once where its rows are to be those of this moment.
  void ReadWhereEager();
  /// Reads the first row when none was asked for yet.
  void EnsureFirst();
  /// Error 3704 when closed, 3021 unless there is a current row or a new one being filled.
  void RequireRow();
  /// False when there is no row.
  bool MoveFirst();
  void MoveNext();
  /// Error 3251 unless rows can be written.
  void RequireUpdatable() const;
  void Assign(std::size_t field, Pending value);
  void Update();
  void CancelUpdate() noexcept;
  void Delete();
  void Requery();
  /// Reads the current row anew, or only what is below a change of it that waits. False when it is gone.
  bool Refresh(bool keepChange);

  /// Belongs to that connection from now on, or to none: then the rows are kept here.
  void Connect(std::shared_ptr<ConnectionState> to);
  /// Writes the changes that wait. Error 3251 where none do.
  void UpdateBatch();
  void CancelBatch();
  [[nodiscard]] RecordStatus Status();

  /// Error 3251 unless the cursor scrolls; reads the first row.
  void RequireScroll();
  bool MoveLast();
  void MovePrevious();
  void Move(std::int64_t steps, const Variant& start);
  [[nodiscard]] std::int64_t RecordCount();
  [[nodiscard]] std::int64_t AbsolutePosition();
  void AbsolutePosition(std::int64_t number);
  [[nodiscard]] Variant Bookmark();
  void Bookmark(const Variant& bookmark);
  void Filter(const std::string& criteria, FilterGroup wanted);
  void Sort(const std::string& fields);

  [[nodiscard]] std::size_t FieldNamed(const std::string& name) const;
  [[nodiscard]] const FieldInfo& Info(std::size_t field) const;

  [[nodiscard]] Variant Value(std::size_t field) {
    const bool asRead = rows && rows->user == this && position == Position::kOnRow && edit == adEditNone && field < infos.size();
    return asRead ? rows->rowset->Value(field) : ValueInEdit(field);
  }
  [[nodiscard]] Variant ValueInEdit(std::size_t field);
  [[nodiscard]] Variant OriginalValue(std::size_t field);
  [[nodiscard]] std::size_t ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity);

  [[nodiscard]] bool IsOpen() const noexcept { return rows != nullptr; }
  [[nodiscard]] ProviderRowset& Rowset() const noexcept { return *rows->rowset; }

  std::shared_ptr<ConnectionState> connection;  // null of rows that belong to none
  RowsetRequest request;
  std::shared_ptr<OpenRows> rows;                       // null when closed
  std::vector<FieldInfo> infos;                         // a copy: fields describe themselves also once the rowset is gone
  std::deque<Field> fields;                             // at least as many; those behind are of an earlier opening
  std::unordered_map<std::string, std::size_t> byName;  // by upper-cased name; the first of equal names
  Position position = Position::kUnread;
  bool empty = false;  // no row was ever found: then the end is the beginning too
  bool read = false;   // a row was asked for
  bool writable = false;
  EditMode edit = adEditNone;
  std::vector<std::optional<Pending>> pending;  // by field
  std::vector<std::size_t> pendingOffset;       // by field: how far a pending long value was read

  bool scrolls = false;
  std::size_t ordinal = 0;  // of the current row, or of the deleted one, of cursors that scroll
  bool atInserted = false;  // the current row was just added: the last one, whose ordinal is not looked for before it is needed
  std::optional<std::vector<std::size_t>> view;  // positions by ordinal
  std::string filter;
  FilterGroup group = adFilterNone;
  std::string sort;

 private:
  /// Opens what was asked for; false when the statement gives no rows.
  bool OpenRowset();
  void Hold(std::unique_ptr<ProviderRowset> opened);
  void LetGo() noexcept;
  /// Where a clone has moved the rowset away it goes back to this one's row. True when it was away.
  bool Regain();
  /// The current row was found to be gone.
  void LoseRow();
  [[nodiscard]] LocalRowset& Local() const;
  /// The rowset that writes the waiting changes of rows which are kept here; null where they only become the rows.
  [[nodiscard]] std::unique_ptr<ProviderRowset> OpenTarget() const;
  void Describe();
  /// Of a cursor that goes forward only.
  void MoveOn(std::int64_t steps);
  /// The place behind so many rows that are there, beginning at next; false when there are fewer.
  [[nodiscard]] bool Skip(std::size_t& next, std::uint64_t left, bool up);
  void RebuildView(const std::string& criteria, const std::string& order, FilterGroup wanted);
  [[nodiscard]] std::size_t Shown() { return view ? view->size() : Rowset().RowCount(); }
  [[nodiscard]] std::size_t PositionOf(std::size_t place) const { return view ? (*view)[place] : place; }
  [[nodiscard]] bool StandOn(std::size_t place);
  /// Stands on the first row from place on that is there, going up or down; else past that end.
  bool Forward(std::size_t place);
  bool Backward(std::size_t place);
  void StandAt(Position end);
  void FindOrdinal();
  /// Rows that were gone may be back after a rollback.
  void SeeRollbacks();
  [[nodiscard]] std::size_t Ordinal();
  [[nodiscard]] std::size_t OrdinalOf(const Variant& bookmark);
};

}  // namespace tamlo::ado

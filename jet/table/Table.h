#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "jet/table/Definitions.h"
#include "jet/page/PageStore.h"
#include "jet/table/Row.h"

namespace jet {

class TableCore;

/// Gives the bytes of a long value piece by piece. Memo texts are given as UTF-8; a character may be cut between two pieces.
class ChunkSource {
 public:
  virtual ~ChunkSource() = default;
  /// Fills the buffer as far as there is something; 0 = end.
  [[nodiscard]] virtual std::size_t Read(std::span<std::byte> buffer) = 0;
};

/// A new value for one column: a value, or a source when the column is long (memo, long binary).
struct Assignment {
  std::size_t column = 0;         ///< position in Columns()
  const Value* value = nullptr;   ///< not owned
  ChunkSource* source = nullptr;  ///< not owned; used when value is null
};

/// Walks all rows in the order in which they lie in the file. Rows inserted meanwhile may or may not be met; rows deleted meanwhile are not.
/// From its making to its end it keeps other processes from writing; Rest lets them.
class ScanCursor {
 public:
  ScanCursor(ScanCursor&&) noexcept;
  ScanCursor& operator=(ScanCursor&&) noexcept;
  ~ScanCursor();
  /// Moves to the first or next row; false after the last one.
  bool Next();
  /// The row stood on; its columns are decoded when asked for.
  [[nodiscard]] Row& Current() noexcept;
  [[nodiscard]] RowId Id() const noexcept;
  /// Back to before the first row.
  void Rewind();
  /// Back to behind a row that was stood on before, whether it is still there or not.
  void GoBehind(RowId id);
  /// Lets other processes write until the next step, which then goes on behind the row stood on, in what is there by then. The current row
  /// stays readable as it was read, but for its long values: whoever wants those reads the row again.
  void Rest() noexcept;

 private:
  friend class Table;
  struct State;
  explicit ScanCursor(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

/// One table of an open database; belongs to the Database. Positions of columns and indexes count from 0 and change with the definition.
/// Columns are in the order of their numbers, that is of their creation.
class Table {
 public:
  explicit Table(std::unique_ptr<TableCore> core);
  ~Table();
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  [[nodiscard]] const std::string& Name() const noexcept;
  [[nodiscard]] PageNumber DefinitionPage() const noexcept;
  [[nodiscard]] const std::vector<ColumnDef>& Columns();
  [[nodiscard]] const std::vector<IndexDef>& Indexes();
  /// Without regard to case; nothing when there is none.
  [[nodiscard]] std::optional<std::size_t> FindColumn(std::string_view name);
  /// The same for a column that the table must have, as those of system tables. Errors: kDamaged.
  [[nodiscard]] std::size_t ColumnAt(std::string_view name);
  [[nodiscard]] std::optional<std::size_t> FindIndex(std::string_view name);
  /// Position of the primary key's index.
  [[nodiscard]] std::optional<std::size_t> PrimaryKey();

  /// Number of rows as the definition counts them.
  [[nodiscard]] std::uint32_t RowCount();
  /// Last counter value handed out, 0 when none.
  [[nodiscard]] std::int32_t LastAutoNumber();

  /// Inserts a row: one value per column. Null for an auto-number column takes the next number; a number given there is kept.
  /// Values are converted to the column's type where that loses nothing but decimals (Row::Get tells how they read back).
  /// Errors: kDuplicateKey, kNullNotAllowed, kZeroLengthNotAllowed, kValueTooLong, kTypeMismatch, kLimit (row too long), kReadOnly,
  /// kUnsupported (an index whose order is not known).
  RowId Insert(std::span<const Value> values);
  /// The same with only some columns given; the others are null (auto-number: the next number).
  RowId Insert(std::span<const Assignment> assignments);
  /// The identities of the rows that Insert makes from now on, in their order; the list grows as long as the caller holds it. What a rollback
  /// takes back stays in it.
  [[nodiscard]] std::shared_ptr<const std::vector<RowId>> WatchInserts();
  /// Whether a row is still the one that the caller means: the identity of a deleted row may go to a new one.
  using RowTest = std::function<bool(Row&)>;

  /// Changes some columns of a row; the identity stays. Errors as Insert, and kNotFound when there is no such row or isMeant, asked when
  /// nobody else can change the row any more, says that it is another one.
  void Update(RowId id, std::span<const Assignment> assignments, const RowTest& isMeant = {});
  /// Changes all columns.
  void Update(RowId id, std::span<const Value> values);
  /// Errors: kNotFound as Update, kUnsupported, kReadOnly.
  void Delete(RowId id, const RowTest& isMeant = {});

  /// Reads the row into the reusable object; false when there is no live row of that identity.
  [[nodiscard]] bool Read(RowId id, Row& row);
  /// All columns of the row; nothing when there is no live row of that identity.
  [[nodiscard]] std::optional<std::vector<Value>> Read(RowId id);

  /// A walk over all rows. The projection is a promise of which columns will be asked for (empty: any).
  [[nodiscard]] ScanCursor Scan(std::span<const std::size_t> projection = {});

  /// First row whose key equals the values (a leading part of the index' columns); nothing when there is none.
  /// Text is compared as the index orders it, that is without regard to case.
  [[nodiscard]] std::optional<RowId> Seek(std::size_t index, std::span<const Value> key);

  /// The engine's own parts work on this; not for callers.
  [[nodiscard]] TableCore& Core() noexcept { return *core_; }

 private:
  std::unique_ptr<TableCore> core_;
  std::weak_ptr<std::vector<RowId>> inserts_;
};

}  // namespace jet

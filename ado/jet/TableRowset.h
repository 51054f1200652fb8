#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ado/Provider.h"
#include "ado/jet/JetConnection.h"
#include "ado/jet/RowSets.h"
#include "ado/jet/RowWriter.h"
#include "jet/table/IndexCursor.h"
#include "jet/sql/Session.h"

namespace tamlo::ado::jetprovider {

/// All rows of one table, opened table-direct: in the order of the file, or of the index that was chosen for Seek. Every row is read from
/// the table when it is reached, whatever the type of the cursor; rows deleted meanwhile are skipped. A walk (from MoveFirst or Seek on)
/// gives no row twice because this program has moved it, and only that of a dynamic cursor gives rows that this program adds meanwhile.
class TableRowset final : public ProviderRowset {
 public:
  TableRowset(JetConnection& connection, std::shared_ptr<const jet::sql::EngineTable> table, CursorType cursor);

  [[nodiscard]] const std::vector<FieldInfo>& Fields() const override { return fields_; }
  bool MoveFirst() override;
  bool MoveNext() override;
  [[nodiscard]] Variant Value(std::size_t field) override;
  std::size_t ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) override;
  /// As those of QueryRowset.
  [[nodiscard]] Variant Converted(std::size_t field, const Variant& value) override { return writer_.Converted(field, value); }
  bool Refresh() override;
  [[nodiscard]] bool CanUpdate() const override { return !table_->database->ReadOnly(); }
  void Insert(std::span<const Assignment> values) override;
  void Update(std::span<const Assignment> values) override;
  void Delete() override;
  [[nodiscard]] bool CanSeek() const override { return true; }
  bool UseIndex(const std::string& name) override;
  bool Seek(std::span<const Variant> key, SeekOption option) override;

 private:
  /// Lets others write once the block of rows is read.
  struct AtRest {
    TableRowset& rowset;
    ~AtRest();
  };

  /// A row that was read before it is reached: its place in the walk, its short values, and of the long ones that are not very long those in
  /// columns that were asked for before; the others are Empty.
  struct AheadRow {
    jet::RowId id;
    std::vector<std::byte> key;  // of the index' entry
    std::vector<Variant> values;
  };
  /// Rows read under one lock. They count as long as nobody has changed anything since: then the walk goes back to behind the row stood on.
  struct Ahead {
    std::vector<AheadRow> rows;
    std::size_t next = 0;
    bool ended = false;      // the walk has met the end behind them
    bool failed = false;     // the row behind them could not be read
    std::size_t wanted = 1;  // one at first, so that asking for one costs one
    std::uint64_t version = 0;
    std::uint64_t changes = 0;
    void Clear() {
      rows.clear();
      next = 0;
      ended = failed = false;
    }
  };

  bool Advance();
  /// Stands on the next row of those read ahead.
  bool StandAhead();
  bool StandNowhere();
  /// Reads on behind the row stood on; false when there is none.
  bool ReadAhead();
  void GoBehindTheLast();
  void KeepAhead(jet::RowId id);
  /// The values of row_ but the long ones.
  void ReadShort(std::vector<Variant>& values);
  /// Its long values that are to be read ahead.
  void HoldLong(std::vector<Variant>& values);
  /// Whether a long value of the current row stands in values_ as it is in the file.
  [[nodiscard]] bool IsHeld(std::size_t field);
  /// Forgets where the walk is and what it has given; others begin behind it.
  void BeginWalk();
  /// Reads the current row again when something was rolled back since the last look; error 3021 when it is gone by that.
  void SeeRollbacks();
  bool Take(jet::RowId id);
  /// Whether the row still has the key that was read, or all the short values where the table has no key.
  [[nodiscard]] jet::Table::RowTest IsMeant();
  /// The same for reading more of the row: without a key, values differ only when others have changed something since.
  [[nodiscard]] jet::Table::RowTest IsStillRead();
  /// Whether the columns to be changed hold what was read of them; long values that were not read, or are long, count as unchanged.
  [[nodiscard]] jet::Table::RowTest IsUnchanged(std::span<const Assignment> values);
  bool SeekRow(const std::vector<jet::Value>& key, SeekOption option);
  /// Puts the walk of the index on the current row, so that MoveNext goes on behind it.
  void WalkFrom(jet::RowId id);

  std::shared_ptr<const jet::sql::EngineTable> table_;
  RowWriter writer_;
  std::vector<FieldInfo> fields_;
  std::vector<std::size_t> columns_;
  bool adds_;                    // rows that this program adds are given too
  VisitedRows visited_;          // by the walk
  NewRows added_;                // since it began
  std::uint64_t walkBegan_ = 0;  // the connection's changes then
  std::uint64_t rollbacks_ = 0;
  bool gone_ = false;  // the current row is, by a rollback
  std::optional<std::size_t> index_;
  std::optional<jet::ScanCursor> scan_;
  std::optional<jet::IndexCursor> walk_;
  std::optional<jet::RowId> id_;
  std::vector<Variant> values_;
  std::vector<bool> asked_;  // long values of any row that were read by who uses this
  std::vector<bool> seen_;   // a long value that was read of the current row and stands in values_
  std::vector<std::unique_ptr<jet::LongValueReader>> readers_;
  std::vector<std::size_t> chunkAt_;
  jet::Row row_;
  Ahead ahead_;
  bool inserted_ = false;
  std::uint64_t version_ = 0;  // of the file's pages when the row was read
  JetConnection& connection_;
};

}  // namespace tamlo::ado::jetprovider

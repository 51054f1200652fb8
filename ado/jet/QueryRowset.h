#pragma once

#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "ado/Provider.h"
#include "ado/RowStore.h"
#include "ado/jet/JetConnection.h"
#include "ado/jet/RowSets.h"
#include "ado/jet/RowWriter.h"
#include "jet/sql/Session.h"
#include "runtime/Error.h"

namespace tamlo::ado::jetprovider {

/// The rows of a query.
///
/// Static ones are found and kept by Fix. Forward-only ones come as the query gives them; before this connection changes something that the
/// query reads, what it has not given yet is read and kept (another program's changes are met in what is not read ahead). A keyset's rows
/// are found by Fix, which keeps their identities: each is read from its table when it is reached, a row that is gone, or whose key another
/// program has changed, is skipped, one that is added later, but through the recordset itself, is not met. A dynamic cursor finds its rows
/// as it goes and reads them from their tables; it gives no row twice because this program has moved it in the order that is walked.
///
/// All can be written when the query's rows are rows of local tables. Keyset and static cursors can be moved to any row; the former are
/// static ones where the rows of the query are none of tables. Between two calls nothing is locked. Values of expressions are those of the
/// moment when the row was found, in a keyset too.
class QueryRowset final : public ProviderRowset, private UnreadCopy {
 public:
  QueryRowset(JetConnection& connection, std::unique_ptr<jet::sql::Query> query, const RowsetRequest& request);
  ~QueryRowset() override;
  QueryRowset(const QueryRowset&) = delete;
  QueryRowset& operator=(const QueryRowset&) = delete;

  /// Finds the rows of a static cursor or of a keyset, which are then those of this moment; nothing for the others, or when it is done.
  void Fix();

  [[nodiscard]] const std::vector<FieldInfo>& Fields() const override { return fields_; }
  bool MoveFirst() override;
  bool MoveNext() override;
  [[nodiscard]] Variant Value(std::size_t field) override;
  std::size_t ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) override;
  [[nodiscard]] bool CanScroll() const override { return kind_ == Kind::kStatic || kind_ == Kind::kKeyset; }
  [[nodiscard]] std::size_t RowCount() override;
  bool MoveTo(std::size_t position) override;
  /// The position of the current row of a cursor that scrolls.
  [[nodiscard]] std::optional<std::size_t> Position() const override {
    return CanScroll() && next_ > 0 ? std::optional(next_ - 1) : std::nullopt;
  }
  [[nodiscard]] std::uint64_t Rollbacks() const noexcept override { return connection_.Rollbacks(); }
  /// A value as the field will hold it. Errors 3421 for one that its type cannot hold, -2147217887 for one that does not fit.
  [[nodiscard]] Variant Converted(std::size_t field, const Variant& value) override;
  /// Reads the current row anew; false when it is gone. Error 3251 where the cursor does not know the rows of its tables.
  bool Refresh() override;
  [[nodiscard]] bool CanUpdate() const override { return updatable_; }
  void Insert(std::span<const Assignment> values) override;
  void Update(std::span<const Assignment> values) override;
  void Delete() override;

 private:
  enum class Kind { kForward, kStatic, kKeyset, kDynamic };

  void Settle() noexcept override;
  [[nodiscard]] bool Reads(const jet::sql::EngineTable& table) const override;

  [[nodiscard]] bool IsLive() const noexcept { return kind_ == Kind::kKeyset || kind_ == Kind::kDynamic; }
  /// Whether the current row is a kept one.
  [[nodiscard]] bool IsKept() const noexcept { return kind_ == Kind::kStatic || (settled_ && !inserted_); }
  /// Whether the current row is read from its table when it is asked for.
  [[nodiscard]] bool IsInTable() const noexcept { return IsLive() || inserted_; }
  [[nodiscard]] std::size_t Place() const noexcept { return next_ - 1; }

  bool Advance();
  bool AdvanceInQuery();
  /// Stands on that row of a static cursor or keyset; false when it is gone.
  bool Stand(std::size_t position);
  /// Takes the values of the rows that ids_ names; false when one is gone, or isMeant (of a source, with the row in row_) says that it is
  /// another one.
  template <typename Test>
  bool TakeRow(Test isMeant);
  bool TakeAny();
  /// The row that a dynamic cursor's query stands on.
  bool TakeFound();
  /// The same from the query, where nothing was changed since it has read the row.
  void TakeAsRead();
  bool TakeMember(std::size_t position);
  void TakeInserted(jet::RowId id);
  void TakeUpdated();
  [[nodiscard]] bool IsMember(std::size_t position, std::size_t source);
  /// Keeps the row on which the query stands, or, of a keyset, its identity.
  void Keep();
  void KeepMember();
  void ForgetRows();
  void ForgetPieces();
  /// Reads again what may have been rolled back since the last look.
  void SeeRollbacks();
  /// Of a row that this cursor has written itself in a transaction.
  void KeepAgain(std::size_t position);
  /// A kept row as the tables have it now, or gone.
  void RefreshKept(std::size_t position);
  void NoteTouched();
  /// That row with the columns as the tables have them; nothing when one of its rows is gone.
  [[nodiscard]] std::optional<std::vector<Variant>> AsInTable(const RowIds& ids, std::vector<Variant> row);
  /// The current row of a cursor that keeps its rows; a value that could not be read is its error.
  [[nodiscard]] const std::vector<Variant>& KeptRow();
  [[nodiscard]] const Variant& KeptValue(std::size_t field);
  /// Error 3021 without a current row; what was read of it stands in values_ afterwards.
  void RequireChangeable();

  [[nodiscard]] bool IsLong(std::size_t field) const;
  [[nodiscard]] std::unique_ptr<jet::LongValueReader> OpenLong(std::size_t field);
  [[nodiscard]] const jet::sql::EngineTable& SourceTable(std::size_t source) const;
  RowWriter& Writer(std::size_t source);
  /// Whether the row of that source still has the key that was read, or all the short values that were where the key was not.
  [[nodiscard]] jet::Table::RowTest IsMeant(std::size_t source);
  /// The same for reading more of the row: without a key, values differ only when others have changed something since.
  [[nodiscard]] jet::Table::RowTest IsStillRead(std::size_t source);
  /// Whether the columns to be changed hold what was read of them; long values that were not read, or are long, count as unchanged.
  [[nodiscard]] jet::Table::RowTest IsUnchanged(std::span<const Assignment> values);

  JetConnection& connection_;
  std::unique_ptr<jet::sql::Query> query_;
  Kind kind_;
  bool updatable_ = false;
  std::vector<FieldInfo> fields_;
  std::vector<std::size_t> columns_;      // position in its table of each field
  std::vector<std::size_t> expressions_;  // the fields that are no column's
  RowIds ids_;                            // of the current row
  std::vector<Variant> values_;           // of the current row of a live cursor, long values only where seen_
  std::vector<bool> seen_;                // a long value that was read of the current row
  std::vector<std::uint64_t> versions_;   // of each source's pages when the row was read

  std::vector<Variant> keeping_;  // the row that goes into kept_
  RowStore kept_;                 // rows of a static cursor, the rest of a settled one, the expressions of a keyset
  MemberList members_;            // what they are made of, where that is needed
  std::map<std::pair<std::size_t, std::size_t>, runtime::Error> refused_;  // values of kept rows that could not be read, by row and field
  std::set<std::size_t> touched_;                                          // kept rows that were written in a transaction
  std::vector<NewRows> added_;                                             // to each table of a keyset since it was found
  std::vector<std::uint64_t> fixedAt_;                                     // versions of each table's pages then
  std::vector<std::vector<std::size_t>> keys_;                             // columns of each table's key
  std::size_t next_ = 0;       // position of the row after the current one, among kept rows or members
  bool fixed_ = false;         // the rows of a static cursor or keyset were found
  bool settled_ = false;       // of a forward-only cursor: the rest stands in kept_
  std::exception_ptr unread_;  // why the rest of it could not be kept whole

  VisitedRows visited_;          // of a dynamic cursor
  std::uint64_t walkBegan_ = 0;  // the connection's changes when the walk began
  bool standing_ = false;        // on a row
  bool inserted_ = false;        // on a row of its own making, that is none of the query or of kept_
  bool gone_ = false;            // the row stood on is gone by a rollback
  std::uint64_t rollbacks_ = 0;
  std::vector<std::unique_ptr<RowWriter>> writers_;
  std::vector<std::unique_ptr<jet::LongValueReader>> readers_;
  std::vector<std::size_t> chunkAt_;  // bytes given of a long value
  jet::Row row_;
};

}  // namespace tamlo::ado::jetprovider

#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "ado/Provider.h"
#include "ado/RowStore.h"
#include "ado/odbc/rows/RowReader.h"
#include "ado/odbc/rows/RowWriter.h"
#include "ado/odbc/statement/Statement.h"
#include "ado/odbc/values/CommandParameters.h"

namespace tamlo::ado::odbc {

/// A cursor over a query or a table. The query is prepared and described when the cursor is made and executed when its first row is asked
/// for; a statement without rows has no fields, and has run. Static cursors, which read all rows at once, and all but forward-only ones on
/// the client's side, keep the rows that they have read, beyond 64 MB in a temporary file, so that MoveFirst shows the same rows again; the
/// others execute anew. A row that cannot be kept is an error, and the next call tries to keep it again. Rows are written by statements of
/// their own on the base table.
class OdbcRowset final : public ProviderRowset {
 public:
  OdbcRowset(std::shared_ptr<Session> session, const RowsetRequest& request);

  [[nodiscard]] const std::vector<FieldInfo>& Fields() const override { return fields_; }
  bool MoveFirst() override;
  bool MoveNext() override;
  [[nodiscard]] bool CanScroll() const override { return keepsRows_; }
  [[nodiscard]] std::size_t RowCount() override;
  bool MoveTo(std::size_t position) override;
  [[nodiscard]] std::optional<std::size_t> Position() const override;
  /// Errors of Encode as those of an assignment.
  [[nodiscard]] Variant Converted(std::size_t field, const Variant& value) override;
  bool Refresh() override;
  [[nodiscard]] Variant Value(std::size_t field) override;
  std::size_t ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) override;

  [[nodiscard]] bool CanUpdate() const override { return writer_.has_value(); }
  void Insert(std::span<const Assignment> values) override;
  void Update(std::span<const Assignment> values) override;
  void Delete() override;

 private:
  using Row = std::vector<Variant>;

  /// What was written into a row since it was read. The backend may have made something else of it: another type, other decimals,
  /// defaults; its values are read back when they are asked for.
  struct Changes {
    std::vector<std::optional<Variant>> written;  // as it was given
    std::vector<bool> pieces;                     // given in pieces
    bool inserted = false;
    std::optional<RowWriter::Counter> counter;  // that the backend gave to an inserted row, once asked for
    bool counterAsked = false;
    std::optional<Row> asStored;  // once read back

    [[nodiscard]] bool Touches(std::size_t field) const { return written[field] || pieces[field]; }
  };
  /// What a kept row has besides the values that were read of it.
  struct Mark {
    std::unique_ptr<Changes> changes;
    bool gone = false;  // deleted by this cursor, or found to be
  };

  void Describe();
  void ExecuteQuery();
  void CheckColumns();
  void PrepareReading();
  void BindParameters();
  [[nodiscard]] bool HasColumnsOfATable() const;
  bool Advance();
  void LeaveRow();
  void KeepCurrentRow();
  void ReadToTheEnd();
  void ForgetRows() noexcept;
  void TakeInsertedRow(std::unique_ptr<Changes> inserted);
  [[nodiscard]] bool StandOnNextKept(std::size_t from);
  [[nodiscard]] bool IsKept() const;
  [[nodiscard]] std::size_t KeptCount() const;
  [[nodiscard]] std::size_t Place(std::size_t position) const;
  /// The values of a kept row; good until the next one is asked for.
  [[nodiscard]] const Row& Kept(std::size_t position) { return rows_.At(Place(position)); }
  [[nodiscard]] bool IsGone(std::size_t position) const;
  [[nodiscard]] Changes* CurrentChanges() const;
  [[nodiscard]] std::unique_ptr<Changes>& ChangesToWrite();
  [[nodiscard]] Variant Stored(std::size_t field);
  void ReadBack(Changes& changes);
  /// The value by which the current row is found.
  [[nodiscard]] Variant OldValue(std::size_t field);
  /// What was read of a field of the current row, if it was.
  [[nodiscard]] std::optional<Variant> AtHand(std::size_t field);
  [[nodiscard]] RowWriter::RowImage OldRow();
  [[nodiscard]] bool MayHaveCounter(const Changes& changes) const;
  void AskForCounter(Changes& changes);
  void Remember(std::span<const Assignment> values, bool inserted);
  std::size_t ChunkOf(std::size_t field, std::byte* buffer, std::size_t capacity);

  std::shared_ptr<Session> session_;
  Statement statement_;
  BoundTexts bound_;  // the statement, and literals taken out of it
  std::vector<ado::Parameter> values_;
  std::unique_ptr<ParameterSet> parameters_;
  std::string sql_;
  ReadMode mode_ = ReadMode::kFast;
  std::vector<ColumnDescription> columns_;
  std::vector<FieldInfo> fields_;
  std::optional<RowReader> reader_;
  std::optional<RowWriter> writer_;
  bool isSingle_ = false;     // may be sent again when the server has undone it
  bool moreResults_ = false;  // those behind the rows are still to be walked through
  bool described_ = false;
  bool executed_ = false;
  bool fresh_ = false;  // executed, and no row fetched yet
  bool keepsRows_ = false;
  bool static_ = false;
  bool exhausted_ = false;
  RowStore rows_;                      // kept ones
  std::optional<std::size_t> hole_;    // one of them that is none of the cursor's: those behind it stand one place later
  std::map<std::size_t, Mark> marks_;  // by position; of few rows
  std::size_t row_ = 0;                // position of the current kept one
  Row read_;                           // the row that is being kept
  bool unkept_ = false;                // the reader stands on a row that is still to be kept
  bool inserted_ = false;              // the current row is the one that was just inserted
  std::unique_ptr<Changes> changes_;   // of a current row that is not kept
  std::size_t chunkField_ = SIZE_MAX;
  std::size_t chunkOffset_ = 0;
  Variant chunkValue_;  // read in pieces
};

}  // namespace tamlo::ado::odbc

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "ado/Provider.h"
#include "ado/odbc/rows/ColumnArray.h"
#include "ado/odbc/statement/Statement.h"
#include "ado/odbc/values/ParameterShape.h"

namespace tamlo::ado::odbc {

/// Writes rows in the batches that the driver does best (see DriverFacts): arrays of parameters, one statement with
/// many rows, an array of values for each column, or row by row.
/// A batch is one transaction (a savepoint inside the caller's). When it fails, or the driver's account of it is in doubt, it is undone and its
/// rows are sent in halves, at last one by one; the error then names the row and the rows behind it stay held back for the next Flush.
/// One that the server undid for another connection's sake is sent again as it is (see Resend).
class BatchInsert final : public ProviderBulkInsert {
 public:
  /// owner stands before the table unless it is blank.
  BatchInsert(std::shared_ptr<Session> session, const std::string& table, std::vector<std::string> columns, const std::string& owner);

  void Add(std::span<const Variant> row) override;
  void Flush() override;
  [[nodiscard]] std::int64_t RefusedRow() const override { return refused_; }
  [[nodiscard]] StoredRows Stored() const override;
  void RowsBefore(std::int64_t rows) override { before_ = rows; }

 private:
  struct Column {
    std::string name;
    ParameterShape shape;
    bool hasDefault = false;
    bool left = false;            // to its default, in the rows held back
    std::size_t stride = 0;       // bytes of one slot
    std::vector<std::byte> data;  // one slot for each row of a batch
    std::vector<std::ptrdiff_t> indicators;
    std::string elementType;  // of an array of its values
    ColumnArray array;
  };

  void Describe();
  void LearnDefaults();
  void ChooseMethod();
  void MakeSlots(std::size_t slots);
  [[nodiscard]] bool ArraysWork();
  [[nodiscard]] bool LearnElementTypes();
  void ChooseLeftColumns(std::span<const Variant> row);
  void Hold(std::span<const Variant> row);
  void Grow(Column& column, std::size_t bytes);
  [[nodiscard]] bool SendBatch(std::size_t rows);
  [[nodiscard]] bool TryBatch(std::size_t rows);
  [[nodiscard]] bool ExecuteBatch(std::size_t rows);
  void RaiseWhatEnds(const runtime::Error& failure, bool outer, bool stored, bool counted, std::size_t rows);
  void DropKept(std::int64_t before, std::size_t rows);
  [[nodiscard]] std::optional<std::int64_t> CountWhereKept();
  [[nodiscard]] bool ExecuteArray(Statement& statement, std::size_t rows);
  [[nodiscard]] bool ExecuteRows(Statement& statement, std::size_t rows);
  [[nodiscard]] bool ExecuteColumnArrays(Statement& statement, std::size_t rows);
  void SendRowByRow(std::size_t rows);
  /// bytesOnly binds the columns of bytes alone, at the same parameters.
  void BindRow(Statement& statement, std::size_t row, std::size_t firstParameter, bool bytesOnly = false);
  [[nodiscard]] bool HasBytes() const;
  [[nodiscard]] bool KeepsRowsOfFailedBatches();
  [[nodiscard]] std::int64_t CountRows();
  void BindArrays(Statement& statement);
  void DropRows(std::size_t count);
  /// What was stored by then; the rows are dropped.
  void DropStored(std::size_t count);
  [[nodiscard]] std::string NumberOf(std::int64_t heldRow) const;
  /// Raises the error with which the connection was lost, now and whenever rows are to be sent again: so many of them may be there.
  [[noreturn]] void Lose(runtime::Error error, std::size_t inDoubt);
  [[nodiscard]] bool IsLost(const runtime::Error& error) const;
  [[nodiscard]] std::string InsertText(std::size_t rows) const;
  [[nodiscard]] std::string InsertArraysText() const;
  [[nodiscard]] std::string ColumnToldBy(const std::string& description) const;

  std::shared_ptr<Session> session_;
  std::string tableName_;
  std::string owner_;
  std::string tableText_;
  std::vector<Column> columns_;
  std::vector<std::byte> scratch_;
  BatchMethod method_ = BatchMethod::kRowByRow;
  std::size_t capacity_ = 1;  // rows of a batch
  std::size_t slots_ = 1;     // rows for which there is room so far
  std::size_t held_ = 0;      // rows held back
  std::size_t heldBytes_ = 0;
  std::int64_t refused_ = 0;            // row that the last error refused
  std::int64_t before_ = 0;             // rows that are none of ours, in the numbers of errors
  std::int64_t done_ = 0;               // rows before the held ones
  std::int64_t kept_ = 0;               // of them, stored outside of a transaction of the caller's
  std::int64_t pending_ = 0;            // of them, stored inside one
  std::size_t inDoubt_ = 0;             // rows that may be there besides
  std::optional<runtime::Error> lost_;  // with which the connection went
  bool defaultsKnown_ = false;
  std::optional<bool> keepsRows_;   // the table has no transactions: rows of a failed batch stay
  bool waited_ = false;             // the batch failed because it waited in vain for a lock
  std::optional<Statement> batch_;  // prepared for preparedRows_ rows
  std::size_t preparedRows_ = 0;
  bool bound_ = false;  // its parameters point into the slots
  std::optional<Statement> single_;
};

}  // namespace tamlo::ado::odbc

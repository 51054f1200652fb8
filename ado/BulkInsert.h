#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "ado/Types.h"

namespace tamlo::ado {

class Connection;

/// Writes many rows into one table of an open connection, in the batches that the backend's driver does best, row by row where the
/// provider has no batches. When a batch fails its rows are sent again one by one, so that the rows before the bad one are stored and
/// the error names the row (number from 1, in the order of Add) and the column where the driver tells it. Once the connection is closed Add
/// and Flush are error 3704, and the counts are those of that moment.
class BulkInsert {
 public:
  /// table and columns are plain names; quoting is the provider's. owner is that of a table which the login does not reach by its name
  /// alone, spelled as the backend keeps it; blank for any other, and on backends without owners.
  BulkInsert(Connection& connection, std::string table, std::vector<std::string> columns, const std::string& owner = {});
  ~BulkInsert();

  /// Takes one row: a value for each column in order; an Empty value leaves the column to the backend's default.
  /// Error 5 when the number of values is not that of the columns.
  void Add(std::span<const Variant> row);
  /// Sends what is held back. Must be called at the end: rows still held back when the object goes are not sent.
  void Flush();
  /// After an error of Add or Flush: the number (from 1) of the row that the backend refused for what is in it. Those before it are stored
  /// and it is not; those behind it are held back. 0 when the error was none of a row (connection, lock, disk): what is stored then is what
  /// the backend has kept.
  [[nodiscard]] std::int64_t RefusedRow() const noexcept;
  /// How many of the rows taken are in the table: those held back are not. After the loss of the connection the rows of the batch that was on
  /// its way may be there; what was written inside a transaction of the caller's is not. Flush and Add then raise the first error again.
  [[nodiscard]] StoredRows Stored() const;
  /// Errors number the rows from behind so many, for a work that goes on where another ended. Before the first Add.
  void RowsBefore(std::int64_t rows);
  /// Rows taken so far.
  [[nodiscard]] std::int64_t RowsAdded() const noexcept { return rows_; }

 private:
  struct State;
  std::unique_ptr<State> state_;
  std::size_t columnCount_;
  std::int64_t rows_ = 0;
};

}  // namespace tamlo::ado

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "jet/schema/Specs.h"
#include "jet/table/Definitions.h"
#include "jet/table/Table.h"

namespace jet {

/// What makes the columns of a table anew in another file. Rules are left off: what rows hold is to be taken whether it obeys them or not.
/// from, to: the versions of the files.
[[nodiscard]] std::vector<ColumnDef> ColumnsToMake(std::vector<ColumnDef> columns, int from, int to);
/// The same for its indexes, without those of relationships.
[[nodiscard]] std::vector<IndexSpec> IndexesToMake(const std::vector<ColumnDef>& columns, const std::vector<IndexDef>& indexes);

/// Hands a long value of one file to another without holding it.
class LongValuePipe final : public ChunkSource {
 public:
  explicit LongValuePipe(std::unique_ptr<LongValueReader> reader) : reader_(std::move(reader)) {}
  std::size_t Read(std::span<std::byte> buffer) override { return reader_->Read(buffer); }

 private:
  std::unique_ptr<LongValueReader> reader_;
};

/// Long values of up to so many bytes are held whole, others go through a pipe.
inline constexpr std::uint64_t kHeldWhole = 64 << 10;

/// Inserts rows of one table into another that was made of its columns, in their order.
class RowCopy {
 public:
  RowCopy(std::vector<ColumnDef> columns, Table& to);
  /// Reads the row; columns that are left out become null. Errors: kDamaged, kIo.
  void Read(Row& row, const std::vector<bool>& leftOut = {});
  /// Inserts the row that was read last. Errors as Table::Insert.
  void Write() { to_.Insert(assignments_); }
  void Insert(Row& row) {
    Read(row);
    Write();
  }

 private:
  std::vector<ColumnDef> columns_;
  Table& to_;
  std::vector<Value> values_;
  std::vector<Assignment> assignments_;
  std::vector<std::unique_ptr<LongValuePipe>> pipes_;
};

}  // namespace jet

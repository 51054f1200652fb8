#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ado/Provider.h"
#include "ado/jet/JetConnection.h"
#include "ado/jet/RowWriter.h"

namespace tamlo::ado::jetprovider {

/// Rows are held back in memory and go straight to the engine, some thousands in one transaction. No transaction outlives a call, so that
/// several of these may write side by side on one connection, and inside the caller's transaction. A row that is refused leaves those before
/// it stored; a failure of the disk undoes all that were being written, and they stay held back.
class JetBulkInsert final : public ProviderBulkInsert {
 public:
  JetBulkInsert(JetConnection& connection, const std::string& table, const std::vector<std::string>& columns);
  void Add(std::span<const Variant> row) override;
  void Flush() override;
  [[nodiscard]] std::int64_t RefusedRow() const override { return refused_; }
  [[nodiscard]] StoredRows Stored() const override { return {stored_, stored_}; }
  void RowsBefore(std::int64_t rows) override { before_ = rows; }

 private:
  struct HeldRow {
    std::vector<Assignment> values;
  };
  void Hold(std::span<const Variant> row);
  void Drop(std::size_t count);

  jet::sql::Session& session_;
  std::shared_ptr<const jet::sql::EngineTable> table_;
  std::unique_ptr<RowWriter> writer_;
  std::vector<std::size_t> columns_;
  std::vector<HeldRow> rows_;  // the first held_ of them are in use; the others keep their memory
  std::size_t held_ = 0;
  std::size_t heldBytes_ = 0;
  std::int64_t done_ = 0;     // rows before the held ones
  std::int64_t refused_ = 0;  // row that the last error refused
  std::int64_t before_ = 0;   // rows that are none of ours, in the numbers of errors
  std::int64_t stored_ = 0;
};

}  // namespace tamlo::ado::jetprovider

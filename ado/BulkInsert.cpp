#include "ado/BulkInsert.h"

#include <utility>

#include "ado/Connection.h"
#include "ado/Provider.h"
#include "ado/Recordset.h"
#include "runtime/Error.h"

namespace tamlo::ado {
namespace {

/// For providers without batches: each row is a new row of a table-direct recordset.
class RowByRow final : public ProviderBulkInsert {
 public:
  RowByRow(Connection& connection, const std::string& table, const std::vector<std::string>& columns) {
    recordset_.Open(table, &connection, adOpenKeyset, adLockOptimistic, adCmdTableDirect);
    for (const auto& column : columns) fields_.push_back(&recordset_.Fields(column));
  }

  void Add(std::span<const Variant> row) override {
    ++rows_;
    refused_ = 0;
    try {
      recordset_.AddNew();
      for (std::size_t i = 0; i < fields_.size(); ++i) {
        if (!row[i].IsEmpty()) fields_[i]->Value(row[i]);
      }
      recordset_.Update();
      ++stored_;
    } catch (runtime::Error& error) {
      inDoubt_ = inDoubt_ || error.SqlState().starts_with("08");
      if (recordset_.IsOpen()) recordset_.CancelUpdate();
      refused_ = recordset_.IsOpen() ? rows_ : 0;
      throw error.WithContext("ligne " + std::to_string(before_ + rows_));
    }
  }

  void Flush() override {}
  [[nodiscard]] std::int64_t RefusedRow() const override { return refused_; }
  // Whether the row that failed is there nobody tells, unless its error is one of a value or a key.
  [[nodiscard]] StoredRows Stored() const override { return {stored_, stored_ + (inDoubt_ ? 1 : 0)}; }
  void RowsBefore(std::int64_t rows) override { before_ = rows; }

 private:
  Recordset recordset_;
  std::vector<Field*> fields_;  // of recordset_, by column
  std::int64_t rows_ = 0;
  std::int64_t refused_ = 0;
  std::int64_t before_ = 0;
  std::int64_t stored_ = 0;
  bool inDoubt_ = false;
};

}  // namespace

BulkInsert::BulkInsert(Connection& connection, std::string table, std::vector<std::string> columns, const std::string& owner)
    : provider_(connection.Native().OpenBulkInsert(table, columns, owner)), columnCount_(columns.size()) {
  if (!provider_) provider_ = std::make_unique<RowByRow>(connection, table, columns);
}

BulkInsert::~BulkInsert() = default;

void BulkInsert::Add(std::span<const Variant> row) {
  if (row.size() != columnCount_) throw runtime::Error(runtime::kInvalidArgument);
  ++rows_;
  provider_->Add(row);
}

void BulkInsert::Flush() { provider_->Flush(); }
StoredRows BulkInsert::Stored() const { return provider_->Stored(); }
void BulkInsert::RowsBefore(std::int64_t rows) { provider_->RowsBefore(rows); }

std::int64_t BulkInsert::RefusedRow() const noexcept { return provider_->RefusedRow(); }

}  // namespace tamlo::ado

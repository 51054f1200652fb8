#include "ado/BulkInsert.h"

#include <utility>

#include "ado/Connection.h"
#include "ado/ConnectionState.h"
#include "ado/Errors.h"
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

/// The provider's part, as long as the connection is open.
struct BulkInsert::State final : Dependent {
  State(std::shared_ptr<ConnectionState> owner, std::unique_ptr<ProviderBulkInsert> made)
      : connection(std::move(owner)), provider(std::move(made)) {
    connection->dependents.push_back(this);
  }
  ~State() { std::erase(connection->dependents, static_cast<Dependent*>(this)); }
  void ConnectionCloses() noexcept override {
    stored = provider->Stored();
    refused = provider->RefusedRow();
    provider.reset();
    std::erase(connection->dependents, static_cast<Dependent*>(this));
  }
  [[nodiscard]] ProviderBulkInsert& Provider() const {
    if (!provider) throw AdoError(runtime::kObjectClosed);
    return *provider;
  }

  std::shared_ptr<ConnectionState> connection;
  std::unique_ptr<ProviderBulkInsert> provider;  // null once the connection is closed
  StoredRows stored;
  std::int64_t refused = 0;
};

BulkInsert::BulkInsert(Connection& connection, std::string table, std::vector<std::string> columns, const std::string& owner)
    : columnCount_(columns.size()) {
  auto provider = connection.Native().OpenBulkInsert(table, columns, owner);
  if (!provider) provider = std::make_unique<RowByRow>(connection, table, columns);
  state_ = std::make_unique<State>(connection.state_, std::move(provider));
}

BulkInsert::~BulkInsert() = default;

void BulkInsert::Add(std::span<const Variant> row) {
  if (row.size() != columnCount_) throw runtime::Error(runtime::kInvalidArgument);
  ProviderBulkInsert& provider = state_->Provider();
  ++rows_;
  provider.Add(row);
}

void BulkInsert::Flush() { state_->Provider().Flush(); }
StoredRows BulkInsert::Stored() const { return state_->provider ? state_->provider->Stored() : state_->stored; }
void BulkInsert::RowsBefore(std::int64_t rows) { state_->Provider().RowsBefore(rows); }

std::int64_t BulkInsert::RefusedRow() const noexcept { return state_->provider ? state_->provider->RefusedRow() : state_->refused; }

}  // namespace tamlo::ado

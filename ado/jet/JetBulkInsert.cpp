#include "ado/jet/JetBulkInsert.h"

#include "ado/Errors.h"
#include "ado/jet/JetErrors.h"
#include "runtime/Text.h"

namespace tamlo::ado::jetprovider {

namespace {

constexpr std::int64_t kRowsOfTransaction = 5000;

}  // namespace

JetBulkInsert::JetBulkInsert(JetConnection& connection, const std::string& table, const std::vector<std::string>& columns)
    : connection_(connection) {
  table_ = OnEngine([&] { return connection.Session().FindTable(table); });
  if (table_ == nullptr || table_->table == nullptr) throw AdoError(runtime::kItemNotFound, table);
  for (const std::string& column : columns) {
    const std::string upper = runtime::UpperCase(column);
    std::size_t position = 0;
    while (position < table_->columns.size() && runtime::UpperCase(table_->columns[position].name) != upper) ++position;
    if (position == table_->columns.size()) throw AdoError(runtime::kItemNotFound, column);
    columns_.push_back(position);
  }
  writer_ = std::make_unique<RowWriter>(connection.Session(), table_);
}

JetBulkInsert::~JetBulkInsert() {
  if (depth_ == 0 || table_->database->TransactionDepth() != depth_) return;
  try {
    table_->database->Rollback();
  } catch (const jet::Error&) {
    // Nothing more can be done here; the engine rolls back what is open when it closes.
  }
}

void JetBulkInsert::Add(std::span<const Variant> row) {
  ++rows_;
  try {
    OnEngine([&] {
      if (depth_ != 0) return;
      table_->database->Begin();
      depth_ = table_->database->TransactionDepth();
    });
    assignments_.clear();
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (!row[i].IsEmpty()) assignments_.push_back({i, row[i]});
    }
    writer_->Insert(assignments_, columns_);
    ++pending_;
  } catch (runtime::Error& error) {
    if (table_->database->TransactionDepth() != depth_) depth_ = 0;  // the engine has rolled it all back
    Flush();
    throw error.WithContext("ligne " + std::to_string(rows_));
  }
  if (pending_ >= kRowsOfTransaction) Flush();
}

void JetBulkInsert::Flush() {
  pending_ = 0;
  if (depth_ == 0) return;
  depth_ = 0;
  OnEngine([&] { table_->database->Commit(); });
}

}  // namespace tamlo::ado::jetprovider

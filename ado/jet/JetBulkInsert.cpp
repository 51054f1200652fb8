#include "ado/jet/JetBulkInsert.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "ado/Errors.h"
#include "ado/jet/JetErrors.h"
#include "runtime/Text.h"

namespace tamlo::ado::jetprovider {

namespace {

constexpr std::size_t kRowsOfTransaction = 5000;
constexpr std::size_t kBytesOfTransaction = std::size_t{8} << 20;

std::size_t Bytes(const Variant& value) {
  if (const auto* text = value.If<std::string>()) return text->size();
  if (const auto* bytes = value.If<runtime::Bytes>()) return bytes->size();
  return 0;
}

}  // namespace

JetBulkInsert::JetBulkInsert(JetConnection& connection, const std::string& table, const std::vector<std::string>& columns)
    : session_(connection.Session()) {
  table_ = OnEngine([&] { return session_.FindTable(table); });
  if (table_ == nullptr || table_->table == nullptr) throw AdoError(runtime::kItemNotFound, table);
  for (const std::string& column : columns) {
    const std::string upper = runtime::UpperCase(column);
    std::size_t position = 0;
    while (position < table_->columns.size() && runtime::UpperCase(table_->columns[position].name) != upper) ++position;
    if (position == table_->columns.size()) throw AdoError(runtime::kItemNotFound, column);
    columns_.push_back(position);
  }
  writer_ = std::make_unique<RowWriter>(connection, table_);
}

void JetBulkInsert::Add(std::span<const Variant> row) {
  // A failure of the disk has left it full: there may be room now.
  if (held_ >= kRowsOfTransaction || heldBytes_ >= kBytesOfTransaction) Flush();
  Hold(row);
  if (held_ >= kRowsOfTransaction || heldBytes_ >= kBytesOfTransaction) Flush();
}

void JetBulkInsert::Hold(std::span<const Variant> row) {
  if (held_ == rows_.size()) rows_.emplace_back();
  auto& values = rows_[held_].values;
  values.clear();
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (row[i].IsEmpty()) continue;
    values.push_back({i, row[i]});
    heldBytes_ += Bytes(row[i]);
  }
  ++held_;
}

void JetBulkInsert::Flush() {
  refused_ = 0;
  if (held_ == 0) return;
  std::size_t written = 0;
  std::optional<runtime::Error> refusal;
  OnEngine([&] {
    jet::Transaction transaction(*table_->database);
    const int depth = table_->database->TransactionDepth();
    for (; written < held_; ++written) {
      try {
        writer_->Insert(rows_[written].values, columns_);
      } catch (runtime::Error& error) {
        error.WithContext("ligne " + std::to_string(before_ + done_ + static_cast<std::int64_t>(written) + 1));
        if (table_->database->TransactionDepth() != depth || !IsOfTheRow(error)) {
          session_.RowsChanged();
          throw;  // nothing of it is stored
        }
        refusal = error;
        break;
      }
    }
    transaction.Commit();
  });
  stored_ += static_cast<std::int64_t>(written);
  if (!refusal) {
    Drop(held_);
    return;
  }
  Drop(written + 1);
  refused_ = done_;
  throw *std::move(refusal);
}

void JetBulkInsert::Drop(std::size_t count) {
  std::rotate(rows_.begin(), rows_.begin() + static_cast<std::ptrdiff_t>(count), rows_.begin() + static_cast<std::ptrdiff_t>(held_));
  held_ -= count;
  done_ += static_cast<std::int64_t>(count);
  heldBytes_ = 0;
  for (std::size_t i = 0; i < held_; ++i) {
    for (const Assignment& value : rows_[i].values) heldBytes_ += Bytes(std::get<Variant>(value.value));
  }
}

}  // namespace tamlo::ado::jetprovider

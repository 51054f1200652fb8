#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "ado/Provider.h"
#include "ado/sqlite/Session.h"
#include "ado/sqlite/ValueBinder.h"

namespace tamlo::ado::sqlite {

/// Writes each row at once by a statement that is prepared once: nothing is held back, and what a row is refused for is its own. Outside of a
/// transaction of the caller's each row is one. Whatever a table says of conflicts, a row that meets one is refused, and none that stands there
/// goes for it.
class SqliteBulkInsert final : public ProviderBulkInsert {
 public:
  SqliteBulkInsert(std::shared_ptr<Session> session, std::string table, const std::vector<std::string>& columns);

  void Add(std::span<const Variant> row) override;
  void Flush() override { refused_ = 0; }
  [[nodiscard]] std::int64_t RefusedRow() const override { return refused_; }
  [[nodiscard]] StoredRows Stored() const override { return {stored_, stored_}; }
  void RowsBefore(std::int64_t rows) override { before_ = rows; }

 private:
  [[nodiscard]] bool IsPreparedFor(std::span<const Variant> row) const;
  void PrepareFor(std::span<const Variant> row);
  void Write(std::span<const Variant> row);

  std::shared_ptr<Session> session_;
  std::string table_;
  std::vector<TargetColumn> columns_;
  std::vector<bool> given_;  // the columns of the statement; the others keep their defaults
  Statement insert_;
  std::int64_t rows_ = 0;
  std::int64_t stored_ = 0;
  std::int64_t before_ = 0;
  std::int64_t refused_ = 0;
};

/// The statement that adds a row of these columns to a table, with a parameter for each.
[[nodiscard]] std::string InsertText(const std::string& table, const std::vector<std::string>& columns);
/// Runs the statement, whose parameters are bound, and takes them off again. Error kProviderFailure, as of a constraint, when a trigger has left
/// the row out and nothing was written.
void AddRow(Session& session, const Statement& insert);

}  // namespace tamlo::ado::sqlite

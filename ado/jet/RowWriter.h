#pragma once

#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "ado/Provider.h"
#include "ado/jet/JetConnection.h"
#include "jet/table/Table.h"
#include "jet/sql/Session.h"

namespace tamlo::ado::jetprovider {

/// Writes rows of one table from assignments of fields: values converted as the column wants them, long values piece by piece, defaults
/// for what a new row leaves out. Errors are runtime::Error.
class RowWriter {
 public:
  RowWriter(JetConnection& connection, std::shared_ptr<const jet::sql::EngineTable> table);

  /// columns: position in the table of each field.
  jet::RowId Insert(std::span<const Assignment> values, const std::vector<std::size_t>& columns);
  /// isMeant tells whether the row of that identity is still the one that was read, isUnchanged whether the columns to be changed hold what was
  /// read of them; else, or when the row is gone, a failure of the provider.
  void Update(jet::RowId id, std::span<const Assignment> values, const std::vector<std::size_t>& columns,
              const jet::Table::RowTest& isMeant, const jet::Table::RowTest& isUnchanged);
  void Delete(jet::RowId id, const jet::Table::RowTest& isMeant);
  /// A value as that column of the table will hold it; as it is under GeneralNumbers. Errors 3421 for one that its type cannot hold,
  /// -2147217887 for one that does not fit.
  [[nodiscard]] Variant Converted(std::size_t column, const Variant& value) const;
  /// The columns of the primary key, by their positions in the table; empty when there is none.
  [[nodiscard]] std::vector<std::size_t> KeyColumns() const;

 private:
  class Prepared;
  /// The value as that column of the table takes it; an error names the column.
  [[nodiscard]] jet::Value Suited(std::size_t column, const jet::Value& value) const;

  JetConnection& connection_;
  jet::sql::Session& session_;
  std::shared_ptr<const jet::sql::EngineTable> table_;
  std::optional<std::vector<std::pair<std::size_t, jet::Value>>> defaults_;
};

}  // namespace tamlo::ado::jetprovider

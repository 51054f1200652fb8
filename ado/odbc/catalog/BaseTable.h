#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "ado/Provider.h"
#include "ado/odbc/statement/Statement.h"

namespace tamlo::ado::odbc {

/// The table whose rows a cursor shows, and how one of its rows is found again.
struct BaseTable {
  std::string text;    ///< as it stands in statements, quoted where it was
  std::string name;    ///< as the backend's catalog knows it
  std::string schema;  ///< empty when the driver does not tell
  /// Columns that identify a row, by positions in the cursor: those of the primary key, else of the unique indexes in the backend's order.
  /// An index counts for a row only when the row has no null in it. Empty when the cursor lacks columns of every key.
  std::vector<std::vector<std::size_t>> keys;
};

/// Columns of the primary key of a table in order; empty when it has none or the driver cannot tell.
[[nodiscard]] std::vector<std::string> PrimaryKeyColumns(const std::shared_ptr<Session>& session, const std::string& schema,
                                                         const std::string& table, std::string* keyName = nullptr);

/// A row of what the driver tells of a table's indexes.
struct IndexColumn {
  std::string index;
  std::string column;
  bool unique = false;
  bool descending = false;
};
/// All columns of all indexes of a table, each index's in order.
[[nodiscard]] std::vector<IndexColumn> IndexColumns(const std::shared_ptr<Session>& session, const std::string& schema,
                                                    const std::string& table);

/// Finds the keys of a cursor's base table in the backend's catalog.
void FindKeys(BaseTable& table, const std::shared_ptr<Session>& session, const std::vector<ColumnDescription>& columns);

}  // namespace tamlo::ado::odbc

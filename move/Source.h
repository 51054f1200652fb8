#pragma once

#include "ado/Connection.h"
#include "ado/Recordset.h"
#include "move/Plan.h"
#include "schema/Dialect.h"

namespace tamlo::move {

/// Where the rows come from; open for reading.
struct Source {
  schema::Engine engine;
  ado::Connection& connection;
};

/// What stands behind SELECT for columns that are found by their places. SQLite's driver takes what stands before a point in a name for that of a
/// table: such a column gets another name in the query.
[[nodiscard]] std::string ColumnList(const schema::Dialect& dialect, const std::vector<std::string>& names);

/// The rows of a table, its columns in the order of the plan, forward only; in the same order each time as long as nobody changes them.
[[nodiscard]] ado::Recordset OpenRows(const Source& source, const PlannedTable& table);

}  // namespace tamlo::move

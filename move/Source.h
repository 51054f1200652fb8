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

/// The rows of a table, its columns in the order of the plan, forward only; in the same order each time as long as nobody changes them.
[[nodiscard]] ado::Recordset OpenRows(const Source& source, const PlannedTable& table);

}  // namespace tamlo::move

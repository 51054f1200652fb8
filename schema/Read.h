#pragma once

#include <optional>

#include "ado/Connection.h"
#include "schema/Dialect.h"
#include "schema/Model.h"

namespace tamlo::schema {

/// How deep to look.
struct ReadOptions {
  /// Look at the rows too, one walk over each table: whether a column of truth values holds others, how many digits numbers without a
  /// declared size have, whether moments have more than milliseconds. Without it a type is what is declared, and a column whose values might not
  /// fit has a finding.
  bool values = true;
  bool counts = true;  ///< count the rows of each table
};

/// What the database of a connection holds: its own tables in the order of their names without regard to case (of PostgreSQL those of the
/// current schema), relations, views as stored queries. Taken from the engine's own tables of itself. What WriteDdl made comes back as it was.
/// What the description cannot hold stands in Database::findings: nothing is left out without one. Errors: runtime::Error.
[[nodiscard]] Database Read(ado::Connection& connection, std::optional<Engine> engine, const ReadOptions& options = {});

[[nodiscard]] Database ReadMariaDb(ado::Connection& connection, const ReadOptions& options = {});
[[nodiscard]] Database ReadPostgreSql(ado::Connection& connection, const ReadOptions& options = {});
[[nodiscard]] Database ReadSqlite(ado::Connection& connection, const ReadOptions& options = {});
/// Of any other source, as far as its driver tells.
[[nodiscard]] Database ReadOther(ado::Connection& connection, const ReadOptions& options = {});

/// The names of the tables, in order, and of one their number of rows: without reading the rest.
[[nodiscard]] std::vector<std::string> TableNames(ado::Connection& connection, std::optional<Engine> engine);
[[nodiscard]] std::uint64_t CountRows(ado::Connection& connection, std::optional<Engine> engine, const std::string& table);

}  // namespace tamlo::schema

#pragma once

#include <string>
#include <vector>

#include "schema/Dialect.h"
#include "schema/Model.h"

namespace tamlo::schema {

/// When in a move a statement is run: rows come between the tables and their indexes, counters last.
enum class Phase : std::uint8_t { kTables, kIndexes, kRelations, kCounters };

struct Statement {
  Phase phase = Phase::kTables;
  std::string table;  ///< whose it is, by its name in the source
  std::string sql;    ///< without a ";"
};

/// A name of the source that the engine cannot hold, or that is taken there.
struct Renaming {
  std::string table;  ///< the table of the index or column; empty for tables and relations
  std::string from;
  std::string to;
};

/// What a table and its columns are called on the engine.
struct TableThere {
  std::string table;                 ///< in the source
  std::string name;                  ///< there
  std::vector<std::string> columns;  ///< there, in the order of the source's
};

/// What makes a database anew on an engine, without its rows, and what that loses.
struct Script {
  std::vector<TableThere> tables;     ///< in the order of the source's
  std::vector<Statement> statements;  ///< in the order in which they are to be run
  std::vector<Renaming> renamings;
  std::vector<Finding> findings;
};

/// Names are kept where the engine can hold them; those that it cannot are shortened, or get a number behind, and are told as renamings.
/// Whatever has no equivalent is left off and told as a finding; nothing is left off without one.
[[nodiscard]] Script WriteDdl(const Database& database, const Dialect& dialect);

}  // namespace tamlo::schema

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "move/Options.h"
#include "schema/Ddl.h"

namespace tamlo::move {

struct PlannedColumn {
  std::string name;   ///< in the source
  std::string there;  ///< in the target
  schema::Type type;  ///< in the source
  schema::Type typeThere;
};

/// A relation of a table with itself: places of columns of the plan, and of those that they refer to.
struct SelfLink {
  std::vector<std::size_t> columns;
  std::vector<std::size_t> referenced;
};

struct PlannedTable {
  std::string name;
  std::string there;
  std::vector<PlannedColumn> columns;
  std::vector<std::string> order;  ///< columns whose values no two rows share, by which a server gives the rows in the same order each time
  std::vector<SelfLink> links;     ///< by which rows that have to wait for each other are ordered
  std::uint64_t rows = 0;          ///< as the source counted them when it was read
};

/// What a copy does, in its order: the statements of the tables, the rows of table after table, the other statements.
struct Plan {
  std::vector<PlannedTable> tables;
  std::vector<schema::Statement> statements;
  std::vector<schema::Renaming> renamings;
  std::vector<schema::Finding> findings;
  std::string fingerprint;  ///< two plans with the same do the same
};

/// The tables of the source that are wanted, with the relations between them, what was found when they were read, and the others.
[[nodiscard]] schema::Database Wanted(const schema::Database& source, const Options& options);

/// script is what makes `wanted` on the target. A copy of rows alone has no statements but those of the counters; one of definitions alone has
/// tables without columns to copy: `rows` says which.
[[nodiscard]] Plan MakePlan(const schema::Database& wanted, const schema::Script& script, const Options& options);

/// Makes the fingerprint say these texts too.
void AddToFingerprint(Plan& plan, const std::vector<std::string>& texts);

}  // namespace tamlo::move

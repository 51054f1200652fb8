#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "jet/schema/Specs.h"

/// What a statement that defines something asks for. Its names mean themselves: it needs no look at the database to be understood.
namespace jet::sql {

struct TableTarget {
  std::string name;
  std::string file;  ///< path of another database, or empty
};

struct ForeignKeySpec {
  std::string name;
  std::vector<std::string> columns;
  std::string referencedTable;
  std::vector<std::string> referencedColumns;  ///< empty: the primary key
  bool cascadeUpdates = false;
  bool cascadeDeletes = false;
};

struct CreateTablePlan {
  TableSpec table;
  std::vector<ForeignKeySpec> foreignKeys;
};
struct AddColumnPlan {
  std::string table;
  std::vector<ColumnDef> columns;
  std::vector<IndexSpec> indexes;
  std::vector<ForeignKeySpec> foreignKeys;
};
struct AlterColumnPlan {
  enum class Default { kKept, kSet, kDropped };
  std::string table;
  ColumnDef column;
  bool retyped = false;                   ///< the type is given
  std::optional<bool> required;           ///< NOT NULL or NULL is given
  Default defaultValue = Default::kKept;  ///< set: to the column's
  std::vector<IndexSpec> indexes;         ///< to make besides
  std::vector<ForeignKeySpec> foreignKeys;
};
struct DropColumnPlan {
  std::string table;
  std::vector<std::string> columns;
};
struct DropConstraintPlan {
  std::string table;
  std::string name;
};
struct CreateIndexPlan {
  std::string table;
  IndexSpec index;
};
struct DropIndexPlan {
  std::string table;
  std::string name;
};
struct DropTablePlan {
  std::string name;
  bool query = false;  ///< only a stored query is meant
};
struct CreateQueryPlan {
  std::string name;
  std::string text;
  bool view = false;                 ///< only a query that gives rows
  std::vector<std::string> columns;  ///< of a view: the names of its columns; empty: those of the query
};

enum class TransactionPlan { kBegin, kCommit, kRollback };

/// Everything that defines.
using DefinitionPlan = std::variant<CreateTablePlan, AddColumnPlan, AlterColumnPlan, DropColumnPlan, DropConstraintPlan, CreateIndexPlan,
                                    DropIndexPlan, DropTablePlan, CreateQueryPlan>;

}  // namespace jet::sql

#pragma once

#include <string>
#include <utility>
#include <vector>

#include "jet/sql/Schema.h"
#include "jet/sql/bind/Expression.h"

namespace jet::sql {

/// One table, query or subquery of a FROM clause.
struct ScopeSource {
  std::string alias;  ///< as written, or the table's name
  std::string folded;
  std::string sqlAlias;
  TablePointer table;  ///< null for queries and subqueries
  bool optional = false;
  std::vector<ColumnInfo> columns;
};

/// What names mean in one query.
struct Scope {
  std::vector<ScopeSource> sources;
  const char* identity = ".rowid";  ///< of a table's row; SQLite does not know this one where a join stands in parentheses
  Scope* parent = nullptr;
  /// Output columns by folded name, for ORDER BY and later columns that use them.
  std::vector<std::pair<std::string, Expression>> outputs;

  /// The table that an expression is a plain column of; null when it is none.
  [[nodiscard]] const TableInfo* TableOf(const Expression& expression) const {
    return expression.source < 0 ? nullptr : sources[static_cast<std::size_t>(expression.source)].table.get();
  }
};

/// Makes a scope the current one for a while.
class ScopeGuard {
 public:
  ScopeGuard(Scope*& slot, Scope* scope) : slot_(slot), before_(slot) { slot = scope; }
  ~ScopeGuard() { slot_ = before_; }
  ScopeGuard(const ScopeGuard&) = delete;
  ScopeGuard& operator=(const ScopeGuard&) = delete;

 private:
  Scope*& slot_;
  Scope* before_;
};

}  // namespace jet::sql

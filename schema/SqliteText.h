#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tamlo::schema {

/// What the text of a CREATE TABLE tells beyond SQLite's pragmas.
struct SqliteTable {
  struct ForeignKey {
    std::string name;                  ///< empty when it has none
    std::vector<std::string> columns;  ///< referring
    std::string referenced;
  };
  struct Computed {
    std::string column;
    std::string expression;
  };
  std::vector<std::string> checks;  ///< their conditions
  std::vector<ForeignKey> foreignKeys;
  std::vector<Computed> computed;
  std::string counter;  ///< the column that numbers its rows: declared INTEGER PRIMARY KEY in one; empty when there is none
};

[[nodiscard]] SqliteTable ReadSqliteTable(std::string_view sql);

/// The condition of a partial index; empty when it is over all rows.
[[nodiscard]] std::string SqliteIndexCondition(std::string_view sql);

}  // namespace tamlo::schema

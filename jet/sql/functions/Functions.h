#pragma once

#include <string_view>

#include "jet/sql/Schema.h"
#include "jet/sql/Statement.h"

struct sqlite3;

namespace jet::sql {

/// How the result type of a function follows.
enum class ResultRule { kFixed, kSameAsFirst };

/// A function of the Access language that becomes a function of ours in SQLite.
struct FunctionInfo {
  std::string_view name;  ///< in Access, without a closing $
  std::string_view sqlName;
  int least = 0;  ///< number of arguments
  int most = 0;
  ResultRule rule = ResultRule::kFixed;
  ColumnType type = kNoType;
};

/// Null when there is no such function.
[[nodiscard]] const FunctionInfo* FindFunction(std::string_view foldedName);

/// Makes the functions and the collation of the engine known to a SQLite connection. The settings must outlive the connection.
void RegisterFunctions(sqlite3* connection, const TextSettings& settings);

}  // namespace jet::sql

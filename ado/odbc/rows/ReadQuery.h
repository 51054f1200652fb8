#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "ado/odbc/facts/DriverFacts.h"
#include "ado/odbc/statement/Statement.h"
#include "ado/odbc/values/FetchPlan.h"

namespace tamlo::ado::odbc {

/// How values are asked for.
enum class ReadMode {
  kFast,       ///< as the driver gives them where it is right, in blocks; where it is not, by an expression of the server
  kServerText  ///< every value by an expression of the server and alone: another way than the fast one, for those who check it
};

/// How a query is read so that its values arrive as the server has them.
struct ReadPlan {
  static constexpr std::size_t kNone = SIZE_MAX;

  std::string sql;               ///< to be executed in the query's place, in the same order; empty: the query itself
  std::vector<FetchPlan> forms;  ///< of the result columns: those of the query, then the companions
  std::vector<std::size_t>
      companions;          ///< for each column the one that holds its value where the driver would spoil it (else null), or kNone
  bool singly = false;     ///< neither in blocks nor into bound buffers
  bool asksTypes = false;  ///< forms of expressions are known only once the query is executed (SQLite)
};

/// The plan for a query with these columns.
///
/// What the drivers spoil, measured with psqlODBC 13.02 and libsqliteodbc 0.9998: PostgreSQL's days before the year 1, from the year 10000 on and
/// "infinity" (other days, by every C type), amounts in the server's currency format; SQLite's reals (15 digits), texts behind a character 0,
/// numbers and bytes in columns of another type.
[[nodiscard]] ReadPlan PlanReading(const std::string& sql, const std::vector<FieldInfo>& fields,
                                   const std::vector<ColumnDescription>& columns, const Session& session, ReadMode mode);

}  // namespace tamlo::ado::odbc

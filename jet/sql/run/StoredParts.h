#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "jet/Database.h"

/// Stored queries as the file keeps them: one query is many rows of MSysQueries, told apart by their attribute.
namespace jet::sql {

enum class QueryAttribute {
  kBegin = 0,
  kType = 1,
  kParameter = 2,
  kOptions = 3,
  kRemote = 4,
  kSource = 5,
  kColumn = 6,
  kJoin = 7,
  kWhere = 8,
  kGroup = 9,
  kHaving = 10,
  kOrder = 11,
  kEnd = 255
};

/// The flag of the row kType.
enum class QueryType {
  kSelect = 1,
  kMakeTable = 2,
  kAppend = 3,
  kUpdate = 4,
  kDelete = 5,
  kCrosstab = 6,
  kDefinition = 7,
  kPassThrough = 8,
  kUnion = 9
};

// Flags of the row kOptions.
constexpr int kAllColumns = 1;
constexpr int kDistinctRows = 2;  ///< for a union: duplicates removed
constexpr int kOwnerAccess = 4;
constexpr int kDistinctRow = 8;
constexpr int kTop = 0x10;
constexpr int kPercent = 0x20;

// Flags of the rows kColumn of a crosstab, and of an append of values.
constexpr int kPivotColumn = 1;
constexpr int kHeadingColumn = 2;
constexpr int kAppendedValue = 0x8000;

struct QueryPart {
  std::string name1;
  std::string name2;
  std::string expression;
  int flag = 0;
};

using QueryParts = std::map<QueryAttribute, std::vector<QueryPart>>;

/// A query as it goes into a file.
struct QueryDesign {
  QueryType type = QueryType::kSelect;
  QueryParts parts;  ///< without those that begin and end it
};

/// The parts of a statement that Translate takes. Errors: kUnsupported for what rows of a stored query cannot say (UNION and UNION ALL
/// in one statement, columns behind a bare *).
[[nodiscard]] QueryDesign DesignOf(std::string_view text);
/// Adds it to the file under that name. Errors: kAlreadyExists; kUnsupported for a name that cannot be.
void StoreQuery(Database& database, const std::string& name, const QueryDesign& design);

/// The rows of a query in their order.
[[nodiscard]] QueryParts ReadQueryParts(Database& database, std::int32_t id);

/// The statement that the rows of a stored query stand for. rowsOnly: error kUnsupported, naming the query, for one that gives no rows;
/// otherwise only for one that is handed to a server as it stands.
[[nodiscard]] std::string StoredStatement(Database& database, const CatalogObject& query, bool rowsOnly);
/// The same of parts at hand. name: of the query, for errors.
[[nodiscard]] std::string StatementOf(const QueryParts& parts, const std::string& name, bool rowsOnly);

}  // namespace jet::sql

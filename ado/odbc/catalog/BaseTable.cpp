#include "ado/odbc/catalog/BaseTable.h"

#include <algorithm>
#include <map>
#include <utility>

#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/driver/WideText.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

/// A name as an argument of a catalog function; an empty one is passed as "not given".
class NameArgument {
 public:
  explicit NameArgument(const std::string& name) : text_(ToUtf16(name)) {}
  [[nodiscard]] SQLWCHAR* Text() { return text_.empty() ? nullptr : reinterpret_cast<SQLWCHAR*>(text_.data()); }
  [[nodiscard]] SQLSMALLINT Length() const { return static_cast<SQLSMALLINT>(text_.size()); }

 private:
  std::u16string text_;
};

/// Positions of named columns in the cursor; none when one is missing.
std::optional<std::vector<std::size_t>> PositionsOf(const std::vector<std::string>& names, const std::vector<ColumnDescription>& columns) {
  std::vector<std::size_t> positions;
  for (const auto& name : names) {
    const std::string upper = runtime::UpperCase(name);
    const auto found = std::find_if(columns.begin(), columns.end(),
                                    [&](const ColumnDescription& column) { return runtime::UpperCase(column.baseName) == upper; });
    if (found == columns.end()) return std::nullopt;
    positions.push_back(static_cast<std::size_t>(found - columns.begin()));
  }
  if (positions.empty()) return std::nullopt;
  return positions;
}

}  // namespace

std::vector<std::string> PrimaryKeyColumns(const std::shared_ptr<Session>& session, const std::string& schema, const std::string& table,
                                           std::string* keyName) {
  Statement statement(session);
  NameArgument catalog(session->Facts().catalog);
  NameArgument owner(schema);
  NameArgument name(table);
  const auto result =
      SQLPrimaryKeysW(statement.Native(), catalog.Text(), catalog.Length(), owner.Text(), owner.Length(), name.Text(), name.Length());
  // A driver without this function: the unique indexes must do.
  if (!SQL_SUCCEEDED(result)) return {};
  std::map<std::int64_t, std::string> columns;
  while (statement.FetchCatalogRow()) {
    std::string column = statement.Text(4).value_or("");
    const std::int64_t position = statement.Integer(5, static_cast<std::int64_t>(columns.size()) + 1);
    if (keyName) *keyName = statement.Text(6).value_or("");
    // A place that is told twice is none: the order of the answer holds.
    const bool taken = columns.contains(position);
    columns[taken ? columns.rbegin()->first + 1 : position] = std::move(column);
  }
  std::vector<std::string> names;
  for (auto& [position, column] : columns) names.push_back(std::move(column));
  return names;
}

std::vector<IndexColumn> IndexColumns(const std::shared_ptr<Session>& session, const std::string& schema, const std::string& table) {
  Statement statement(session);
  NameArgument catalog(session->Facts().catalog);
  NameArgument owner(schema);
  NameArgument name(table);
  statement.Check(SQLStatisticsW(statement.Native(), catalog.Text(), catalog.Length(), owner.Text(), owner.Length(), name.Text(),
                                 name.Length(), SQL_INDEX_ALL, SQL_QUICK));
  std::vector<IndexColumn> columns;
  while (statement.FetchCatalogRow()) {
    const std::int64_t notUnique = statement.Integer(4, 1);
    IndexColumn column;
    column.index = statement.Text(6).value_or("");
    column.column = statement.Text(9).value_or("");
    column.unique = notUnique == 0;
    column.descending = statement.Text(10).value_or("A") == "D";
    if (!column.index.empty() && !column.column.empty()) columns.push_back(std::move(column));  // else: a line about the table itself
  }
  return columns;
}

void FindKeys(BaseTable& table, const std::shared_ptr<Session>& session, const std::vector<ColumnDescription>& columns) {
  if (const auto primary = PositionsOf(PrimaryKeyColumns(session, table.schema, table.name), columns)) {
    table.keys = {*primary};
    return;
  }
  std::vector<std::pair<std::string, std::vector<std::string>>> unique;
  for (const auto& column : IndexColumns(session, table.schema, table.name)) {
    if (!column.unique) continue;
    if (unique.empty() || unique.back().first != column.index) unique.emplace_back(column.index, std::vector<std::string>());
    unique.back().second.push_back(column.column);
  }
  for (const auto& [index, names] : unique) {
    if (const auto positions = PositionsOf(names, columns)) table.keys.push_back(*positions);
  }
}

}  // namespace tamlo::ado::odbc

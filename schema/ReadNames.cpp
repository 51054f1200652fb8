// Which tables there are, and how many rows: without reading the rest.
#include <algorithm>

#include "ado/Catalog.h"
#include "base/Case.h"
#include "schema/Ask.h"
#include "schema/Read.h"

namespace tamlo::schema {
namespace {

std::string NamesQuery(Engine engine) {
  switch (engine) {
    case Engine::kMariaDb:
      return "SELECT TABLE_NAME FROM information_schema.TABLES WHERE TABLE_SCHEMA = DATABASE() AND TABLE_TYPE NOT IN ('VIEW', 'SEQUENCE')";
    case Engine::kPostgreSql:
      return "SELECT relname FROM pg_class WHERE relnamespace = quote_ident(current_schema())::regnamespace AND relkind IN ('r', 'p') AND NOT "
             "relispartition";
    case Engine::kSqlite:
      return "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite\\_%' ESCAPE '\\' AND sql NOT LIKE 'CREATE VIRTUAL%'";
    default:
      return {};
  }
}

std::vector<std::string> CatalogNames(ado::Connection& connection) {
  std::vector<std::string> names;
  ado::Catalog catalog(connection);
  for (std::size_t i = 0; i < catalog.TableCount(); ++i)
    if (catalog.Tables(i).Type() == "TABLE") names.push_back(catalog.Tables(i).Name());
  return names;
}

}  // namespace

std::vector<std::string> TableNames(ado::Connection& connection, std::optional<Engine> engine) {
  std::vector<std::string> names;
  const std::string query = engine ? NamesQuery(*engine) : std::string();
  if (query.empty()) {
    names = CatalogNames(connection);
  } else {
    for (const Answer& answer : Ask(connection, query)) names.push_back(answer[0]);
  }
  std::sort(names.begin(), names.end(), [](const auto& a, const auto& b) { return base::LowerName(a) < base::LowerName(b); });
  return names;
}

std::uint64_t CountRows(ado::Connection& connection, std::optional<Engine> engine, const std::string& table) {
  const Dialect& dialect = DialectOf(engine.value_or(Engine::kOracle));
  return static_cast<std::uint64_t>(Ask(connection, "SELECT COUNT(*) FROM " + Quoted(dialect, table)).at(0).Number(0));
}

}  // namespace tamlo::schema

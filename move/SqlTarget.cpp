#include <algorithm>
#include <array>

#include "ado/Recordset.h"
#include "base/Case.h"
#include "move/Ask.h"
#include "move/Target.h"

namespace tamlo::move {
namespace {

using schema::Engine;

std::vector<std::string> FirstOfEach(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::string> names;
  for (const auto& row : rows) names.push_back(row.at(0));
  return names;
}

class ByStatements final : public Target {
 public:
  ByStatements(Engine engine, ado::Connection& connection) : dialect_(schema::DialectOf(engine)), connection_(connection) {}

  [[nodiscard]] const schema::Dialect& Dialect() const override { return dialect_; }
  [[nodiscard]] ado::Connection& Connection() override { return connection_; }
  void Prepare() override;
  [[nodiscard]] std::vector<std::string> Tables() override;
  [[nodiscard]] std::vector<std::string> Columns(const std::string& table) override;
  void Drop(const std::string& table) override;
  std::vector<schema::Finding> Define(const schema::Statement& statement) override {
    connection_.Execute(statement.sql);
    return {};
  }
  [[nodiscard]] bool DefinesInTransactions() const override {
    return dialect_.engine != Engine::kMariaDb && dialect_.engine != Engine::kOracle;
  }
  [[nodiscard]] bool StandsAlready(const runtime::Error& error) const override;
  [[nodiscard]] bool LacksParent(const runtime::Error& error) const override;
  [[nodiscard]] std::int64_t CountRows(const std::string& table) override {
    return AskNumber(connection_, "SELECT count(*) FROM " + schema::Quoted(dialect_, table));
  }
  [[nodiscard]] std::vector<schema::Finding> Orphans() override;

 private:
  const schema::Dialect& dialect_;
  ado::Connection& connection_;
};

void ByStatements::Prepare() {
  for (const std::string& setting : ExactSettings(dialect_.engine)) connection_.Execute(setting);
  // A commit that a failing machine takes back takes the count of its rows with it.
  if (dialect_.engine == Engine::kPostgreSql) connection_.Execute("SET synchronous_commit = off");
  // Relations are looked at when all rows are there.
  if (dialect_.engine == Engine::kSqlite) connection_.Execute("PRAGMA foreign_keys = OFF");
}

std::vector<std::string> ByStatements::Tables() {
  switch (dialect_.engine) {
    case Engine::kMariaDb:
      return FirstOfEach(Ask(connection_, "SELECT TABLE_NAME FROM information_schema.TABLES WHERE TABLE_SCHEMA = DATABASE()"));
    case Engine::kPostgreSql:
      return FirstOfEach(
          Ask(connection_,
              "SELECT c.relname::text FROM pg_class c WHERE c.relnamespace = current_schema()::regnamespace AND c.relkind IN "
              "('r', 'p', 'v', 'm', 'f')"));
    case Engine::kSqlite:
      return FirstOfEach(Ask(connection_, "SELECT name FROM sqlite_master WHERE type IN ('table', 'view')"));
    default:
      return FirstOfEach(Ask(connection_, "SELECT TABLE_NAME FROM INFORMATION_SCHEMA.TABLES"));
  }
}

std::vector<std::string> ByStatements::Columns(const std::string& table) {
  ado::Recordset rows;
  rows.Open("SELECT * FROM " + schema::Quoted(dialect_, table) + " WHERE 1 = 0", &connection_, ado::adOpenForwardOnly, ado::adLockReadOnly,
            ado::adCmdText);
  std::vector<std::string> names;
  for (std::size_t i = 0; i < rows.FieldCount(); ++i) names.push_back(rows.Fields(i).Name());
  rows.Close();
  return names;
}

void ByStatements::Drop(const std::string& table) {
  const std::string name = schema::Quoted(dialect_, table);
  if (dialect_.engine == Engine::kMariaDb) connection_.Execute("SET SESSION foreign_key_checks = 0");
  connection_.Execute("DROP TABLE " + name + (dialect_.engine == Engine::kPostgreSql ? " CASCADE" : ""));
  if (dialect_.engine == Engine::kMariaDb) connection_.Execute("SET SESSION foreign_key_checks = 1");
}

bool ByStatements::StandsAlready(const runtime::Error& error) const {
  // Table, key, foreign key, and the foreign key by its name inside InnoDB. The other engines undo what they did not finish.
  constexpr std::array<std::int32_t, 4> kMariaDb{1050, 1061, 1826, 1005};
  const bool known = std::find(kMariaDb.begin(), kMariaDb.end(), error.NativeCode()) != kMariaDb.end();
  if (dialect_.engine != Engine::kMariaDb || !known) return false;
  return error.NativeCode() != 1005 || error.Description().find("errno: 121") != std::string::npos;
}

bool ByStatements::LacksParent(const runtime::Error& error) const {
  switch (dialect_.engine) {
    case Engine::kMariaDb:
      return error.NativeCode() == 1452 || error.NativeCode() == 1216;
    case Engine::kPostgreSql:
      return error.SqlState() == "23503";
    case Engine::kSqlServer:
      return error.NativeCode() == 547;  // that of a rule too, which more rows do not help: it is told at the end
    case Engine::kOracle:
      return error.NativeCode() == 2291;
    default:
      return false;
  }
}

std::vector<schema::Finding> ByStatements::Orphans() {
  std::vector<schema::Finding> findings;
  if (dialect_.engine != Engine::kSqlite) return findings;
  for (const auto& row : Ask(connection_, "SELECT \"table\", parent, count(*) FROM pragma_foreign_key_check GROUP BY 1, 2 ORDER BY 1, 2"))
    findings.push_back({row[0], {}, schema::What::kOrphans, {row[2], row[1]}});
  return findings;
}

}  // namespace

bool Target::SameName(const std::string& left, const std::string& right) const {
  return Dialect().engine == Engine::kPostgreSql ? left == right : base::SameName(left, right);
}

std::vector<std::string> ExactSettings(Engine engine) {
  switch (engine) {
    case Engine::kMariaDb:
      return {"SET SESSION sql_mode = 'STRICT_ALL_TABLES,NO_AUTO_VALUE_ON_ZERO,NO_ENGINE_SUBSTITUTION,ERROR_FOR_DIVISION_BY_ZERO'",
              "SET SESSION time_zone = '+00:00'"};
    case Engine::kPostgreSql:
      return {"SET TIME ZONE 'UTC'", "SET client_min_messages = warning"};
    default:
      return {};
  }
}

std::unique_ptr<Target> SqlTarget(Engine engine, ado::Connection& connection) { return std::make_unique<ByStatements>(engine, connection); }

}  // namespace tamlo::move

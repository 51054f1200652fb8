#include "move/AccessTarget.h"

#include <utility>

#include "ado/Catalog.h"
#include "ado/Recordset.h"
#include "jet/value/Error.h"
#include "move/Ask.h"
#include "schema/Find.h"
#include "schema/MakeAccess.h"

namespace tamlo::move {
namespace {

using schema::Phase;

class IntoFile final : public Target {
 public:
  IntoFile(jet::Database& file, ado::Connection& connection, const schema::Database& wanted, const schema::AccessPlan& plan)
      : maker_(file, plan), connection_(connection), wanted_(wanted), plan_(plan) {}

  [[nodiscard]] const schema::Dialect& Dialect() const override { return schema::DialectOf(schema::Engine::kAccess); }
  [[nodiscard]] ado::Connection& Connection() override { return connection_; }
  void Prepare() override {}
  [[nodiscard]] std::vector<std::string> Tables() override;
  [[nodiscard]] std::vector<std::string> Columns(const std::string& table) override;
  void Drop(const std::string& table) override {
    OnFile([&] { maker_.Drop(PlaceOf(plan_.there, table)); });
  }
  std::vector<schema::Finding> Define(const schema::Statement& statement) override;
  // Each step leaves what is there as it is, and may be done again.
  [[nodiscard]] bool DefinesInTransactions() const override { return false; }
  [[nodiscard]] bool StandsAlready(const runtime::Error&) const override { return false; }
  [[nodiscard]] bool LacksParent(const runtime::Error& error) const override {
    return error.NativeCode() == static_cast<std::int32_t>(jet::ErrorCode::kRelationViolated);
  }
  [[nodiscard]] std::int64_t CountRows(const std::string& table) override {
    return AskNumber(connection_, "SELECT count(*) FROM " + schema::Quoted(Dialect(), table));
  }
  [[nodiscard]] std::vector<schema::Finding> Orphans() override { return {}; }

 private:
  [[nodiscard]] static std::size_t PlaceOf(const schema::Database& database, const std::string& table);
  /// The engine's errors as those of a connection.
  template <typename Step>
  static void OnFile(Step&& step) {
    try {
      std::forward<Step>(step)();
    } catch (const jet::Error& error) {
      throw runtime::Error(runtime::kProviderFailure, error.what());
    }
  }

  schema::AccessTarget maker_;
  ado::Connection& connection_;
  const schema::Database& wanted_;
  const schema::AccessPlan& plan_;
};

std::vector<std::string> IntoFile::Tables() {
  ado::Catalog catalog(connection_);
  std::vector<std::string> names;
  for (std::size_t i = 0; i < catalog.TableCount(); ++i) names.push_back(catalog.Tables(i).Name());
  return names;
}

std::vector<std::string> IntoFile::Columns(const std::string& table) {
  ado::Recordset rows;
  rows.Open(table, &connection_, ado::adOpenForwardOnly, ado::adLockReadOnly, ado::adCmdTableDirect);
  std::vector<std::string> names;
  for (std::size_t i = 0; i < rows.FieldCount(); ++i) names.push_back(rows.Fields(i).Name());
  rows.Close();
  return names;
}

std::size_t IntoFile::PlaceOf(const schema::Database& database, const std::string& table) {
  if (const auto place = schema::PlaceOf(database.tables, table)) return *place;
  throw runtime::Error(runtime::kItemNotFound);
}

std::vector<schema::Finding> IntoFile::Define(const schema::Statement& statement) {
  std::vector<schema::Finding> findings;
  OnFile([&] {
    switch (statement.phase) {
      case Phase::kTables:
        return maker_.MakeTable(PlaceOf(wanted_, statement.table));
      case Phase::kIndexes:
        findings = maker_.MakeIndexes(PlaceOf(wanted_, statement.table));
        return maker_.SetRules(PlaceOf(wanted_, statement.table));
      case Phase::kRelations:
        findings = maker_.MakeRelations();
        for (auto& finding : maker_.MakeOthers()) findings.push_back(std::move(finding));
        return;
      case Phase::kCounters:
        return maker_.SetCounter(PlaceOf(wanted_, statement.table));
    }
  });
  return findings;
}

}  // namespace

schema::Script ScriptOf(const schema::Database& wanted, const schema::AccessPlan& plan) {
  schema::Script script{.tables = {}, .statements = {}, .renamings = plan.renamings, .findings = plan.findings};
  const auto add = [&](Phase phase, const std::string& what) {
    for (const schema::Table& table : wanted.tables)
      script.statements.push_back({phase, table.name, "-- " + what + " [" + table.name + "]"});
  };
  for (std::size_t i = 0; i < wanted.tables.size(); ++i) {
    schema::TableThere there{wanted.tables[i].name, plan.there.tables.at(i).name, {}};
    for (const schema::Column& column : plan.there.tables[i].columns) there.columns.push_back(column.name);
    script.tables.push_back(std::move(there));
  }
  add(Phase::kTables, "table");
  add(Phase::kIndexes, "indexes and rules of");
  script.statements.push_back({Phase::kRelations, {}, "-- relations, queries and links"});
  add(Phase::kCounters, "counter of");
  return script;
}

std::unique_ptr<Target> AccessTarget(jet::Database& file, ado::Connection& connection, const schema::Database& wanted,
                                     const schema::AccessPlan& plan) {
  return std::make_unique<IntoFile>(file, connection, wanted, plan);
}

}  // namespace tamlo::move

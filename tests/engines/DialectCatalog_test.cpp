#include <gtest/gtest.h>

#include <string>

#include "ado/Catalog.h"
#include "ado/Connection.h"
#include "ado/odbc/OdbcProvider.h"
#include "runtime/Error.h"
#include "tests/support_lib/DialectEngine.h"

// Keys and views of engines whose driver cannot tell the foreign keys.
namespace tamlo::tests {
namespace {

using Dialect = DialectEngine::Dialect;

class DialectCatalog : public ::testing::TestWithParam<Dialect> {
 protected:
  DialectCatalog() : engine(GetParam()) {
    ado::odbc::RegisterOdbcProviders();
    connection.Provider(GetParam() == Dialect::kSqlServer ? "sqloledb" : "OraOLEDB.Oracle");
    connection.Open("serveur", engine.User(), engine.Password());
  }

  void Append(const std::string& name, const ado::Key& key) {
    ado::Table table(name);
    for (const char* title : {"A", "B"}) {
      ado::Column column;
      column.name = title;
      column.type = ado::adInteger;
      table.AppendColumn(column);
    }
    table.AppendKey(key);
    ado::Catalog(connection).Append(table);
  }

  DialectEngine engine;
  ado::Connection connection;
};

TEST_P(DialectCatalog, HasKeysAndViews) {
  Append("PERE", {.name = "PK_PERE", .type = ado::adKeyPrimary, .columns = {{"B", {}}, {"A", {}}}, .relatedTable = {}});
  Append("FILS", {.name = "UQ_FILS", .type = ado::adKeyUnique, .columns = {{"B", {}}, {"A", {}}}, .relatedTable = {}});
  ado::Catalog catalog(connection);
  ado::Table& child = catalog.Tables("fils");
  child.AppendKey({.name = "FK_PERE",
                   .type = ado::adKeyForeign,
                   .columns = {{"a", "b"}, {"b", "a"}},
                   .relatedTable = "pere",
                   .deleteRule = ado::adRICascade});
  const auto parent = catalog.Tables("PERE").Keys();
  ASSERT_EQ(parent.size(), 1U);
  EXPECT_EQ(parent[0].name, "PK_PERE");
  EXPECT_EQ(parent[0].columns.at(0).name, "B");
  const auto keys = child.Keys();
  ASSERT_EQ(keys.size(), 2U);
  EXPECT_EQ(keys[0].name, "UQ_FILS");
  EXPECT_EQ(keys[0].type, ado::adKeyUnique);
  EXPECT_EQ(keys[0].columns.at(1).name, "A");
  EXPECT_EQ(keys[1].name, "FK_PERE");
  EXPECT_EQ(keys[1].relatedTable, "PERE");
  ASSERT_EQ(keys[1].columns.size(), 2U);
  EXPECT_EQ(keys[1].columns[0].name + keys[1].columns[0].relatedColumn, "AB");
  EXPECT_EQ(keys[1].columns[1].name + keys[1].columns[1].relatedColumn, "BA");
  EXPECT_EQ(keys[1].updateRule, ado::adRINone);
  EXPECT_EQ(keys[1].deleteRule, ado::adRICascade);
  child.DeleteKey("fk_pere");
  EXPECT_EQ(child.Keys().size(), 1U);

  catalog.AppendView("VUE", "SELECT \"A\" FROM \"PERE\"");
  std::string text;
  for (const auto& view : catalog.Views()) text += view.name == "VUE" ? view.command : "";
  EXPECT_NE(text.find("\"PERE\""), std::string::npos) << text;
  EXPECT_EQ(runtime::IgnoringErrors([&] { catalog.AppendView("AUTRE", "SELECT \"A\" FROM \"ABSENTE\""); }).number, -2147217865);
  catalog.DeleteView("vue");
  EXPECT_EQ(catalog.Find("VUE"), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Engines, DialectCatalog, ::testing::Values(Dialect::kSqlServer, Dialect::kOracle),
                         [](const auto& which) { return std::string(which.param == Dialect::kOracle ? "Oracle" : "SqlServer"); });

}  // namespace
}  // namespace tamlo::tests

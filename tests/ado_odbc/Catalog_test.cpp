#include "ado/Catalog.h"

#include <algorithm>

#include "runtime/Text.h"
#include "tests/ado_odbc/Engine.h"

namespace tamlo::tests {
namespace {

using runtime::Variant;

class OdbcCatalog : public OdbcTest {
 protected:
  static ado::Column Column(const std::string& name, std::int16_t type, std::int64_t size = 0) {
    ado::Column column;
    column.name = name;
    column.type = type;
    column.definedSize = size;
    column.attributes = ado::adColNullable;
    return column;
  }
  static ado::Index Index(const std::string& name, const std::vector<std::pair<std::string, ado::SortOrder>>& columns, bool primary,
                          bool unique) {
    ado::Index index;
    index.name = name;
    index.primaryKey = primary;
    index.unique = unique;
    for (const auto& [column, order] : columns) {
      index.columns.push_back(Column(column, ado::adEmpty));
      index.columns.back().sortOrder = order;
    }
    return index;
  }
};

TEST_P(OdbcCatalog, ListsTheTablesOfThisDatabaseWithTheirType) {
  Execute("CREATE TABLE art (code INTEGER)");
  Execute("CREATE VIEW vue AS SELECT * FROM art");
  ado::Catalog catalog(connection);
  EXPECT_EQ(catalog.Tables("ART").Name(), "art");
  EXPECT_EQ(catalog.Tables("art").Type(), "TABLE");
  EXPECT_EQ(catalog.Tables("vue").Type(), "VIEW");
  EXPECT_EQ(catalog.Find("user"), nullptr) << "tables of other databases do not show";
  EXPECT_EQ(ErrorOf([&] { (void)catalog.Tables("rien"); }), 3265);
}

TEST_P(OdbcCatalog, ListsNamesWithAccentsAsTheyStand) {
  const std::string quote = GetParam() == "MariaDB" ? "`" : "\"";
  const std::string name = "Œuvres d'été_%€ " + std::string(40, 'z');
  Execute("CREATE TABLE " + quote + name + quote + " (code INTEGER, " + quote + "clé" + quote + " INTEGER)");
  ado::Catalog catalog(connection);
  ASSERT_NE(catalog.Find(name), nullptr);
  EXPECT_EQ(catalog.Tables(name).Name(), name);
  ASSERT_EQ(catalog.Tables(name).Columns().size(), 2U);
  EXPECT_EQ(catalog.Tables(name).Columns()[1].name, "clé");
}

TEST_P(OdbcCatalog, DescribesColumns) {
  Execute("CREATE TABLE art (code VARCHAR(10) NOT NULL PRIMARY KEY, qte INTEGER, prix DECIMAL(15,2), note " + engine->Type("text") +
          ", cree " + engine->Type("datetime") + ", img " + engine->Type("blob") + ", oui " + engine->Type("boolean") + ")");
  ado::Catalog catalog(connection);
  auto& table = catalog.Tables("art");
  ASSERT_EQ(table.Columns().size(), 7U);
  const auto& code = table.ColumnNamed("CODE");
  EXPECT_TRUE(code.type == ado::adVarChar || code.type == ado::adVarWChar);
  EXPECT_EQ(code.definedSize, 10);
  EXPECT_EQ(code.attributes & ado::adColNullable, 0);
  EXPECT_EQ(table.ColumnNamed("qte").type, ado::adInteger);
  EXPECT_EQ(table.ColumnNamed("qte").attributes, ado::adColFixed | ado::adColNullable);
  EXPECT_EQ(table.ColumnNamed("prix").type, ado::adNumeric);
  EXPECT_EQ(table.ColumnNamed("prix").precision, 15);
  EXPECT_EQ(table.ColumnNamed("prix").numericScale, 2);
  EXPECT_TRUE(ado::IsLongType(table.ColumnNamed("note").type));
  EXPECT_EQ(table.ColumnNamed("cree").type, ado::adDBTimeStamp);
  EXPECT_EQ(table.ColumnNamed("img").type, ado::adLongVarBinary);
  EXPECT_EQ(table.ColumnNamed("oui").type, ado::adBoolean);
  EXPECT_EQ(table.ColumnNamed("qte").properties.Item("AutoIncrement"), Variant(false));
}

TEST_P(OdbcCatalog, DescribesIndexes) {
  Execute("CREATE TABLE art (a INTEGER NOT NULL, b INTEGER NOT NULL, c VARCHAR(10), PRIMARY KEY (b, a))");
  Execute("CREATE UNIQUE INDEX art_c ON art (c)");
  Execute("CREATE INDEX art_bc ON art (b, c)");
  ado::Catalog catalog(connection);
  const auto& indexes = catalog.Tables("art").Indexes();
  ASSERT_EQ(indexes.size(), 3U);
  const auto primary = std::find_if(indexes.begin(), indexes.end(), [](const auto& index) { return index.primaryKey; });
  ASSERT_NE(primary, indexes.end());
  EXPECT_TRUE(primary->unique);
  ASSERT_EQ(primary->columns.size(), 2U);
  EXPECT_EQ(primary->columns[0].name, "b");
  const auto named = [&](const std::string& name) {
    return *std::find_if(indexes.begin(), indexes.end(), [&](const auto& index) { return index.name == name; });
  };
  EXPECT_TRUE(named("art_c").unique);
  EXPECT_FALSE(named("art_c").primaryKey);
  EXPECT_FALSE(named("art_bc").unique);
  EXPECT_EQ(named("art_bc").columns[1].name, "c");
}

TEST_P(OdbcCatalog, CreatesTablesColumnsAndIndexes) {
  ado::Catalog catalog(connection);
  ado::Table table("CLI");
  table.AppendColumn(Column("CODE", ado::adInteger));
  table.AppendColumn(Column("NOM", ado::adVarWChar, 20));
  for (const auto type :
       {ado::adSmallInt, ado::adSingle, ado::adDouble, ado::adCurrency, ado::adDate, ado::adBoolean, ado::adUnsignedTinyInt, ado::adNumeric,
        ado::adLongVarWChar, ado::adLongVarBinary, ado::adGUID, ado::adBigInt, ado::adVarBinary}) {
    table.AppendColumn(Column("F" + std::to_string(type), type, type == ado::adVarBinary ? 10 : 0));
  }
  table.AppendIndex(Index("PK_CLI", {{"CODE", ado::adSortAscending}}, true, true));
  table.AppendIndex(Index("CLI_NOM", {{"NOM", ado::adSortAscending}}, false, true));
  catalog.Append(table);
  auto& made = catalog.Tables("cli");
  EXPECT_EQ(made.Columns().size(), 15U);
  EXPECT_EQ(made.Indexes().size(), 2U);
  made.AppendColumn(Column("AJOUT", ado::adVarWChar, 5));
  made.AppendIndex(Index("CLI_AJOUT", {{"AJOUT", ado::adSortAscending}}, false, false));
  EXPECT_EQ(made.ColumnNamed("ajout").definedSize, 5);
  EXPECT_EQ(made.Indexes().size(), 3U);
  EXPECT_EQ(ErrorOf([&] { made.AppendColumn(Column("X", 9999)); }), 5);
  ado::Recordset rs;
  rs.Open("CLI", &connection, ado::adOpenKeyset, ado::adLockOptimistic, ado::adCmdTableDirect);
  rs.AddNew();
  rs.Fields("CODE").Value(std::int32_t{1});
  rs.Fields("NOM").Value("é");
  rs.Update();
  EXPECT_EQ(rs.Fields("nom").Value(), Variant("é"));
}

TEST_P(OdbcCatalog, SeesDefinitionsThatStatementsChanged) {
  Execute("CREATE TABLE art (code INTEGER)");
  ado::Catalog catalog(connection);
  ASSERT_EQ(catalog.Tables("art").Columns().size(), 1U);
  Execute("ALTER TABLE art ADD qte INTEGER");
  catalog.Refresh();
  EXPECT_EQ(catalog.Tables("art").Columns().size(), 2U);
}

TEST_P(OdbcCatalog, IsError3704OnceTheConnectionIsClosed) {
  ado::Catalog catalog(connection);
  connection.Close();
  EXPECT_EQ(ErrorOf([&] { (void)catalog.TableCount(); }), 3704);
}

using OdbcCatalogMariaDb = OdbcTest;

TEST_P(OdbcCatalogMariaDb, ListsTheConnectionsOwnDatabaseHoweverItIsNamed) {
  Execute("CREATE DATABASE `b``a_%`");
  Execute("CREATE DATABASE bbba_x");  // what a pattern would take for the same
  Execute("CREATE TABLE bbba_x.autre (code INTEGER)");
  Execute("CREATE TABLE `b``a_%`.art (code INTEGER) WITH SYSTEM VERSIONING");
  {
    ado::Connection inside;
    inside.Provider("MSDASQL");
    inside.Open(MariaDb().ConnectionString("{b`a_%}"), engine->User(), engine->Password());
    ado::Catalog catalog(inside);
    ASSERT_EQ(catalog.TableCount(), 1U);
    EXPECT_EQ(catalog.Tables(0).Name(), "art");
    EXPECT_EQ(catalog.Tables(0).Type(), "TABLE");
    EXPECT_EQ(catalog.Tables(0).Columns().front().name, "code");
  }
  Execute("DROP DATABASE `b``a_%`");
  Execute("DROP DATABASE bbba_x");
}

TEST_P(OdbcCatalogMariaDb, WithoutADatabaseThereAreNoTables) {
  Execute("CREATE DATABASE `null`");
  Execute("CREATE TABLE `null`.autre (code INTEGER)");
  const std::string text = MariaDb().ConnectionString("?");
  {
    ado::Connection outside;
    outside.Provider("MSDASQL");
    outside.Open(text.substr(0, text.find(";DATABASE=")) + ";CHARSET=utf8mb4", engine->User(), engine->Password());
    EXPECT_EQ(ado::Catalog(outside).TableCount(), 0U);
    ado::Connection inside;
    inside.Provider("MSDASQL");
    inside.Open(MariaDb().ConnectionString("null"), engine->User(), engine->Password());
    ado::Catalog catalog(inside);
    ASSERT_EQ(catalog.TableCount(), 1U) << "a database may have this name";
    EXPECT_EQ(catalog.Tables(0).Columns().front().name, "code");
  }
  Execute("DROP DATABASE `null`");
}

INSTANTIATE_TEST_SUITE_P(Odbc, OdbcCatalogMariaDb, ::testing::Values("MariaDB"), [](const auto& which) { return which.param; });
INSTANTIATE_TEST_SUITE_P(Odbc, OdbcCatalog, ::testing::Values("SQLite", "MariaDB", "PostgreSQL"),
                         [](const auto& which) { return which.param; });

}  // namespace
}  // namespace tamlo::tests

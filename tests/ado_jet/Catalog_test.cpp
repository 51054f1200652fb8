#include "tests/ado_jet/JetFixture.h"

using namespace tamlo;
using namespace tamlo::ado;
using runtime::IgnoringErrors;

namespace {

class JetCatalogTest : public tests::JetFixture {
 protected:
  static Column Made(const char* name, std::int16_t type, std::int64_t size = 0, bool nullable = true) {
    Column column;
    column.name = name;
    column.type = type;
    column.definedSize = size;
    column.attributes = nullable ? adColNullable : 0;
    return column;
  }
  // As the layer describes a table: texts, memos and truth values required, the others nullable.
  Table Users() {
    Table table("UTL");
    Column id = Made("idutl", adInteger, 0, false);
    id.properties.Set("AutoIncrement", true);
    table.AppendColumn(id);
    Column name = Made("nom", adVarWChar, 30, false);
    name.properties.Set("Jet OLEDB:Allow Zero Length", true);
    table.AppendColumn(name);
    table.AppendColumn(Made("age", adInteger));
    table.AppendColumn(Made("actif", adBoolean, 0, false));
    Column note = Made("note", adLongVarWChar, 0, false);
    note.properties.Set("Jet OLEDB:Allow Zero Length", true);
    table.AppendColumn(note);
    Index primary;
    primary.name = "PK";
    primary.primaryKey = primary.unique = true;
    primary.indexNulls = adIndexNullsIgnore;
    primary.columns.push_back(Made("idutl", adInteger));
    table.AppendIndex(primary);
    Index second;
    second.name = "NOMAGE";
    second.indexNulls = adIndexNullsIgnore;
    second.columns.push_back(Made("nom", adVarWChar));
    Column age = Made("age", adInteger);
    age.sortOrder = adSortDescending;
    second.columns.push_back(age);
    table.AppendIndex(second);
    return table;
  }
};

TEST_F(JetCatalogTest, ATableIsAppendedAsTheLayerDescribesIt) {
  Catalog catalog(connection);
  catalog.Append(Users());
  Table& table = catalog.Tables("utl");
  EXPECT_EQ(table.Type(), "TABLE");
  ASSERT_EQ(table.Columns().size(), 5U);
  EXPECT_TRUE(runtime::ToBoolean(table.ColumnNamed("IDUTL").properties.Item("AutoIncrement")));
  EXPECT_FALSE(runtime::ToBoolean(table.ColumnNamed("age").properties.Item("AutoIncrement")));
  EXPECT_NE(table.ColumnNamed("age").attributes & adColNullable, 0);
  EXPECT_EQ(table.ColumnNamed("nom").definedSize, 30);
  EXPECT_TRUE(runtime::ToBoolean(table.ColumnNamed("nom").properties.Item("Jet OLEDB:Allow Zero Length")));
  ASSERT_EQ(table.Indexes().size(), 2U);
  for (const Index& index : table.Indexes()) {
    if (index.name == "PK") {
      EXPECT_TRUE(index.primaryKey && index.unique);
    } else {
      EXPECT_EQ(index.name, "NOMAGE");
      EXPECT_FALSE(index.primaryKey || index.unique);
      EXPECT_EQ(index.indexNulls, adIndexNullsIgnore);
      ASSERT_EQ(index.columns.size(), 2U);
      EXPECT_EQ(index.columns[0].sortOrder, adSortAscending);
      EXPECT_EQ(index.columns[1].sortOrder, adSortDescending);
    }
  }
}

TEST_F(JetCatalogTest, ATextFieldAcceptsTheEmptyTextButNotNull) {
  Catalog catalog(connection);
  catalog.Append(Users());
  auto rows = Opened("SELECT * FROM UTL", 2);
  rows.AddNew();
  rows.Fields("age").Value(std::int32_t{5});
  rows.Update();  // what is not given takes its default
  EXPECT_EQ(TextOf(rows.Fields("nom").Value()), "");
  EXPECT_EQ(TextOf(rows.Fields("idutl").Value()), "1");
  rows.AddNew();
  rows.Fields("nom").Value("");
  rows.Update();
  rows.AddNew();
  rows.Fields("nom").Value(runtime::Null{});
  const auto error = IgnoringErrors([&] { rows.Update(); });
  EXPECT_EQ(error.number, runtime::kProviderFailure);
  EXPECT_NE(error.description.find("Null"), std::string::npos) << error.description;
  rows.CancelUpdate();
  EXPECT_EQ(Rows("SELECT Count(*), Max(actif) FROM UTL"), "2|0");
}

TEST_F(JetCatalogTest, ColumnsAndIndexesAreAddedToATable) {
  Catalog catalog(connection);
  catalog.Append(Users());
  connection.Execute("INSERT INTO UTL (nom, [note]) VALUES ('a', '')");
  Table& table = catalog.Tables("UTL");
  table.AppendColumn(Made("taille", adDouble));
  EXPECT_EQ(table.Columns().size(), 6U);
  Index index;
  index.name = "TAILLE";
  index.unique = true;
  index.columns.push_back(Made("taille", adDouble));
  table.AppendIndex(index);
  EXPECT_EQ(table.Indexes().size(), 3U);
  connection.Execute("UPDATE UTL SET taille=1.5");
  EXPECT_EQ(Rows("SELECT nom, taille FROM UTL"), "a|1.5");
  EXPECT_EQ(IgnoringErrors([&] { connection.Execute("INSERT INTO UTL (nom, [note], taille) VALUES ('b', '', 1.5)"); }).number, 3022);
}

TEST_F(JetCatalogTest, TypesAreThoseOfAdox) {
  Catalog catalog(connection);
  catalog.Append(Users());
  const std::string other = folder.File("autre.mdb");
  (void)::jet::Database::Create(other);
  Table link("LIEN");
  link.Property("Jet OLEDB:Create Link", true);
  link.Property("Jet OLEDB:Link Datasource", other);
  link.Property("Jet OLEDB:Remote Table Name", "UTL");
  catalog.Append(link);
  Table odbc("SERVEUR");
  odbc.Property("Jet OLEDB:Create Link", true);
  odbc.Property("Jet OLEDB:Link Provider String", "DSN=base;UID=adm");
  odbc.Property("Jet OLEDB:Cache Link Name/Password", false);
  odbc.Property("Jet OLEDB:Remote Table Name", "ADM.UTL");
  catalog.Append(odbc);
  std::map<std::string, std::string> types;
  for (std::size_t i = 0; i < catalog.TableCount(); ++i) types[catalog.Tables(i).Name()] = catalog.Tables(i).Type();
  EXPECT_EQ(types["UTL"], "TABLE");
  EXPECT_EQ(types["LIEN"], "LINK");
  EXPECT_EQ(types["SERVEUR"], "PASS-THROUGH");
  EXPECT_EQ(types["MSysObjects"], "SYSTEM TABLE");
  EXPECT_EQ(runtime::ToText(catalog.Tables("LIEN").Property("Jet OLEDB:Link Datasource")), other);
  EXPECT_EQ(runtime::ToText(catalog.Tables("LIEN").Property("Jet OLEDB:Remote Table Name")), "UTL");
  EXPECT_EQ(runtime::ToText(catalog.Tables("SERVEUR").Property("Jet OLEDB:Link Provider String")), "ODBC;DSN=base;UID=adm");
}

TEST_F(JetCatalogTest, AnUnreachableLinkIsListedAndItsUseNamesTheTarget) {
  Catalog catalog(connection);
  catalog.Append(Users());
  Table link("LIEN");
  link.Property("Jet OLEDB:Create Link", true);
  link.Property("Jet OLEDB:Link Datasource", folder.File("partie.mdb"));
  link.Property("Jet OLEDB:Remote Table Name", "UTL");
  catalog.Append(link);
  EXPECT_NE(catalog.Find("lien"), nullptr);
  const auto error = IgnoringErrors([&] { Opened("SELECT * FROM LIEN", 0); });
  EXPECT_EQ(error.number, runtime::kProviderFailure);
  EXPECT_NE(error.description.find("partie.mdb"), std::string::npos) << error.description;
  EXPECT_EQ(Rows("SELECT Count(*) FROM UTL"), "0");
  // Once the target is there, the link works.
  const auto target = ::jet::Database::Create(folder.File("partie.mdb"));
  ::jet::TableSpec spec;
  spec.name = "UTL";
  ::jet::ColumnDef column;
  column.name = "nom";
  column.size = 20;
  spec.columns.push_back(column);
  target->CreateTable(spec);
}

TEST_F(JetCatalogTest, ALinkedTableIsReadAndWritten) {
  const std::string other = folder.File("autre.mdb");
  (void)::jet::Database::Create(other);
  Connection second;
  second.Provider("Microsoft.Jet.OLEDB.4.0");
  second.Open(other, "", "");
  second.Execute("CREATE TABLE UTL (ID LONG CONSTRAINT PK PRIMARY KEY, NOM TEXT(20))");
  second.Execute("INSERT INTO UTL VALUES (1, 'un')");
  Catalog catalog(connection);
  Table link("LIEN");
  link.Property("Jet OLEDB:Create Link", true);
  link.Property("Jet OLEDB:Link Datasource", second.ConnectionString());
  link.Property("Jet OLEDB:Remote Table Name", "UTL");
  catalog.Append(link);
  auto rows = Opened("SELECT * FROM LIEN", 2);
  rows.AddNew();
  rows.Fields("ID").Value(std::int32_t{2});
  rows.Fields("NOM").Value("deux");
  rows.Update();
  rows.Close();
  EXPECT_EQ(Rows("SELECT * FROM LIEN ORDER BY ID"), "1|un; 2|deux");
  ASSERT_EQ(catalog.Tables("LIEN").Columns().size(), 2U);
  connection.Execute("DROP TABLE [LIEN]");
  catalog.Refresh();
  EXPECT_EQ(catalog.Find("LIEN"), nullptr);
  Recordset kept;
  kept.Open("SELECT NOM FROM UTL ORDER BY ID", &second, adOpenForwardOnly, adLockUnspecified, -1);
  EXPECT_EQ(Rows(kept), "un; deux");
}

TEST_F(JetCatalogTest, AnUnknownTypeIsRefused) {
  Catalog catalog(connection);
  Table table("T");
  table.AppendColumn(Made("x", adUnsignedBigInt));
  const auto error = IgnoringErrors([&] { catalog.Append(table); });
  EXPECT_EQ(error.number, runtime::kProviderFailure);
  EXPECT_EQ(error.description, "Type 21 non géré : x");
  EXPECT_EQ(catalog.Find("T"), nullptr);
}

TEST_F(JetCatalogTest, DefaultsOfAppendedColumnsAreThoseOfNewRows) {
  Catalog catalog(connection);
  Table table("D");
  table.AppendColumn(Made("Id", adInteger));
  Column number = Made("N", adInteger);
  number.properties.Set("Default", "7");
  table.AppendColumn(number);
  catalog.Append(table);
  Column text = Made("T", adVarWChar, 20);
  text.properties.Set("Default", "\"l'autre\"");
  catalog.Tables("D").AppendColumn(text);
  connection.Execute("INSERT INTO D (Id) VALUES (1)");
  Recordset rows;
  rows.Open("D", &connection, adOpenKeyset, adLockOptimistic, adCmdTableDirect);
  rows.AddNew();
  rows.Fields("Id").Value(std::int32_t{2});
  rows.Update();
  rows.Close();
  EXPECT_EQ(Rows("SELECT * FROM D ORDER BY Id"), "1|7|l'autre; 2|7|l'autre");
  Catalog again(connection);
  EXPECT_EQ(TextOf(again.Tables("D").ColumnNamed("N").properties.Item("Default")), "7");
  EXPECT_EQ(TextOf(again.Tables("D").ColumnNamed("T").properties.Item("Default")), "\"l'autre\"");
}

}  // namespace

// Files of Access 2007 and later through the provider.

#include <filesystem>
#include <fstream>
#include <iterator>

#include "jet/table/Table.h"
#include "tests/ado_jet/JetFixture.h"

using namespace tamlo;
using namespace tamlo::ado;
using runtime::IgnoringErrors;

namespace {

/// Base.accdb beside Base.mdb, with a table T of which the column Big is a Big Integer, Moment an extended date and Somme calculated in Calc.
class JetAccdb : public tests::JetFixture {
 protected:
  void SetUp() override {
    JetFixture::SetUp();
    connection.Close();
    std::size_t definitions[2] = {};
    {
      const auto database = ::jet::Database::Open(path);
      const auto column = [](const char* name, ::jet::ColumnType type, std::uint16_t size = 0) {
        ::jet::ColumnDef made;
        made.name = name;
        made.type = type;
        made.size = size;
        made.fixedLength = type == ::jet::ColumnType::kBinary && size == 42;
        return made;
      };
      ::jet::TableSpec spec;
      spec.name = "T";
      spec.columns = {column("Id", ::jet::ColumnType::kLong), column("Big", ::jet::ColumnType::kCurrency),
                      column("Moment", ::jet::ColumnType::kBinary, 42)};
      definitions[0] = database->CreateTable(spec).DefinitionPage();
      spec.name = "Calc";
      spec.columns = {column("Id", ::jet::ColumnType::kLong), column("Somme", ::jet::ColumnType::kBinary, 39)};
      definitions[1] = database->CreateTable(spec).DefinitionPage();
    }
    std::ifstream source(path, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(source), {}};
    bytes.replace(4, 16, std::string("Standard ACE DB\0", 16));
    bytes[0x14] = 6;
    const auto block = [&](std::size_t table, std::size_t column) { return bytes.data() + definitions[table] * 4096 + 63 + 25 * column; };
    block(0, 1)[0] = 19;
    block(0, 2)[0] = 20;
    block(1, 1)[0] = 4;
    block(1, 1)[16] = '\xC0';
    path = folder.File("Base.accdb");
    std::ofstream(path, std::ios::binary) << bytes;
    connection.Open(path, "", "");
  }
};

TEST_F(JetAccdb, AreWrittenByStatementsAndByRecordsets) {
  EXPECT_EQ(TextOf(connection.Property("READ-ONLY DATA SOURCE")), "0");
  connection.Execute("INSERT INTO T VALUES (1, '9223372036854775807', '2020-06-17 12:00:43.1234567')");
  connection.Execute("INSERT INTO T (Id, Big) VALUES (2, -5)");
  EXPECT_EQ(Rows("SELECT Id, Big, Moment FROM T ORDER BY Id"), "1|9223372036854775807|2020-06-17 12:00:43.1234567; 2|-5|NULL");
  Recordset rows;
  rows.Open("T", &connection, adOpenKeyset, adLockOptimistic, adCmdTableDirect);
  rows.AddNew();
  rows.Fields("Id").Value(std::int32_t{3});
  rows.Fields("Big").Value("-9223372036854775808");
  rows.Fields("Moment").Value("0001-01-01");
  rows.Update();
  rows.MoveFirst();
  rows.Delete();
  rows.Close();
  connection.Execute("UPDATE T SET Moment = '1999-12-31 23:59:59' WHERE Id = 2");
  EXPECT_EQ(Rows("SELECT Id, Big, Moment FROM T ORDER BY Id"),
            "2|-5|1999-12-31 23:59:59.0000000; 3|-9223372036854775808|0001-01-01 00:00:00.0000000");
}

TEST_F(JetAccdb, WhatDoesNotFitIsRefused) {
  for (const char* statement : {"INSERT INTO T (Big) VALUES ('9223372036854775808')", "INSERT INTO T (Big) VALUES (1.5)",
                                "INSERT INTO T (Moment) VALUES ('17/06/2020')"})
    EXPECT_NE(IgnoringErrors([&] { connection.Execute(statement); }).number, 0) << statement;
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM T"), "0");
}

TEST_F(JetAccdb, WhyACalculatedColumnStopsARowIsSaidInFrench) {
  const auto error = IgnoringErrors([&] { connection.Execute("INSERT INTO Calc (Id) VALUES (1)"); });
  EXPECT_NE(error.number, 0);
  EXPECT_NE(error.description.find(
                "la table \"Calc\" n'admet pas d'enregistrement : sa colonne \"Somme\" est calculée, ce que seul Access sait faire"),
            std::string::npos)
      << error.description;
}

TEST_F(JetAccdb, TablesAreMadeAndDropped) {
  connection.Execute("CREATE TABLE Neu (Id COUNTER CONSTRAINT PK PRIMARY KEY, Nom TEXT(20), Note MEMO)");
  connection.Execute("INSERT INTO Neu (Nom, Note) VALUES ('a', 'b')");
  connection.Execute("ALTER TABLE Neu ADD COLUMN Prix CURRENCY");
  connection.Execute("CREATE INDEX ParNom ON Neu (Nom)");
  EXPECT_EQ(Rows("SELECT * FROM Neu"), "1|a|b|NULL");
  connection.Execute("DROP TABLE Neu");
  EXPECT_EQ(TextOf(connection.Property("JET OLEDB:ENGINE TYPE")), "6");
}

TEST_F(JetAccdb, AreMadeWhereTheNameAsksForIt) {
  const std::string name = folder.File("Neu.accdb");
  Catalog::Create("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + name + ";Jet OLEDB:Engine Type=6");
  EXPECT_EQ(::jet::Database::Open(name)->Release(), 2);
  for (const char* key : {";Jet OLEDB:Engine Type=5", ";Jet OLEDB:Database Password=x", ";Jet OLEDB:Encrypt Database=True"}) {
    const std::string other = folder.File("Autre.accdb");
    EXPECT_NE(IgnoringErrors([&] { Catalog::Create("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + other + key); }).number, 0) << key;
    EXPECT_FALSE(std::filesystem::exists(other)) << key;
  }
}

}  // namespace

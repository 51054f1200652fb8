// Whole Access files into each engine: rows, keys, relations, counters, and what is said of it.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/move/Samples.h"

namespace tamlo::tests {
namespace {

const std::string kEnvironment = "LC_ALL=C TAMLO_DB_PASSWORD=tamlo";

/// One file with a relation of two tables, one of a table with itself, a counter that is ahead of its rows, and values at the edges of their types.
std::string MakeFile(const TemporaryFolder& folder) {
  const std::string path = folder.File("base.mdb");
  const auto database = jet::Database::Create(path);
  jet::sql::Session session(*database);
  session.Execute("CREATE TABLE Clients (Id COUNTER CONSTRAINT PK PRIMARY KEY, Nom TEXT(30), Chef LONG, Actif YESNO, Solde CURRENCY)");
  session.Execute("CREATE TABLE Achats (Client LONG, Quand DATETIME, D DECIMAL(28,10), G GUID, B BINARY(8), R DOUBLE, M MEMO)");
  session.Execute("ALTER TABLE Clients ADD CONSTRAINT SonChef FOREIGN KEY (Chef) REFERENCES Clients (Id)");
  session.Execute("ALTER TABLE Achats ADD CONSTRAINT DuClient FOREIGN KEY (Client) REFERENCES Clients (Id) ON DELETE CASCADE");
  session.Execute("CREATE UNIQUE INDEX ParNom ON Clients (Nom)");
  session.Execute("INSERT INTO Clients (Id, Nom, Chef, Actif, Solde) VALUES (0, 'zéro  ', 0, True, '922337203685477.5807')");
  session.Execute("INSERT INTO Clients (Id, Nom, Chef, Solde) VALUES (7, '', 0, -0.0001)");
  session.Execute("INSERT INTO Clients (Id, Nom) VALUES (90, 'dernier')");
  session.Execute("DELETE FROM Clients WHERE Id = 90");
  session.Execute(
      "INSERT INTO Achats (Client, Quand, D, G, R, M) VALUES (7, #2001-02-03 04:05:06#, '123456789012345678.0123456789', "
      "{guid {00112233-4455-6677-8899-AABBCCDDEEFF}}, 0.1, 'a' & Chr(10) & 'b \"c\"')");
  session.Execute("INSERT INTO Achats (Client, R) VALUES (Null, 1E300)");
  return path;
}

/// mdb-export writes GUIDs beside bytes as bytes of a text that lacks a dash: they are looked at by themselves.
Rows WithoutGuids(Rows rows) {
  for (auto& row : rows)
    if (row.size() == 7) row.erase(row.begin() + 3);
  return rows;
}

class CopyTo : public testing::TestWithParam<const char*> {
 protected:
  CopyTo() : engine_(EngineCalled(GetParam())), folder_(engine_->folder) { engine_->Empty(); }
  Ran Copy(const std::vector<std::string>& options, const std::string& from = "base.mdb") {
    std::vector<std::string> line{"copy", from, engine_->Name()};
    line.insert(line.end(), options.begin(), options.end());
    return TamloDb(folder_, line, kEnvironment);
  }
  std::string Number(const std::string& query) { return engine_->Ask(query + ";\n").out; }

  std::unique_ptr<TargetEngine> engine_;
  const TemporaryFolder& folder_;
};

TEST_P(CopyTo, RowsArriveAsTheyAre) {
  const std::string path = MakeFile(folder_);
  const auto copied = Copy({});
  EXPECT_EQ(copied.err, "");
  EXPECT_EQ(copied.status, 0);
  Compared compared;
  for (const char* table : {"Clients", "Achats"})
    Compare(table, WithoutGuids(engine_->RowsOf(table)), WithoutGuids(ExportedByMdb(folder_, path, table)), compared);
  EXPECT_EQ(compared.cells, 22U);
  EXPECT_EQ(
      Number("SELECT " + engine_->Quoted("G") + " FROM " + engine_->Quoted("Achats") + " WHERE " + engine_->Quoted("Client") + " = 7"),
      "00112233-4455-6677-8899-aabbccddeeff\n");
  EXPECT_EQ(compared.different, 0U) << compared.first;
  const auto rows = engine_->RowsOf("Clients", " ORDER BY " + engine_->Quoted("Id"));
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[0][1], "zéro  ");
  EXPECT_EQ(rows[0][4], "922337203685477.5807");
  EXPECT_EQ(rows[1][1], "");
}

TEST_P(CopyTo, AllValuesAreComparedByAnotherRoad) {
  MakeFile(folder_);
  const auto copied = Copy({"--verify", "full"});
  EXPECT_EQ(copied.err, "");
  EXPECT_EQ(copied.status, 0);
}

TEST(CopyToSqlite, AValueThatBecameAnotherOnItsWayIsTold) {
  const auto engine = EngineCalled("sqlite");
  MakeFile(engine->folder);
  const auto copy = [&](const std::vector<std::string>& options) {
    std::vector<std::string> line{"copy", "base.mdb", engine->Name()};
    line.insert(line.end(), options.begin(), options.end());
    return TamloDb(engine->folder, line, kEnvironment);
  };
  ASSERT_EQ(copy({"--schema-only"}).status, 0);
  engine->Ask("CREATE TRIGGER t AFTER INSERT ON Clients WHEN NEW.Id = 7 BEGIN UPDATE Clients SET Nom = 'x' WHERE Id = 7; END;\n");
  const auto copied = copy({"--data-only", "--verify", "full"});
  EXPECT_EQ(copied.status, 1);
  EXPECT_NE(copied.err.find("1 of the first and 1 of the second have no equal"), std::string::npos) << copied.err;
  EXPECT_NE(copied.err.find("row Id=7: Nom is \"\" in base.mdb, \"x\" in"), std::string::npos) << copied.err;
}

TEST_P(CopyTo, CountersGoOnAndRelationsHold) {
  MakeFile(folder_);
  ASSERT_EQ(Copy({}).status, 0);
  const std::string pragma = std::string(GetParam()) == "sqlite" ? "PRAGMA foreign_keys = ON; " : "";
  EXPECT_EQ(engine_->Ask("INSERT INTO " + engine_->Quoted("Clients") + " (" + engine_->Quoted("Nom") + ") VALUES ('neuf');\n").status, 0);
  EXPECT_EQ(Number("SELECT max(" + engine_->Quoted("Id") + ") FROM " + engine_->Quoted("Clients")), "91\n");
  EXPECT_NE(engine_->Ask(pragma + "INSERT INTO " + engine_->Quoted("Achats") + " (" + engine_->Quoted("Client") + ") VALUES (5);\n").status,
            0);
  EXPECT_NE(engine_->Ask("INSERT INTO " + engine_->Quoted("Clients") + " (" + engine_->Quoted("Nom") + ") VALUES ('neuf');\n").status, 0);
}

TEST_P(CopyTo, WhatIsThereIsRefusedOrKeptOrReplaced) {
  MakeFile(folder_);
  ASSERT_EQ(Copy({}).status, 0);
  const auto again = Copy({});
  EXPECT_EQ(again.status, 4);
  EXPECT_NE(again.err.find("has the tables already: Clients, Achats"), std::string::npos) << again.err;
  const auto count = [&] { return Number("SELECT count(*) FROM " + engine_->Quoted("Achats")); };
  EXPECT_EQ(count(), "2\n");
  const auto behind = Copy({"--if-exists", "append", "-t", "Achats"});
  EXPECT_EQ(behind.status, 0) << behind.err;
  EXPECT_EQ(count(), "4\n");
  const auto replaced = Copy({"--if-exists", "replace"});
  EXPECT_EQ(replaced.status, 0) << replaced.err;
  EXPECT_EQ(count(), "2\n");
}

TEST_P(CopyTo, DefinitionsAndRowsCanComeApart) {
  const std::string path = MakeFile(folder_);
  EXPECT_EQ(Copy({"--data-only"}).status, 4);
  ASSERT_EQ(Copy({"--schema-only"}).status, 0);
  EXPECT_EQ(Number("SELECT count(*) FROM " + engine_->Quoted("Clients")), "0\n");
  // The relations are there now, and the rows of one table refer to each other and to those of the other one.
  const auto rows = Copy({"--data-only"});
  EXPECT_EQ(rows.status, 0) << rows.err;
  Compared compared;
  for (const char* table : {"Clients", "Achats"})
    Compare(table, WithoutGuids(engine_->RowsOf(table)), WithoutGuids(ExportedByMdb(folder_, path, table)), compared);
  EXPECT_EQ(compared.different, 0U) << compared.first;
}

TEST_P(CopyTo, APlanIsPrintedAndNothingDone) {
  MakeFile(folder_);
  if (std::string(GetParam()) == "sqlite") engine_->Ask("CREATE TABLE x (y); DROP TABLE x;\n");
  const auto plan = Copy({"--dry-run", "-x", "Ach*"});
  EXPECT_EQ(plan.status, 0) << plan.err;
  EXPECT_NE(plan.out.find("CREATE TABLE " + engine_->Quoted("Clients")), std::string::npos) << plan.out;
  EXPECT_NE(plan.out.find("-- 2 rows of Clients"), std::string::npos) << plan.out;
  EXPECT_EQ(plan.out.find("Achats"), std::string::npos) << plan.out;
  EXPECT_NE(engine_->Ask("SELECT 1 FROM " + engine_->Quoted("Clients") + ";\n").status, 0);
}

TEST(CopyToAFile, QueriesAndLinksComeToo) {
  const TemporaryFolder folder;
  MakeFile(folder);
  {
    const auto database = jet::Database::Open(folder.File("base.mdb"));
    jet::sql::Session session(*database);
    session.Execute("CREATE VIEW Chefs AS SELECT Nom FROM Clients WHERE Chef = 0");
    database->CreateLink({.name = "Ailleurs", .odbc = false, .database = folder.File("autre.mdb"), .connect = {}, .foreignName = "T"});
  }
  ASSERT_EQ(TamloDb(folder, {"copy", "base.mdb", "neuf.mdb"}, kEnvironment).status, 0);
  EXPECT_EQ(RunLine(folder, "mdb-queries -1 neuf.mdb").out, "Chefs\n");
  EXPECT_EQ(TamloDb(folder, {"query", "neuf.mdb", "SELECT Count(*) AS n FROM Chefs", "-F", "csv"}, kEnvironment).out, "n\n2\n");
  EXPECT_EQ(RunLine(folder, "(mdb-export neuf.mdb MSysObjects | grep -c autre.mdb)").out, "1\n");
  ASSERT_EQ(TamloDb(folder, {"copy", "base.mdb", "choix.mdb", "-t", "Clients"}, kEnvironment).status, 0);
  EXPECT_EQ(RunLine(folder, "mdb-queries -1 choix.mdb").out, "");
}

TEST(CopyToSqlite, HowMuchOfTheDefinitionsIsNotTakenIsSaid) {
  const TemporaryFolder folder;
  MakeFile(folder);
  {
    const auto database = jet::Database::Open(folder.File("base.mdb"));
    jet::sql::Session(*database).Execute("CREATE VIEW Chefs AS SELECT Nom FROM Clients WHERE Chef = 0");
  }
  EXPECT_NE(
      TamloDb(folder, {"copy", "base.mdb", "x.sqlite", "--dry-run"}, kEnvironment).out.find("-- the stored query Chefs stays behind\n"),
      std::string::npos);
  EXPECT_EQ(TamloDb(folder, {"copy", "base.mdb", "x.sqlite"}, kEnvironment).err, "");
  const auto told = TamloDb(folder, {"copy", "base.mdb", "y.sqlite", "--progress", "log"}, kEnvironment).err;
  EXPECT_NE(told.find("tamlo-db: 1 point of the definitions is not taken over as it stands: --dry-run lists it\n"), std::string::npos)
      << told;
}

TEST(CopyToMariaDb, AKeyThatIsTooWideHoldsWhatFits) {
  const auto source = EngineCalled("postgresql");
  source->Empty();
  source->Ask(
      "CREATE TABLE w (a varchar(600), n int, b varchar(300), PRIMARY KEY (a, n, b)); INSERT INTO w VALUES ('x', 1, 'y'), ('x', 1, 'z');"
      "CREATE TABLE v (a varchar(768) PRIMARY KEY);\n");
  const auto target = EngineCalled("mariadb");
  target->Empty();
  std::vector<std::string> line{"copy", source->Name(), target->Name(), "--verify", "full"};
  const auto copied = TamloDb(source->folder, line, kEnvironment);
  EXPECT_EQ(copied.err, "");
  EXPECT_EQ(copied.status, 0);
  EXPECT_EQ(target
                ->Ask("SELECT column_name, sub_part FROM information_schema.statistics WHERE table_schema = database() ORDER BY "
                      "table_name, seq_in_index;\n")
                .out,
            "a\tNULL\na\t466\nn\tNULL\nb\tNULL\n");
  target->Empty();
  line.back() = "--dry-run";
  line.erase(line.end() - 2);
  EXPECT_NE(TamloDb(source->folder, line, kEnvironment)
                .out.find("-- w.a: the primary key holds its first 466 characters alone on MariaDB: rows that differ behind them alone are "
                          "refused\n"),
            std::string::npos);
}

TEST_P(CopyTo, TheReportIsForPrograms) {
  MakeFile(folder_);
  ASSERT_EQ(Copy({"--report", "r.json", "--progress", "log"}).status, 0);
  EXPECT_EQ(RunLine(folder_, "node -e " + Word("const r=JSON.parse(require('fs').readFileSync('r.json'));console.log(r.refused,r.cancelled,"
                                               "r.tables.map(t=>[t.name,t.copied,t.counted].join()).join(' '))"))
                .out,
            "0 false Clients,2,2 Achats,2,2\n");
}

/// The richest of the samples; the others are in move_samples_test.
TEST_P(CopyTo, SamplesArriveCellByCell) {
  if (SampleFiles().empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with Access files";
  Compared compared;
  const bool all = std::string(GetParam()) == "sqlite";
  for (const auto& sample : SampleFiles()) {
    const std::string name = sample.stem().string();
    if (all || name == "test2V2003" || name == "fixedNumericTestV2000" || name == "overflowTestV1997" || name == "V2003_with-password")
      CopyAndCompare(*engine_, sample, compared);
  }
  EXPECT_GT(compared.cells, 100U);
  EXPECT_EQ(compared.different, 0U) << compared.first;
}

INSTANTIATE_TEST_SUITE_P(Engines, CopyTo, testing::Values("sqlite", "mariadb", "postgresql"));

}  // namespace
}  // namespace tamlo::tests

// copy --map: other names and types in the target, and what stays behind.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/move/Engines.h"

namespace tamlo::tests {
namespace {

const std::string kEnvironment = "LC_ALL=C TAMLO_DB_PASSWORD=tamlo";

void MakeFile(const TemporaryFolder& folder) {
  const auto database = jet::Database::Create(folder.File("base.mdb"));
  jet::sql::Session session(*database);
  session.Execute("CREATE TABLE Clients (Id COUNTER CONSTRAINT PK PRIMARY KEY, Nom TEXT(30), Chef LONG, Solde CURRENCY, Age BYTE)");
  session.Execute("CREATE TABLE [Détail achat] (Client LONG, [n° 1] TEXT(10), Essai LONG)");
  session.Execute("CREATE TABLE Brouillon (X LONG)");
  session.Execute("ALTER TABLE Clients ADD CONSTRAINT SonChef FOREIGN KEY (Chef) REFERENCES Clients (Id)");
  session.Execute("ALTER TABLE [Détail achat] ADD CONSTRAINT DuClient FOREIGN KEY (Client) REFERENCES Clients (Id)");
  session.Execute("CREATE INDEX ParChef ON Clients (Chef)");
  session.Execute("CREATE UNIQUE INDEX ParNom ON Clients (Nom)");
  session.Execute("INSERT INTO Clients (Id, Nom, Solde, Age) VALUES (1, 'Ada', '12.5', 200)");
  session.Execute("INSERT INTO Clients (Id, Nom, Chef, Solde) VALUES (4, 'Émile', 1, '-0.0001')");
  session.Execute("INSERT INTO [Détail achat] (Client, [n° 1], Essai) VALUES (4, 'a', 7)");
}

const char* const kMap =
    "\xEF\xBB\xBF# Les noms de la nouvelle base\r\n"
    "Clients -> customers\r\n"
    "Clients.Nom -> name memo\n"
    "Clients.Chef -> -   # n'y va pas\n"
    "Clients.Solde -> \"le \"\"solde\"\"\" decimal(20,5)\n"
    "Clients.Age->age long\n"
    "\n"
    "\"Détail achat\" -> purchases\n"
    "\"Détail achat\".\"n° 1\" -> number text(5)\n"
    "\"Détail achat\".Client -> customer\n"
    "Brouillon -> -\n";

void WriteMap(const TemporaryFolder& folder, const std::string& text) { std::ofstream(folder.File("noms.txt"), std::ios::binary) << text; }

class MapTo : public testing::TestWithParam<const char*> {
 protected:
  MapTo() : engine_(EngineCalled(GetParam())), folder_(engine_->folder) {
    engine_->Empty();
    MakeFile(folder_);
  }
  Ran Copy(const std::vector<std::string>& options) {
    std::vector<std::string> line{"copy", "base.mdb", engine_->Name(), "--map", "noms.txt"};
    line.insert(line.end(), options.begin(), options.end());
    return TamloDb(folder_, line, kEnvironment);
  }

  std::unique_ptr<TargetEngine> engine_;
  const TemporaryFolder& folder_;
};

TEST_P(MapTo, NamesAndTypesAreThoseOfTheMap) {
  WriteMap(folder_, kMap);
  const auto copied = Copy({"--verify", "full"});
  EXPECT_EQ(copied.err, "");
  EXPECT_EQ(copied.status, 0);
  // SQLite keeps an amount's text as it came; a server gives it the column's decimals.
  const std::string zero = std::string(GetParam()) == "sqlite" ? "" : "0";
  EXPECT_EQ(engine_->RowsOf("customers", " ORDER BY " + engine_->Quoted("Id")),
            (Rows{{"1", "Ada", "12.5000" + zero, "200"}, {"4", "Émile", "-0.0001" + zero, {}}}));
  EXPECT_EQ(engine_->RowsOf("purchases"), (Rows{{"4", "a", "7"}}));
  const auto tables = TamloDb(folder_, {"tables", engine_->Name(), "-F", "csv"}, kEnvironment).out;
  EXPECT_EQ(tables, "table,rows\ncustomers,2\npurchases,1\n");
  const auto relations = TamloDb(folder_, {"relations", engine_->Name(), "-F", "jsonl"}, kEnvironment).out;
  EXPECT_NE(relations.find("\"table\":\"purchases\",\"referenced\":\"customers\",\"columns\":\"customer -> Id\""), std::string::npos)
      << relations;
  EXPECT_EQ(relations.find("SonChef"), std::string::npos);
}

TEST_P(MapTo, ACopyThatGaveUpGoesOnByTheSameMapAlone) {
  WriteMap(folder_, "Clients.Nom -> name text(4)\nBrouillon -> -\n");
  const auto first = Copy({"--reject-limit", "0"});
  EXPECT_EQ(first.status, 4) << first.err;
  WriteMap(folder_, "Clients.Nom -> nom2 text(4)\nBrouillon -> -\n");
  EXPECT_EQ(Copy({"--resume"}).status, 4) << "another map is another copy";
  WriteMap(folder_, "Clients.Nom -> name text(4)\nBrouillon -> -\n");
  const auto second = Copy({"--resume", "--reject", "refus.jsonl"});
  EXPECT_EQ(second.status, 1) << second.err;
  EXPECT_NE(second.err.find("Nom"), std::string::npos) << second.err;
  EXPECT_EQ(engine_->RowsOf("Clients").size(), 1U);
  EXPECT_EQ(RunLine(folder_, "grep -c Émile refus.jsonl").out, "1\n");
}

TEST_P(MapTo, AnotherTableOfTheSameNameAndFormIsAnotherCopy) {
  {
    const auto database = jet::Database::Open(folder_.File("base.mdb"));
    jet::sql::Session session(*database);
    for (const char* name : {"Un", "Deux"}) {
      session.Execute(std::string("CREATE TABLE ") + name + " (V TEXT(5))");
      session.Execute(std::string("INSERT INTO ") + name + " VALUES ('" + name + "')");
    }
  }
  WriteMap(folder_, "Un -> x\nUn.V -> v text(1)\n");
  EXPECT_EQ(Copy({"-t", "Un", "--reject-limit", "0"}).status, 4);
  WriteMap(folder_, "Deux -> x\nDeux.V -> v text(1)\n");
  EXPECT_EQ(Copy({"-t", "Deux", "--resume"}).status, 4);
  EXPECT_EQ(engine_->RowsOf("x"), Rows{});
}

INSTANTIATE_TEST_SUITE_P(Engines, MapTo, testing::Values("sqlite", "mariadb", "postgresql"),
                         [](const auto& engine) { return std::string(engine.param); });

TEST(Map, IntoAFile) {
  const TemporaryFolder folder;
  MakeFile(folder);
  WriteMap(folder, kMap);
  const auto copied = TamloDb(folder, {"copy", "base.mdb", "neuf.mdb", "--map", "noms.txt", "--verify", "full"});
  EXPECT_EQ(copied.err, "");
  EXPECT_EQ(copied.status, 0);
  EXPECT_EQ(TamloDb(folder, {"export", "neuf.mdb", "-t", "customers", "--order-by", "Id", "-F", "csv"}).out,
            "Id,name,\"le \"\"solde\"\"\",age\n1,Ada,12.50000,200\n4,Émile,-0.00010,\n");
  EXPECT_EQ(TamloDb(folder, {"check", "neuf.mdb"}).out, "neuf.mdb is sound\n");
  EXPECT_EQ(RunLine(folder, "mdb-tables -1 neuf.mdb").out, "customers\npurchases\n");
}

TEST(Map, TheDryRunTellsWhatIsRenamedAndWhatStaysBehind) {
  const TemporaryFolder folder;
  MakeFile(folder);
  WriteMap(folder, kMap);
  const auto plan = TamloDb(folder, {"copy", "base.mdb", "x.sqlite", "--map", "noms.txt", "--dry-run"});
  EXPECT_EQ(plan.status, 0);
  for (const char* line : {"-- Clients -> customers\n", "-- Clients: Nom -> name\n", "-- Détail achat: n° 1 -> number\n",
                           "-- Clients: the index ParChef is left off: a column of it stays behind\n",
                           "-- Clients: the relation SonChef is left off: a column of it stays behind\n", "CREATE TABLE \"customers\" (",
                           "-- 2 rows of Clients\n"})
    EXPECT_NE(plan.out.find(line), std::string::npos) << line << plan.out;
  EXPECT_EQ(plan.out.find("Brouillon"), std::string::npos);
}

TEST(Map, WhatCannotBeIsRefusedWithItsLine) {
  const TemporaryFolder folder;
  MakeFile(folder);
  const auto refusal = [&](const std::string& text) {
    WriteMap(folder, text);
    const auto ran = TamloDb(folder, {"copy", "base.mdb", "x.sqlite", "--map", "noms.txt"});
    EXPECT_EQ(ran.status, 2) << text;
    EXPECT_FALSE(std::filesystem::exists(folder.File("x.sqlite"))) << text;
    return ran.err;
  };
  EXPECT_EQ(refusal("# a\nClient -> x\n"), "tamlo-db: noms.txt, line 2: the source has no table Client\n");
  EXPECT_EQ(refusal("Clients.Prenom -> x"), "tamlo-db: noms.txt, line 1: the source has no column Clients.Prenom\n");
  EXPECT_EQ(refusal("Clients -> x\nclients -> y\n"), "tamlo-db: noms.txt, line 2: clients has been named already\n");
  EXPECT_EQ(refusal("Clients.Nom -> age\n"), "tamlo-db: noms.txt, line 1: two would be called age\n");
  EXPECT_EQ(refusal("Clients -> Brouillon\n"), "tamlo-db: noms.txt, line 1: two would be called Brouillon\n");
  EXPECT_EQ(refusal("Clients.Nom -> x varchar(3)\n"), "tamlo-db: noms.txt, line 1: varchar(3) is no type that is known here\n");
  EXPECT_EQ(refusal("\nClients.Nom -> x long\n"), "tamlo-db: noms.txt, line 2: that type does not take every value of Clients.Nom\n");
  EXPECT_EQ(refusal("Clients.Solde -> x decimal(18,4)\n"),
            "tamlo-db: noms.txt, line 1: that type does not take every value of Clients.Solde\n");
  EXPECT_EQ(refusal("Clients = x\n"),
            "tamlo-db: noms.txt, line 1: TABLE -> NAME, TABLE.COLUMN -> NAME [TYPE] or - is wanted, not Clients = x\n");
  EXPECT_EQ(refusal("Clients -> x long\n"),
            "tamlo-db: noms.txt, line 1: TABLE -> NAME, TABLE.COLUMN -> NAME [TYPE] or - is wanted, not Clients -> x long\n");
  const auto missing = TamloDb(folder, {"copy", "base.mdb", "x.sqlite", "--map", "rien.txt"});
  EXPECT_EQ(missing.err, "tamlo-db: cannot read rien.txt\n");
  EXPECT_EQ(missing.status, 2);
}

}  // namespace
}  // namespace tamlo::tests

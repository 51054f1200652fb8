// compare, as a person runs it.
#include <gtest/gtest.h>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/cli/Command.h"

namespace tamlo::tests {
namespace {

class Compare : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"a.mdb", "b.mdb"}) {
      const auto database = jet::Database::Create(folder_.File(name));
      jet::sql::Session session(*database);
      session.Execute("CREATE TABLE Clients (Id LONG CONSTRAINT PK PRIMARY KEY, Nom TEXT(30))");
      session.Execute("INSERT INTO Clients VALUES (1, 'Le Goff')");
      session.Execute("INSERT INTO Clients VALUES (2, 'Morvan')");
    }
  }
  Ran Run(const std::string& arguments, const std::string& environment = "LC_ALL=C") {
    return RunLine(folder_, environment + " " + Word(TAMLO_DB) + " compare " + arguments);
  }
  void Change(const std::string& sql) {
    const auto database = jet::Database::Open(folder_.File("b.mdb"));
    jet::sql::Session(*database).Execute(sql);
  }
  TemporaryFolder folder_;
};

TEST_F(Compare, EqualFilesAreSaidToBe) {
  const auto ran = Run("a.mdb b.mdb");
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(ran.out, "a.mdb and b.mdb are equal: 1 table, 2 rows\n");
  EXPECT_EQ(Run("a.mdb b.mdb", "LC_ALL=fr_FR.UTF-8").out, "a.mdb et b.mdb sont égales : 1 table, 2 lignes\n");
}

TEST_F(Compare, DifferencesAreToldWithStatusOne) {
  Change("UPDATE Clients SET Nom = 'morvan' WHERE Id = 2");
  Change("CREATE INDEX ParNom ON Clients (Nom)");
  const auto ran = Run("a.mdb b.mdb");
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.err, "");
  EXPECT_EQ(ran.out,
            "Clients: index on Nom, called ParNom is only in b.mdb\n"
            "Clients: 2 rows in a.mdb, 2 in b.mdb; 1 of the first and 1 of the second have no equal\n"
            "  row Id=2: Nom is \"Morvan\" in a.mdb, \"morvan\" in b.mdb\n");
  EXPECT_EQ(Run("a.mdb b.mdb --schema-only").out, "Clients: index on Nom, called ParNom is only in b.mdb\n");
  EXPECT_EQ(Run("a.mdb b.mdb --data-only --shown 0").out,
            "Clients: 2 rows in a.mdb, 2 in b.mdb; 1 of the first and 1 of the second have no equal\n");
}

TEST_F(Compare, WhatCannotBeComparedIsNamed) {
  const auto missing = Run("a.mdb none.mdb");
  EXPECT_EQ(missing.status, 3);
  EXPECT_NE(missing.err.find("none.mdb"), std::string::npos);
  const auto pattern = Run("a.mdb b.mdb -t Clint");
  EXPECT_EQ(pattern.status, 2);
  EXPECT_NE(pattern.err.find("Clint"), std::string::npos);
  EXPECT_EQ(Run("a.mdb b.mdb --schema-only --data-only").status, 2);
}

TEST_F(Compare, WhatAnotherProgramHasMadeOfTheFileIsEqual) {
  const auto made = RunLine(folder_, "{ (mdb-schema a.mdb sqlite; mdb-export -I sqlite a.mdb Clients) | sqlite3 -bail x.sqlite; }");
  ASSERT_EQ(made.status, 0) << made.err;
  const auto equal = Run("a.mdb x.sqlite --data-only");
  EXPECT_EQ(equal.out, "a.mdb and x.sqlite are equal: 1 table, 2 rows\n") << equal.err;
  EXPECT_EQ(equal.status, 0);
  ASSERT_EQ(RunLine(folder_, "sqlite3 x.sqlite \"UPDATE Clients SET Nom = Nom || ' ' WHERE Id = 1\"").status, 0);
  const auto changed = Run("a.mdb x.sqlite --data-only");
  EXPECT_EQ(changed.status, 1);
  EXPECT_EQ(changed.out,
            "Clients: 2 rows in a.mdb, 2 in x.sqlite; 1 of the first and 1 of the second have no equal\n"
            "  row Id=1: Nom is \"Le Goff\" in a.mdb, \"Le Goff \" in x.sqlite\n");
}

TEST_F(Compare, TheStructureOnAnotherEngineIsComparedToo) {
  ASSERT_EQ(RunLine(folder_, Word(TAMLO_DB) + " copy a.mdb x.sqlite").status, 0);
  EXPECT_EQ(Run("a.mdb x.sqlite --data-only").status, 0);
  ASSERT_EQ(RunLine(folder_, "sqlite3 x.sqlite 'ALTER TABLE Clients ADD COLUMN Ville VARCHAR(20)'").status, 0);
  const auto ran = Run("a.mdb x.sqlite --schema-only");
  EXPECT_EQ(ran.status, 1);
  EXPECT_NE(ran.out.find("Clients.Ville is only in x.sqlite"), std::string::npos) << ran.out;
}

}  // namespace
}  // namespace tamlo::tests

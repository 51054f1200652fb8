// Values of parameters from the command line.
#include <gtest/gtest.h>

#include <algorithm>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/cli/Command.h"

namespace tamlo::tests {
namespace {

class Param : public testing::Test {
 protected:
  Param() {
    const auto database = jet::Database::Create(folder_.File("base.mdb"));
    jet::sql::Session session(*database);
    session.Execute("CREATE TABLE T (Id LONG, Nom TEXT(20), Prix CURRENCY, Jour DATETIME)");
    session.Execute("INSERT INTO T VALUES (7, '7', 12.5, #2/1/2003#)");
    session.Execute("INSERT INTO T VALUES (8, 'O''Brien; --', 3, #2/2/2003#)");
  }
  Ran Query(const std::string& sql, std::vector<std::string> options) {
    options.insert(options.begin(), {"query", "base.mdb", sql, "-F", "csv"});
    return TamloDb(folder_, options);
  }
  TemporaryFolder folder_;
};

TEST_F(Param, IsATextOrTheNumberThatIsMeant) {
  EXPECT_EQ(Query("SELECT Id FROM T WHERE Nom = [n]", {"--param", "n=7"}).out, "Id\n7\n");
  EXPECT_EQ(Query("SELECT Nom FROM T WHERE Id = [n]", {"--param", "n=7"}).out, "Nom\n7\n");
  EXPECT_EQ(Query("SELECT Id FROM T WHERE Prix = [p]", {"--param", "p=12.5"}).out, "Id\n7\n");
  EXPECT_EQ(Query("SELECT Id FROM T WHERE Nom = [n]", {"--param", "n=O'Brien; --"}).out, "Id\n8\n");
  EXPECT_EQ(Query("SELECT Id FROM T WHERE Nom = [Quel nom ?] AND Id = [i]", {"--param", "quel nom ?=7", "--param", "I=7"}).out, "Id\n7\n");
  EXPECT_EQ(Query("PARAMETERS d DateTime; SELECT Id FROM T WHERE Jour = d", {"--param", "d=2003-02-02"}).out, "Id\n8\n");
}

TEST_F(Param, WhatFindsNothingIsNamedAndNothingIsDone) {
  const Ran unused = Query("SELECT Id FROM T", {"--param", "n=7"});
  EXPECT_EQ(unused.status, 2);
  EXPECT_EQ(unused.out, "");
  EXPECT_EQ(unused.err, "tamlo-db: --param: no statement has a parameter n\n");
  const Ran without = Query("SELECT Id FROM T WHERE Id = [a] AND Nom = [b]", {"--param", "a=7"});
  EXPECT_EQ(without.status, 4);
  EXPECT_NE(without.err.find("b"), std::string::npos) << without.err;
  EXPECT_EQ(Query("SELECT 1", {"--param", "n"}).err, "tamlo-db: --param wants NAME=VALUE, not n\n");
  const Ran wrong = Query("SELECT Nom FROM T WHERE Id = [n]", {"--param", "n=sept"});
  EXPECT_EQ(wrong.status, 4);
  EXPECT_EQ(std::count(wrong.err.begin(), wrong.err.end(), '\n'), 1) << wrong.err;
  EXPECT_EQ(Query("DELETE FROM T WHERE Id = 7", {"--write", "--param", "n=7"}).status, 2);
  EXPECT_EQ(Query("SELECT Count(*) AS C FROM T", {}).out, "C\n2\n");
}

/// On a server, or as here in a SQLite file, a mark is one outside of texts, names and comments alone.
TEST_F(Param, IsNoneInTextsNamesAndComments) {
  ASSERT_EQ(
      RunLine(folder_, "sqlite3 base.sqlite", "CREATE TABLE T (Id INTEGER, \":n\" INTEGER); INSERT INTO T VALUES (7, 1), (8, 2);").err, "");
  const auto query = [&](const std::string& sql) { return TamloDb(folder_, {"query", "base.sqlite", sql, "-F", "csv", "--param", "n=7"}); };
  const Ran meant = query("SELECT 'it''s :n' AS a, \":n\" AS [b:n] /* :n ' */ FROM T -- :n\nWHERE Id = :N");
  EXPECT_EQ(meant.err, "");
  EXPECT_EQ(meant.out, "a,b:n\nit's :n,1\n");
  for (const char* place : {"':n'", "'a''b :n'", "\":n\"", "[:n]", "`:n`", "1 /* :n */", "1 -- :n", "1::n", "a:n", "':n", "1 /* :n"}) {
    const Ran none = query(std::string("SELECT ") + place);
    EXPECT_EQ(none.status, 2) << place;
    EXPECT_EQ(none.err, "tamlo-db: --param: no statement has a parameter n\n") << place;
  }
}

TEST_F(Param, EachStatementOfAFileTakesItsOwn) {
  const std::string line = "env LC_ALL=C " + Word(TAMLO_DB) + " query base.mdb -F csv --param a=7 --param b=8";
  const std::string both = "SELECT Nom FROM T WHERE Id = [a];\nSELECT Id FROM T WHERE Id = [b];\n";
  EXPECT_EQ(RunLine(folder_, line, both).out, "Nom\n7\nId\n8\n");
  const Ran one = RunLine(folder_, line, "SELECT Nom FROM T WHERE Id = [a];\n");
  EXPECT_EQ(one.status, 2);
  EXPECT_EQ(one.err, "tamlo-db: --param: no statement has a parameter b\n");
}

}  // namespace
}  // namespace tamlo::tests

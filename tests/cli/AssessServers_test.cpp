// What a move of a server's database, or of an SQLite file, would lose: told before it, and true of the copy that follows.
#include <gtest/gtest.h>

#include <fstream>

#include "tests/schema/Engine.h"

namespace tamlo::tests {
namespace {

class AssessOn : public testing::TestWithParam<const char*> {
 protected:
  AssessOn() : name_(GetParam()), engine_(name_) {}
  Ran Run(const std::vector<std::string>& arguments, const std::string& language = "C") {
    return TamloDb(engine_.Folder(), arguments, "LC_ALL=" + language + " TAMLO_DB_PASSWORD=tamlo");
  }
  void Make(const std::string& mariadb, const std::string& postgresql, const std::string& sqlite) {
    const Ran made = engine_.Client(name_ == "mariadb" ? mariadb : name_ == "postgresql" ? postgresql : sqlite);
    ASSERT_EQ(made.err, "");
  }
  /// "column:loss:rows" of each, from the report for programs, read by another program.
  std::string Seen(const std::string& engine) {
    RunLine(engine_.Folder(), "rm -f r.json");
    const Ran ran = Run({"assess", engine_.Url(), "--to", engine, "--report", "r.json"});
    EXPECT_EQ(ran.err, "");
    return RunLine(engine_.Folder(), "node -e " + Word("const r=JSON.parse(require('fs').readFileSync('r.json','utf8'));"
                                                       "console.log(r.values.map(v=>[v.column,v.loss,v.rows].join(':')).join(' '))"))
        .out;
  }

  std::string name_;
  Engine engine_;
};

TEST_P(AssessOn, NothingIsLostOfWhatTheOthersHoldToo) {
  const std::string made = "CREATE TABLE t (n INTEGER PRIMARY KEY, x VARCHAR(30)); INSERT INTO t VALUES (1, 'un'), (2, NULL);";
  Make(made, made, made);
  for (const char* to : {"access", "sqlite", "postgresql"}) {
    const Ran ran = Run({"assess", engine_.Url(), "--to", to});
    EXPECT_EQ(ran.err, "");
    EXPECT_EQ(ran.status, 0) << ran.out;
    EXPECT_NE(ran.out.find("\n1 table, 2 rows, "), std::string::npos) << ran.out;
    EXPECT_TRUE(ran.out.ends_with("\nNothing would be lost.\n")) << ran.out;
  }
  EXPECT_EQ(Run({"assess", engine_.Url(), "--to", "dbase"}).status, 2);
}

/// A row for each thing that an Access file cannot hold, and one that it can.
TEST_P(AssessOn, SeesWhatAnAccessFileCouldNotHoldAndTheCopyAgrees) {
  const std::string wide = name_ == "postgresql" ? "repeat(chr(128512), 200)"
                           : name_ == "mariadb"  ? "repeat(_utf8mb4 x'F09F9880', 200)"
                                                 : "";
  const std::string rows =
      "INSERT INTO t VALUES (1, 'ab', 5, '1970-01-01 00:00:00'), (2, 'AB ', 6, '1970-01-01 00:00:00'), (3, 'c', "
      "1234567890123456789012345678.5, '1970-01-01 00:00:00');";
  const std::string old = "INSERT INTO t VALUES (4, 'd', 7, '0050-01-01 00:00:00');";
  Make("CREATE TABLE t (n INT PRIMARY KEY, x VARCHAR(255) COLLATE utf8mb4_nopad_bin UNIQUE, d DECIMAL(38,5), m DATETIME(3));" + rows + old +
           "INSERT INTO t VALUES (5, " + wide + ", 8, NULL);",
       "CREATE TABLE t (n INT PRIMARY KEY, x VARCHAR(255) UNIQUE, d NUMERIC(38,5), m TIMESTAMP(3));" + rows + old +
           "INSERT INTO t VALUES (5, " + wide + ", 8, NULL);",
       "CREATE TABLE t (n INTEGER PRIMARY KEY, x VARCHAR(255) UNIQUE, d DECIMAL_TEXT(38,5), m DATETIME);" + rows + old);
  if (name_ == "sqlite") {
    ASSERT_EQ(engine_.Client("INSERT INTO t VALUES (5, replace(hex(zeroblob(100)), '0', char(128512)), 8, NULL);").err, "");
  }
  const std::string seen = Seen("access");
  EXPECT_EQ(seen, "d:out-of-range:1 m:no-day:1 x:equal-keys:1 x:too-long:1\n");
  const Ran copy = Run({"copy", engine_.Url(), "there.mdb", "--reject", "refused.jsonl"});
  EXPECT_EQ(copy.status, 1) << copy.err;
  // Equal keys are found when the index is made; the other three are rows that do not come.
  EXPECT_EQ(RunLine(engine_.Folder(), "(mdb-export there.mdb t | cut -d, -f1 | sort)").out, "1\n2\nn\n");
  EXPECT_NE(copy.err.find("3 rows were refused"), std::string::npos) << copy.err;
  const Ran french = Run({"assess", engine_.Url(), "--to", "access"}, "fr_FR.UTF-8");
  EXPECT_NE(french.out.find("des textes plus longs que leur colonne sur Access, qui refuse leurs lignes ; lignes : 1"), std::string::npos)
      << french.out;
}

TEST_P(AssessOn, DefinitionsThatNoFileHoldsAreToldAndNamesThatChange) {
  std::string columns;
  for (int i = 0; i < 256; ++i) columns += (i == 0 ? "c" : ", c") + std::to_string(i) + " INTEGER";
  const std::string made = "CREATE TABLE large (" + columns + ");";
  const std::string named = "CREATE TABLE u (n INTEGER PRIMARY KEY, %c VARCHAR(300));";
  const auto with = [&](const std::string& column) { return made + std::string(named).replace(named.find("%c"), 2, column); };
  Make(with("`a.b`"), with("\"a.b\""), with("\"a.b\""));
  const Ran ran = Run({"assess", engine_.Url(), "--to", "access", "--report", "r.html"});
  EXPECT_EQ(ran.status, 1);
  EXPECT_NE(ran.out.find("large: has 256 columns; a table in Access has at most 255\n"), std::string::npos) << ran.out;
  EXPECT_NE(ran.out.find("u.a.b would be called "), std::string::npos) << ran.out;
  if (name_ != "sqlite") {
    EXPECT_NE(ran.out.find("u.a.b: is longer than 255 characters: becomes a Memo\n"), std::string::npos) << ran.out;
  }
  EXPECT_NE(RunLine(engine_.Folder(), "cat r.html").out.find("<td>large</td><td>has 256 columns"), std::string::npos);
}

TEST_P(AssessOn, ColumnsWithAPointInTheirNamesAreReadAndCopied) {
  const std::string point = name_ == "mariadb" ? "`a.b`" : "\"a.b\"";
  const std::string made = "CREATE TABLE u (n INTEGER PRIMARY KEY, " + point + " VARCHAR(9)); INSERT INTO u VALUES (1, 'x');";
  Make(made, made, made);
  const Ran ran = Run({"assess", engine_.Url(), "--to", "access"});
  EXPECT_EQ(ran.status, 0) << ran.out << ran.err;
  const Ran copy = Run({"copy", engine_.Url(), "there.mdb"});
  EXPECT_EQ(copy.err, "");
  EXPECT_EQ(RunLine(engine_.Folder(), "mdb-export -H there.mdb u").out, "1,\"x\"\n");
}

INSTANTIATE_TEST_SUITE_P(Engines, AssessOn, testing::Values("mariadb", "postgresql", "sqlite"));

TEST(AssessServers, NullsInAPrimaryKeyAreToldAndTheirRowsArrive) {
  const TemporaryFolder folder;
  ASSERT_EQ(RunLine(folder, "sqlite3 base.sqlite",
                    "CREATE TABLE t (a TEXT, b TEXT, PRIMARY KEY (a, b)); INSERT INTO t VALUES ('x', NULL), ('x', NULL), ('y', 'z');")
                .err,
            "");
  const Ran ran = TamloDb(folder, {"assess", "base.sqlite", "--to", "access"});
  EXPECT_EQ(ran.status, 1);
  EXPECT_NE(ran.out.find("t: has nulls in its primary key, which SQLite alone takes: becomes a unique index\n"), std::string::npos)
      << ran.out;
  const Ran copy = TamloDb(folder, {"copy", "base.sqlite", "there.mdb", "--verify", "full"});
  EXPECT_EQ(copy.err, "");
  EXPECT_EQ(copy.status, 0);
  EXPECT_EQ(RunLine(folder, "mdb-export -H there.mdb t").out, "\"x\",\n\"x\",\n\"y\",\"z\"\n");
}

/// Where letters count in one engine and not in the other, what refers finds nothing.
TEST(AssessServers, TextsThatReferToTextsInOtherLettersAreSeen) {
  Engine engine("mariadb");
  ASSERT_EQ(engine
                .Client("CREATE TABLE p (k VARCHAR(10) PRIMARY KEY); CREATE TABLE c (k VARCHAR(10), FOREIGN KEY (k) REFERENCES p (k));"
                        "INSERT INTO p VALUES ('Abc'); INSERT INTO c VALUES ('aBC'), ('Abc'), (NULL);")
                .err,
            "");
  const Ran ran = TamloDb(engine.Folder(), {"assess", engine.Url(), "--to", "postgresql"}, "LC_ALL=C TAMLO_DB_PASSWORD=tamlo");
  EXPECT_EQ(ran.status, 1);
  EXPECT_NE(ran.out.find("c.k: texts refer to a text that differs in case or blanks, which PostgreSQL tells apart; rows: 1, first: aBC\n"),
            std::string::npos)
      << ran.out;
}

}  // namespace
}  // namespace tamlo::tests

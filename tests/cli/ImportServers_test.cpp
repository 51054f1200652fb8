// Rows of text files into tables of servers and SQLite files, read by the engines' own clients: all of them, or none.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/schema/Engine.h"

namespace tamlo::tests {
namespace {

class ImportOn : public testing::TestWithParam<const char*> {
 protected:
  ImportOn() : name_(GetParam()), engine_(name_) {}
  Ran Run(std::vector<std::string> arguments, const std::string& language = "C") {
    arguments.insert(arguments.begin() + 1, engine_.Url());
    return TamloDb(engine_.Folder(), arguments, "LC_ALL=" + language + " TAMLO_DB_PASSWORD=tamlo");
  }
  void Make(const std::string& mariadb, const std::string& postgresql, const std::string& sqlite) {
    const Ran made = engine_.Client(name_ == "mariadb" ? mariadb : name_ == "postgresql" ? postgresql : sqlite);
    ASSERT_EQ(made.err, "");
  }
  void Put(const std::string& name, const std::string& text) { std::ofstream(engine_.Folder().File(name), std::ios::binary) << text; }
  /// What the client prints, one value a line however it parts them.
  std::string Ask(const std::string& sql) {
    const Ran ran = engine_.Client(sql);
    EXPECT_EQ(ran.err, "");
    return ran.out;
  }
  /// Texts of all values with "|" between them, made by the engine.
  std::string Joined(const std::vector<std::string>& columns, const std::string& table, const std::string& order) {
    std::string list;
    for (const auto& column : columns) {
      const std::string text = name_ == "mariadb" ? "CAST(" + column + " AS CHAR)" : "CAST(" + column + " AS TEXT)";
      const std::string cell = "COALESCE(" + text + ", 'NULL')";
      list += (list.empty() ? "" : name_ == "mariadb" ? ", '|', " : " || '|' || ") + cell;
    }
    return Ask("SELECT " + (name_ == "mariadb" ? "CONCAT(" + list + ")" : list) + " FROM " + table + " ORDER BY " + order + ";");
  }

  std::string name_;
  Engine engine_;
};

TEST_P(ImportOn, MakesATableWithTheNarrowestTypes) {
  Put("in.csv",
      "Nombre,Grand,Zeros,Prix,Reel,Jour,Vide,Mot\n"
      "1,9007199254740993,007,1.50,0.1,2020-01-31,,\"\"\n"
      "-2,-1,1,12.00,1e+30,2020-02-01 10:00:00.125,,\xC3\xA9t\xC3\xA9 \xF0\x9F\x98\x80 l'autre \\ fin\n");
  const Ran ran = Run({"import", "nouveaux", "in.csv", "--create"});
  EXPECT_EQ(ran.err, "");
  EXPECT_EQ(ran.out, "2 rows\n");
  const char* quote = name_ == "mariadb" ? "`" : "\"";
  std::vector<std::string> columns;
  for (const char* column : {"Nombre", "Grand", "Zeros", "Prix", "Jour", "Vide", "Mot"})
    columns.push_back(quote + std::string(column) + quote);
  std::string there = Joined(columns, "nouveaux", columns[0]);
  // The engines spell midnight, and digits behind the second, in their own ways.
  for (const char* tail : {"2020-01-31 00:00:00.000", "2020-01-31 00:00:00"})
    if (const auto at = there.find(tail); at != std::string::npos) there.replace(at, std::string(tail).size(), "2020-01-31");
  // MariaDB's client writes a backslash as two.
  const std::string backslash = name_ == "mariadb" ? "\\\\" : "\\";
  EXPECT_EQ(there, "-2|-1|1|12.00|2020-02-01 10:00:00.125|NULL|\xC3\xA9t\xC3\xA9 \xF0\x9F\x98\x80 l'autre " + backslash +
                       " fin\n"
                       "1|9007199254740993|007|1.50|2020-01-31|NULL|\n");
  const std::string schema = Run({"schema", "--to", "postgresql"}).out;
  for (const char* type : {"\"Nombre\" INTEGER", "\"Grand\" BIGINT", "\"Zeros\" VARCHAR(255)", "\"Prix\" NUMERIC(18,2)",
                           "\"Reel\" DOUBLE PRECISION", "\"Jour\" TIMESTAMP(3)", "\"Mot\" VARCHAR(255)"})
    EXPECT_NE(schema.find(type), std::string::npos) << type << schema;
  EXPECT_EQ(Run({"import", "nouveaux", "in.csv", "--create"}).err, "tamlo-db: nouveaux exists already\n");
  EXPECT_EQ(Run({"import", "nouveaux", "in.csv"}).out, "2 rows\n") << "behind those that are there";
  EXPECT_EQ(Ask("SELECT count(*) FROM nouveaux;"), "4\n");
  // Out again and in again.
  Put("again.csv", Run({"export", "-t", "nouveaux", "--order-by", columns[0]}).out);
  ASSERT_EQ(Run({"import", "copie", "again.csv", "--create"}).err, "");
  EXPECT_EQ(Run({"export", "-t", "copie", "--order-by", columns[0]}).out, Run({"export", "-t", "nouveaux", "--order-by", columns[0]}).out);
}

TEST_P(ImportOn, TakesTypesThatAreGiven) {
  Put("in.csv", "a,b,c,d\n1,1.5,x,12345678901234567890\n");
  const Ran ran = Run({"import", "t", "in.csv", "--create", "--types", "a=counter,b=decimal(9,3),c=text(300),d=decimal(30,0)"});
  EXPECT_EQ(ran.err, "");
  EXPECT_EQ(Joined({"a", "b", "c", "d"}, "t", "a"),
            name_ == "sqlite" ? "1|1.5|x|12345678901234567890\n" : "1|1.500|x|12345678901234567890\n");
  Put("more.csv", "c\ny\n");
  EXPECT_EQ(Run({"import", "t", "more.csv"}).err, "");
  EXPECT_EQ(Joined({"a", "c"}, "t", "a"), "1|x\n2|y\n") << "the counter goes on";
  EXPECT_EQ(Run({"import", "u", "in.csv", "--create", "--types", "a=money"}).status, 2);
  EXPECT_EQ(Run({"tables", "-F", "csv"}).out.find("\nu,"), std::string::npos);
}

/// Every type that an engine has of its own takes what it holds, to the last digit.
TEST_P(ImportOn, ValuesOfTheServersOwnTypes) {
  Make(
      "CREATE TABLE v (n INT PRIMARY KEY, b BOOLEAN, u BIGINT UNSIGNED, d DECIMAL(38,10), m DATETIME(6), j DATE, h TIME(3), e ENUM('un','2','3'), "
      "s SET('a','b'), x VARBINARY(4), g UUID, r FLOAT, k JSON);",
      "CREATE TYPE choix AS ENUM ('un','2','3'); CREATE TABLE v (n INT PRIMARY KEY, b BOOLEAN, u NUMERIC(20), d NUMERIC(38,10), m TIMESTAMP, j "
      "DATE, h TIME(3), e choix, s TEXT, x BYTEA, g UUID, r REAL, k JSONB);",
      "CREATE TABLE v (n INTEGER PRIMARY KEY, b BOOLEAN, u DECIMAL_TEXT(20,0), d DECIMAL_TEXT(38,10), m DATETIME, j DATE, h TIME, e TEXT, s TEXT, "
      "x BLOB, g UUID_TEXT, r FLOAT(24), k TEXT);");
  Put("in.csv",
      "n,b,u,d,m,j,h,e,s,x,g,r,k\n"
      "1,vrai,18446744073709551615,1234567890123456789012345678.0123456789,2003-02-01 10:30:00.123456,1700-01-01,10:30:00.125,2,\"a,b\",01fF,"
      "{00112233-4455-6677-8899-AABBCCDDEEFF},0.1,\"{\"\"a\"\": 1}\"\n"
      "2,faux,0,-0.0000000001,9999-12-31 23:59:59.999999,2020-02-29 00:00:00,00:00:01,un,,,00112233-4455-6677-8899-aabbccddeeff,-1e10,[]\n"
      "3,,,,,,,,,,,,\n");
  const Ran ran = Run({"import", "v", "in.csv", "--bool", "vrai,faux"});
  EXPECT_EQ(ran.err, "");
  ASSERT_EQ(ran.out, "3 rows\n");
  EXPECT_EQ(
      Joined({"u", "d", "m", "j", "g", "e"}, "v", "n"),
      "18446744073709551615|1234567890123456789012345678.0123456789|2003-02-01 10:30:00.123456|1700-01-01|00112233-4455-6677-8899-aabbccddeeff|2\n"
      "0|-0.0000000001|9999-12-31 23:59:59.999999|2020-02-29|00112233-4455-6677-8899-aabbccddeeff|un\n"
      "NULL|NULL|NULL|NULL|NULL|NULL\n");
  EXPECT_EQ(Ask(name_ == "postgresql" ? "SELECT b::int, encode(x, 'hex') FROM v WHERE n = 1;" : "SELECT b, hex(x) FROM v WHERE n = 1;"),
            name_ == "mariadb"      ? "1\t01FF\n"
            : name_ == "postgresql" ? "1|01ff\n"
                                    : "1|01FF\n");
  EXPECT_EQ(Ask("SELECT h FROM v WHERE n = 1;"), "10:30:00.125\n");
  // What went in comes out as it stood.
  const std::string out = Run({"export", "-t", "v", "--columns", "n,u,d,m,j,e", "--where", "n = 1"}).out;
  EXPECT_EQ(out, "n,u,d,m,j,e\n1,18446744073709551615,1234567890123456789012345678.0123456789,2003-02-01 10:30:00.123456," +
                     std::string(name_ == "sqlite" ? "1700-01-01" : "1700-01-01") + ",2\n");
}

struct Wrong {
  const char* text;
  const char* message;
};

TEST_P(ImportOn, WhatAColumnCannotHoldIsNamedByItsLineAndNothingIsWritten) {
  Make(
      "CREATE TABLE t (n INT PRIMARY KEY, x VARCHAR(3), d DECIMAL(4,1), b TINYINT UNSIGNED, m DATETIME(0), j DATE, c CHAR(3), e ENUM('a','b'));",
      "CREATE TABLE t (n INT PRIMARY KEY, x VARCHAR(3), d NUMERIC(4,1), b SMALLINT, m TIMESTAMP(0), j DATE, c CHAR(3), e NUMERIC(4,1)[]);",
      "CREATE TABLE t (n INTEGER PRIMARY KEY, x VARCHAR(3), d DECIMAL(4,1), b SMALLINT, m DATETIME, j DATE, c CHAR(3), e STRING);");
  std::vector<Wrong> cases{{"n,x\n1,a\n2\n", "line 3: 1 value where the header has 2"},
                           {"n,x\n1,\"a\nb\n3,c\n", "line 2: a quote that does not end"},
                           {"n\n1\n12.5\n", "line 3: column n: 12.5 is no value of the type "},
                           {"n\n9223372036854775808\n", "line 2: column n: 9223372036854775808 is no value of the type "},
                           {"n,d\n1,0.05\n", "line 2: column d: 0.05 is no value of the type "},
                           {"n,d\n1,1234.5\n", "line 2: column d: 1234.5 is no value of the type "},
                           {"n,d\n1,NaN\n", "line 2: column d: NaN is no value of the type "},
                           {"n,b\n1,12345678901234567890\n", "line 2: column b: 12345678901234567890 is no value of the type "},
                           {"n,m\n1,2020-02-30\n", "line 2: column m: 2020-02-30 is no value of the type "},
                           {"n,j\n1,2020-02-01 10:00:00\n", "line 2: column j: 2020-02-01 10:00:00 is no value of the type "},
                           {"n,z\n1,a\n", "the table t has no column z, which in.csv has: --map HEADER=COLUMN names another"},
                           {"n,x\n1,a\n\"\",b\n", "line 3: column n:  is no value of the type "},
                           {"n,x\n1,a\n2,b\n1,c\n", "in.csv, line 4: "},
                           {"", "in.csv holds nothing"}};
  if (name_ != "sqlite") {
    cases.push_back({"n,x\n1,\"x\ny\"\n2,abcd\n", "line 4: column x: abcd is longer than 3 characters"});
    cases.push_back({"n,x\n1,\"a   \"\n", "line 2: column x: a    is longer than 3 characters"});
    cases.push_back({"n,c\n1,\"a \"\n", "line 2: column c: a  is no value of the type "});
    cases.push_back({"n,m\n1,2020-02-01 10:00:00.5\n", "line 2: column m: 2020-02-01 10:00:00.5 is no value of the type "});
    cases.push_back({"n\n2147483648\n", "line 2: column n: 2147483648 is no value of the type "});
  }
  if (name_ == "mariadb") cases.push_back({"n,e\n1,a\n2,1\n", "line 3: column e: 1 is no value of the type enum('a','b')"});
  if (name_ == "postgresql") cases.push_back({"n,e\n1,{1.05}\n", "line 2: column e: {1.05} is no value of the type numeric(4,1)[]"});
  if (name_ == "sqlite") cases.push_back({"n,e\n1,7\n2,007\n", "line 3: column e: 007 is no value of the type STRING"});
  for (const auto& [text, message] : cases) {
    Put("in.csv", text);
    const Ran ran = Run({"import", "t", "in.csv"});
    EXPECT_EQ(ran.status, 4) << text;
    EXPECT_NE(ran.err.find(message), std::string::npos) << text << ran.err;
    EXPECT_EQ(std::count(ran.err.begin(), ran.err.end(), '\n'), 1) << ran.err;
    EXPECT_EQ(Ask("SELECT count(*) FROM t;"), "0\n") << text;
  }
  EXPECT_EQ(Run({"import", "absent", "in.csv"}).status, 2);
  EXPECT_EQ(Run({"import", "t", "absent.csv"}).status, 2);
}

/// The engine itself refuses a row far behind the first batch.
TEST_P(ImportOn, ARefusedRowAmongManyIsNamedAndNoneIsThere) {
  Make("CREATE TABLE p (n INT PRIMARY KEY); CREATE TABLE t (n INT PRIMARY KEY, p INT, FOREIGN KEY (p) REFERENCES p (n));",
       "CREATE TABLE p (n INT PRIMARY KEY); CREATE TABLE t (n INT PRIMARY KEY, p INT REFERENCES p (n));",
       "CREATE TABLE p (n INTEGER PRIMARY KEY); CREATE TABLE t (n INTEGER PRIMARY KEY, p INTEGER REFERENCES p (n));");
  std::ostringstream text;
  text << "n,p\n";
  for (int i = 1; i <= 5000; ++i) text << i << ",\n";
  Put("good.csv", text.str());
  Put("twice.csv", text.str() + "17,\n");
  Put("orphan.csv", text.str() + "5001,99\n5002,\n");
  for (const char* file : {"twice.csv", "orphan.csv"}) {
    const Ran ran = Run({"import", "t", file});
    EXPECT_EQ(ran.status, 4);
    EXPECT_EQ(ran.err.find("tamlo-db: " + std::string(file) + ", line 5002: "), 0U) << ran.err;
    EXPECT_EQ(Ask("SELECT count(*) FROM t;"), "0\n");
  }
  EXPECT_EQ(Run({"import", "t", "good.csv"}).out, "5000 rows\n");
  EXPECT_EQ(Ask("SELECT count(*) FROM t;"), "5000\n");
}

TEST_P(ImportOn, ATableThatWasMadeForAFailedImportIsGone) {
  Put("in.csv", "n,x\n1,a\n300,b\n");
  const Ran ran = Run({"import", "neuf", "in.csv", "--create", "--types", "n=byte"}, "fr_FR.UTF-8");
  EXPECT_EQ(ran.status, 4);
  EXPECT_EQ(ran.err.find("tamlo-db: in.csv, ligne 3 : "), 0U) << ran.err;
  EXPECT_EQ(std::count(ran.err.begin(), ran.err.end(), '\n'), 1) << ran.err;
  if (name_ == "mariadb") {
    EXPECT_TRUE(
        ran.err.ends_with("colonne n : 300 n'est pas une valeur du type tinyint(3) unsigned; la table neuf, créée pour elles, est "
                          "supprimée\n"))
        << ran.err;
  }
  // A file that was made for it is gone with it.
  if (name_ == "sqlite") {
    EXPECT_EQ(Run({"tables", "-F", "csv"}).status, 3);
  } else {
    EXPECT_EQ(Run({"tables", "-F", "csv"}).out, "table,rows\n");
  }
}

INSTANTIATE_TEST_SUITE_P(Engines, ImportOn, testing::Values("mariadb", "postgresql", "sqlite"));

TEST(ImportInto, AnSqliteFileIsMadeForANewTableAndNotLeftBehind) {
  const TemporaryFolder folder;
  std::ofstream(folder.File("in.csv")) << "n,x\n1,a\n2,b\n";
  std::ofstream(folder.File("bad.csv")) << "n,x\n1,a\n2,b\n3\n";
  const Ran absent = TamloDb(folder, {"import", "neuf.sqlite", "t", "in.csv"});
  EXPECT_EQ(absent.status, 3);
  EXPECT_EQ(absent.err, "tamlo-db: cannot open neuf.sqlite: there is no such file\n");
  EXPECT_EQ(TamloDb(folder, {"import", "neuf.sqlite", "t", "bad.csv", "--create"}).status, 4);
  EXPECT_FALSE(std::filesystem::exists(folder.File("neuf.sqlite")));
  EXPECT_EQ(TamloDb(folder, {"import", "neuf.sqlite", "t", "in.csv", "--create"}).err, "");
  EXPECT_EQ(RunLine(folder, "sqlite3 neuf.sqlite", "SELECT * FROM t; PRAGMA integrity_check;").out, "1|a\n2|b\nok\n");
}

TEST(ImportInto, ATableWithoutTransactionsIsRefused) {
  Engine engine("mariadb");
  ASSERT_EQ(engine.Client("CREATE TABLE t (n INT) ENGINE=MyISAM;").err, "");
  std::ofstream(engine.Folder().File("in.csv")) << "n\n1\n";
  const Ran ran = TamloDb(engine.Folder(), {"import", engine.Url(), "t", "in.csv"}, "LC_ALL=C TAMLO_DB_PASSWORD=tamlo");
  EXPECT_EQ(ran.status, 4);
  EXPECT_EQ(ran.err, "tamlo-db: the table t is of the engine MyISAM, which keeps no transactions: all rows or none cannot be had\n");
}

}  // namespace
}  // namespace tamlo::tests

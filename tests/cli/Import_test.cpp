// Rows into tables: what is exported comes in again, and what is wrong is refused with its line, nothing of the file being written.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/cli/Command.h"
#include "tests/cli/Csv.h"

namespace tamlo::tests {
namespace {

void MakeFile(const TemporaryFolder& folder, const std::string& definition = {}) {
  const auto database = jet::Database::Create(folder.File("base.mdb"));
  if (!definition.empty()) jet::sql::Session(*database).Execute(definition);
}

void Put(const TemporaryFolder& folder, const std::string& name, const std::string& text) {
  std::ofstream(folder.File(name), std::ios::binary) << text;
}

std::string Rows(const TemporaryFolder& folder, const std::string& table = "T") {
  return TamloDb(folder, {"export", "base.mdb", "-t", table}).out;
}

TEST(Import, ValuesOfEveryTypeByTheirHeaders) {
  const TemporaryFolder folder;
  MakeFile(
      folder,
      "CREATE TABLE T (Id COUNTER, B YESNO, I SHORT, C CURRENCY, D DECIMAL(10,2), R DOUBLE, M DATETIME, X TEXT(9), G GUID, Y BINARY(4))");
  Put(folder, "in.csv",
      "x,Montant,r,m,i,b,d,g,y\r\n"
      "\"a,\"\"b\"\"\r\nc\",-12.5,1e300,1899-12-29 06:00:00,-7,oui,3.1,{00112233-4455-6677-8899-AABBCCDDEEFF},01fF\r\n"
      "NULL,NULL,NULL,NULL,NULL,non,NULL,NULL,NULL\r\n"
      "\"b\",0,-1,2003-02-01,0,non,-0.05,NULL,\r\n");
  const auto ran = TamloDb(folder, {"import", "base.mdb", "t", "in.csv", "--map", "montant=C", "--null", "NULL", "--bool", "oui,non"});
  EXPECT_EQ(ran.err, "");
  EXPECT_EQ(ran.out, "3 rows\n");
  EXPECT_EQ(Rows(folder),
            "Id,B,I,C,D,R,M,X,G,Y\n"
            "1,1,-7,-12.5000,3.10,1e+300,1899-12-29 06:00:00,\"a,\"\"b\"\"\r\nc\",{00112233-4455-6677-8899-AABBCCDDEEFF},01FF\n"
            "2,0,,,,,,,,\n"
            "3,0,0,0.0000,-0.05,-1,2003-02-01 00:00:00,b,,\n");
}

TEST(Import, TypesAreGuessedAsTheyAreWrittenAgainOrGiven) {
  const TemporaryFolder folder;
  MakeFile(folder);
  Put(folder, "in.csv", "Nombre,Zéros,Prix,Réel,Jour,Vide,Mot\n1,007,1.50,0.1,2020-01-31,,\"\"\n-2,1,12.00,1e+30,2020-02-01 10:00:00,,5\n");
  ASSERT_EQ(TamloDb(folder, {"import", "base.mdb", "T", "in.csv", "--create"}).err, "");
  EXPECT_EQ(Rows(folder),
            "Nombre,Zéros,Prix,Réel,Jour,Vide,Mot\n1,007,1.50,0.1,2020-01-31 00:00:00,,\"\"\n-2,1,12.00,1e+30,2020-02-01 10:00:00,,5\n");
  const auto schema = TamloDb(folder, {"schema", "base.mdb", "--to", "postgresql"}).out;
  for (const char* column : {"\"Nombre\" INTEGER", "\"Zéros\" VARCHAR(255)", "\"Prix\" NUMERIC(18,2)", "\"Réel\" DOUBLE PRECISION",
                             "\"Jour\" TIMESTAMP(3)", "\"Mot\" VARCHAR(255)"})
    EXPECT_NE(schema.find(column), std::string::npos) << column << schema;
  ASSERT_EQ(TamloDb(folder, {"import", "base.mdb", "U", "in.csv", "--create", "--types", "Zéros=long,Prix=decimal(9,3)"}).err, "");
  EXPECT_NE(Rows(folder, "U").find("\n1,7,1.500,"), std::string::npos) << Rows(folder, "U");
  EXPECT_EQ(TamloDb(folder, {"import", "base.mdb", "U", "in.csv", "--create"}).err, "tamlo-db: U exists already\n");
  EXPECT_EQ(TamloDb(folder, {"import", "base.mdb", "W", "in.csv", "--create", "--types", "Prix=money"}).status, 2);
}

TEST(Import, JsonLinesWithEscapesAndMissingMembers) {
  const TemporaryFolder folder;
  MakeFile(folder);
  Put(folder, "in.jsonl",
      "{\"A\": \"\\u00e9\\n\\ud83d\\ude00\\\"\", \"B\": true, \"N\": 1.5}\n\n{\"N\": 2.5, \"B\": false, \"Z\": null}\n");
  ASSERT_EQ(TamloDb(folder, {"import", "base.mdb", "T", "in.jsonl", "--create"}).err, "");
  EXPECT_EQ(Rows(folder), "A,B,N,Z\n\"é\n😀\"\"\",1,1.5,\n,0,2.5,\n");
  Put(folder, "bad.jsonl", "{\"A\": \"x\"}\n{\"A\": [1]}\n");
  const auto bad = TamloDb(folder, {"import", "base.mdb", "T", "bad.jsonl"});
  EXPECT_EQ(bad.status, 4);
  EXPECT_EQ(bad.err, "tamlo-db: bad.jsonl, line 2: no object of plain values\n");
}

TEST(Import, OtherEncodingsDelimitersAndDays) {
  const TemporaryFolder folder;
  MakeFile(folder, "CREATE TABLE T (Nom TEXT(20), Jour DATETIME)");
  Put(folder, "ansi.csv", "Nom;Jour\n\xC9t\xE9 \x80;31/12/99 23:59\n");
  std::vector<std::string> line{"import", "base.mdb", "T", "ansi.csv", "--delimiter", ";", "--date-format", "%d/%m/%y %H:%M"};
  const auto refused = TamloDb(folder, line);
  EXPECT_EQ(refused.status, 4);
  EXPECT_EQ(refused.err, "tamlo-db: ansi.csv, line 2: bytes that are no utf-8; --encoding names another\n");
  line.insert(line.end(), {"--encoding", "Windows-1252"});
  EXPECT_EQ(TamloDb(folder, line).err, "");
  Put(folder, "wide.tsv", std::string("\xFF\xFEN\0o\0m\0\n\0\x3D\xD8\x00\xDE\n\0", 16));
  EXPECT_EQ(TamloDb(folder, {"import", "base.mdb", "T", "wide.tsv", "--encoding", "utf-16"}).err, "");
  EXPECT_EQ(Rows(folder), "Nom,Jour\nÉté €,1999-12-31 23:59:00\n😀,\n");
  EXPECT_EQ(TamloDb(folder, {"import", "base.mdb", "T", "wide.tsv", "--encoding", "ebcdic"}).status, 2);
}

TEST(Import, WhatIsWrongIsNamedByItsLineAndNothingIsWritten) {
  const TemporaryFolder folder;
  MakeFile(folder, "CREATE TABLE T (N LONG CONSTRAINT PK PRIMARY KEY, X TEXT(3), D DECIMAL(4,1), B BYTE)");
  const std::vector<std::pair<std::string, std::string>> cases{
      {"N,X\n1,a\n2\n", "line 3: 1 value where the header has 2"},
      {"N,X\n1,a\n2,b,c\n", "line 3: 3 values where the header has 2"},
      {"N,X\n1,\"a\"b\n", "line 2: something stands behind the quote that ends value 2"},
      {"N,X\n1,a\"b\n", "line 2: a quote in the middle of a value: a"},
      {"N,X\n1,\"a\nb\n3,c\n", "line 2: a quote that does not end"},
      {"N\n1\n12.5\n", "line 3: column N: 12.5 is no value of the type long"},
      {"N\n1\n2147483648\n", "line 3: column N: 2147483648 is no value of the type long"},
      {"N,B\n1,256\n", "line 2: column B: 256 is no value of the type byte"},
      {"N,B\n1,-1\n", "line 2: column B: -1 is no value of the type byte"},
      {"N,D\n1,0.05\n", "line 2: column D: 0.05 is no value of the type decimal(4,1)"},
      {"N,D\n1,1234.5\n", "line 2: column D: 1234.5 is no value of the type decimal(4,1)"},
      {"N,X\n1,\"x\ny\"\n2,abcd\n", "line 4: column X: abcd is longer than 3 characters"},
      {"N,Z\n1,a\n", "the table T has no column Z, which in.csv has: --map HEADER=COLUMN names another"},
      {"N,n\n1,2\n", "in.csv has two columns n"},
      {"N,X\n1,a\n2,b\n1,c\n", "in.csv, line 4: "},
      {"", "in.csv holds nothing"}};
  for (const auto& [text, message] : cases) {
    Put(folder, "in.csv", text);
    const auto ran = TamloDb(folder, {"import", "base.mdb", "T", "in.csv"});
    EXPECT_EQ(ran.status, 4) << text;
    EXPECT_NE(ran.err.find(message), std::string::npos) << text << ran.err;
    EXPECT_EQ(std::count(ran.err.begin(), ran.err.end(), '\n'), 1) << ran.err;
  }
  EXPECT_EQ(Rows(folder), "N,X,D,B\n");
  EXPECT_EQ(TamloDb(folder, {"import", "base.mdb", "Absent", "in.csv"}).status, 2);
  EXPECT_EQ(TamloDb(folder, {"import", "base.mdb", "T", "absent.csv"}).status, 2);
}

TEST(Import, WhatIsNotInTheFileTakesItsDefault) {
  const TemporaryFolder folder;
  MakeFile(folder, "CREATE TABLE T (Id COUNTER, X TEXT(3), N LONG DEFAULT 5)");
  Put(folder, "in.csv", "X\na\n\nb\n");
  ASSERT_EQ(TamloDb(folder, {"import", "base.mdb", "T", "in.csv"}).err, "");
  EXPECT_EQ(Rows(folder), "Id,X,N\n1,a,5\n2,,5\n3,b,5\n") << "a line without anything is a null of the only column";
}

/// Every table of every sample: out, into a new table of types that are found in the text alone, and out again.
TEST(Import, EverySampleComesInAsItWentOut) {
  if (SampleFiles().empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with Access files";
  const TemporaryFolder folder;
  MakeFile(folder);
  int number = 0;
  for (const auto& sample : SampleFiles()) {
    const auto tables = ReadCsv(TamloDb(folder, {"tables", sample.string(), "-F", "csv"}).out);
    for (std::size_t i = 1; i < tables.size(); ++i) {
      const std::string where = sample.string() + " " + *tables[i][0];
      const std::string format = ++number % 3 == 0 ? "tsv" : number % 3 == 1 ? "csv" : "jsonl";
      const auto out = TamloDb(folder, {"export", sample.string(), "-t", *tables[i][0], "-F", format, "--null", "\\N"}).out;
      // A file of lines without rows has no columns.
      if (format == "jsonl" && out.empty()) continue;
      Put(folder, "rows." + format, out);
      const std::string table = "T" + std::to_string(number);
      const auto in = TamloDb(folder, {"import", "base.mdb", table, "rows." + format, "--create", "--null", "\\N"});
      ASSERT_EQ(in.err, "") << where;
      EXPECT_EQ(TamloDb(folder, {"export", "base.mdb", "-t", table, "-F", format, "--null", "\\N"}).out, out) << where;
    }
  }
  EXPECT_GT(number, 30);
  EXPECT_EQ(TamloDb(folder, {"check", "base.mdb"}).status, 0);
}

}  // namespace
}  // namespace tamlo::tests

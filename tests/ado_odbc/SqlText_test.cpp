#include "ado/odbc/statement/SqlText.h"

#include <gtest/gtest.h>

#include "ado/odbc/command/CallText.h"

namespace tamlo::tests {
namespace {

using ado::odbc::BaseTableOf;
using ado::odbc::ChangesSchema;
using ado::odbc::EffectOnTransaction;
using ado::odbc::IsSingleChangeOrQuery;
using ado::odbc::PlainName;
using ado::odbc::TransactionEffect;
using ado::odbc::WithoutComments;
using ado::odbc::WithoutWideLiterals;

TEST(SqlText, ACallIsReadInItsParts) {
  using ado::odbc::ReadCall;
  const auto plain = ReadCall(" call A.`b(c` ( ?, 'x)' ) ; ");
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->name, "A.`b(c`");
  EXPECT_EQ(plain->arguments, " ?, 'x)' ");
  EXPECT_FALSE(plain->inBraces);
  EXPECT_EQ(plain->Marks(), std::nullopt);
  const auto returns = ReadCall("{ ? = CALL\"F G\"(?,\n?)}");
  ASSERT_TRUE(returns);
  EXPECT_TRUE(returns->inBraces && returns->returns);
  EXPECT_EQ(returns->name, "\"F G\"");
  EXPECT_EQ(returns->Marks(), 2U);
  EXPECT_EQ(ReadCall("{call P}")->Marks(), 0U);
  EXPECT_EQ(ReadCall("call P(?,)")->Marks(), std::nullopt);
  for (const char* other :
       {"", "call", "callP(?)", "SELECT F(?)", "{call P(?)", "{? call P(?)}", "call P(?) x", "{call (?)}", "INSERT INTO call VALUES (?)"})
    EXPECT_FALSE(ReadCall(other)) << other;
}

TEST(SqlText, TheBaseTableStandsAsItIsWritten) {
  EXPECT_EQ(BaseTableOf("SELECT * FROM UTL"), "UTL");
  EXPECT_EQ(BaseTableOf("select * from `UTL` where `NOM`=\"x FROM y\""), "`UTL`");
  EXPECT_EQ(BaseTableOf("SELECT U.* FROM [Mes clients] AS U ORDER BY 1"), "[Mes clients]");
  EXPECT_EQ(BaseTableOf("SELECT * FROM \"ADM\".\"UTL\" WHERE A IN (SELECT B FROM C)"), "\"ADM\".\"UTL\"");
  EXPECT_EQ(BaseTableOf("SELECT (SELECT MAX(a) FROM x), b FROM \"$TBLKORV$\";"), "\"$TBLKORV$\"");
  EXPECT_EQ(BaseTableOf("SELECT * FROM $TBLKORV$ LIMIT 1"), "$TBLKORV$");
}

TEST(SqlText, QueriesOverSeveralRowsOrTablesHaveNone) {
  for (const char* sql :
       {"SELECT * FROM A, B", "SELECT * FROM A INNER JOIN B ON A.X=B.X", "SELECT * FROM A X LEFT JOIN B ON 1=1", "SELECT DISTINCT X FROM A",
        "SELECT X FROM A GROUP BY X", "SELECT X FROM A UNION SELECT X FROM B", "SELECT X FROM A WHERE Y=1 UNION SELECT X FROM B",
        "SELECT * FROM (SELECT * FROM A) B", "UPDATE A SET X=1", "SELECT 1", "", "SHOW KEYS FROM `A`"}) {
    EXPECT_EQ(BaseTableOf(sql), std::nullopt) << sql;
  }
}

TEST(SqlText, WhatABackendAppliesWholeOrNotAtAllIsOneChangeOrQuery) {
  for (const char* sql : {"UPDATE A SET X='a;b'", " /* x */ insert into A values (1);", "DELETE FROM A -- ; fin",
                          "REPLACE INTO A VALUES (1)", "WITH B AS (SELECT 1) SELECT * FROM B", "UPDATE A SET X='it''s; fine'"}) {
    EXPECT_TRUE(IsSingleChangeOrQuery(sql)) << sql;
  }
  for (const char* sql :
       {"UPDATE A SET X=1; UPDATE B SET X=1", "CALL p()", "BEGIN NOT ATOMIC UPDATE A SET X=1; END", "CREATE TABLE A (X INTEGER)",
        "ALTER TABLE A ADD Y INTEGER", "COMMIT", "", "UPDATE A SET X='a\\'; UPDATE B SET Y='b'"}) {
    EXPECT_FALSE(IsSingleChangeOrQuery(sql)) << sql;
  }
}

TEST(SqlText, AStatementThatIsNotKnownMayOpenATransaction) {
  for (const char* sql : {"INSERT INTO A VALUES (1)", "(SELECT 1)", "-- a\nupdate A SET X=1", "SET NAMES utf8mb4", "SHOW KEYS FROM A",
                          "replace A VALUES (1)"}) {
    EXPECT_EQ(EffectOnTransaction(sql), TransactionEffect::kNone) << sql;
  }
  for (const char* sql : {"BEGIN", "start transaction", "CALL p()", "LOCK TABLES A WRITE", "XA START 'x'", "SAVEPOINT s", "ROLLBACK TO s",
                          "COMMIT AND CHAIN", "EXECUTE s", "", "/*! BEGIN */"}) {
    EXPECT_EQ(EffectOnTransaction(sql), TransactionEffect::kMayOpen) << sql;
  }
  for (const char* sql :
       {"COMMIT", " rollback work;", "CREATE TABLE A (X INTEGER)", "drop table A", "ALTER TABLE A ADD Y INTEGER", "TRUNCATE A"}) {
    EXPECT_EQ(EffectOnTransaction(sql), TransactionEffect::kEnds) << sql;
  }
}

TEST(SqlText, PlainNamesHaveNeitherOwnerNorQuotes) {
  EXPECT_EQ(PlainName("\"ADM\".\"UTL\""), "UTL");
  EXPECT_EQ(PlainName("[a]]b]"), "a]b");
  EXPECT_EQ(PlainName("`x``y`"), "x`y");
  EXPECT_EQ(PlainName("UTL"), "UTL");
}

TEST(SqlText, CommentsGoAndHintsStay) {
  EXPECT_EQ(WithoutComments("SELECT 1 -- fin"), "SELECT 1  ");
  EXPECT_EQ(WithoutComments("SELECT /* x */ '-- /* texte */' FROM A"), "SELECT   '-- /* texte */' FROM A");
  EXPECT_EQ(WithoutComments("SELECT /*+ INDEX(A) */ 5--3 FROM A"), "SELECT /*+ INDEX(A) */ 5--3 FROM A");
}

TEST(SqlText, WideLiteralsBecomeParameters) {
  std::vector<std::string> values;
  EXPECT_EQ(WithoutWideLiterals("INSERT INTO A VALUES ('é', '\xF0\x9F\x98\x80 ''', \"\xF0\x9F\x98\x81\")", values),
            "INSERT INTO A VALUES ('é', ?, ?)");
  EXPECT_EQ(values, (std::vector<std::string>{"\xF0\x9F\x98\x80 '", "\xF0\x9F\x98\x81"}));
}

TEST(SqlText, StatementsThatMakeAProgramAreKnownByTheirBeginning) {
  for (const char* sql :
       {"CREATE TRIGGER T BEFORE INSERT ON A FOR EACH ROW BEGIN DO 1; END", "/* x */ create or replace definer = `a`@`%` event E DO DO 1",
        "CREATE AGGREGATE FUNCTION F() RETURNS INT RETURN 1", "ALTER EVENT E DO DO 1", "CREATE DEFINER=CURRENT_USER() PROCEDURE P() DO 1",
        "create package body P AS END"})
    EXPECT_TRUE(ado::odbc::MakesProgram(sql)) << sql;
  for (const char* sql :
       {"CREATE TABLE EVENT (X INT)", "CREATE TABLE `TRIGGER` (X INT)", "CREATE VIEW PROCEDURE_ AS SELECT 1", "DROP TRIGGER T", "CALL P()",
        "CREATE OR", "CREATE", "SELECT 'CREATE TRIGGER'", "CREATE TABLE A (X INT); CREATE TRIGGER"})
    EXPECT_FALSE(ado::odbc::MakesProgram(sql)) << sql;
}

TEST(SqlText, DefinitionsAreRecognised) {
  EXPECT_TRUE(ChangesSchema("  create table A (X INT)"));
  EXPECT_TRUE(ChangesSchema("SELECT * INTO B FROM A"));
  EXPECT_FALSE(ChangesSchema("INSERT INTO A SELECT * FROM B"));
  EXPECT_FALSE(ChangesSchema("SELECT 'INTO' FROM A"));
}

}  // namespace
}  // namespace tamlo::tests

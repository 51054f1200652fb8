// Expressions of servers, read.
#include "schema/SqlText.h"

#include <gtest/gtest.h>

#include "schema/SqlDefault.h"
#include "schema/SqliteText.h"

namespace tamlo::schema {
namespace {

TEST(SqlDefault, WhatTheServersShow) {
  struct Case {
    const char* text;
    Kind kind;
    Default::Kind is;
    const char* value;
  };
  const Case cases[] = {
      {"NULL", Kind::kText, Default::Kind::kNone, ""},
      {"'abc'::character varying", Kind::kText, Default::Kind::kText, "abc"},
      {"'ab''c'", Kind::kMemo, Default::Kind::kText, "ab'c"},
      {"'5'::text", Kind::kText, Default::Kind::kText, "5"},
      {"''", Kind::kText, Default::Kind::kText, ""},
      {"'-1'::integer", Kind::kLong, Default::Kind::kNumber, "-1"},
      {"(-1)", Kind::kLong, Default::Kind::kNumber, "-1"},
      {"2.5000", Kind::kCurrency, Default::Kind::kNumber, "2.5"},
      {"100", Kind::kLong, Default::Kind::kNumber, "100"},
      {"1", Kind::kBoolean, Default::Kind::kTruth, "1"},
      {"false", Kind::kBoolean, Default::Kind::kTruth, "0"},
      {"b'1'", Kind::kBoolean, Default::Kind::kTruth, "1"},
      {"'2020-01-31 00:00:00.000'", Kind::kMoment, Default::Kind::kMoment, "2020-01-31"},
      {"'2020-01-31 10:20:30.500'::timestamp(3) without time zone", Kind::kMoment, Default::Kind::kMoment, "2020-01-31 10:20:30.500"},
      {"current_timestamp(3)", Kind::kMoment, Default::Kind::kNow, ""},
      {"LOCALTIMESTAMP(0)", Kind::kMoment, Default::Kind::kNow, ""},
      {"datetime('now','localtime')", Kind::kMoment, Default::Kind::kNow, ""},
      {"('1899-12-30'::date + LOCALTIME(0))", Kind::kMoment, Default::Kind::kTimeOfDay, ""},
      {"CURRENT_DATE", Kind::kMoment, Default::Kind::kToday, ""},
      {"gen_random_uuid()", Kind::kGuid, Default::Kind::kNewGuid, ""},
      {"lower(x)", Kind::kText, Default::Kind::kUnknown, "lower(x)"},
      {"'a' || 'b'", Kind::kText, Default::Kind::kUnknown, "'a' || 'b'"},
      {"'x'::text", Kind::kLong, Default::Kind::kUnknown, "'x'"}};
  for (const Case& one : cases) {
    const Default read = SqlDefault(one.text, one.kind);
    EXPECT_EQ(static_cast<int>(read.kind), static_cast<int>(one.is)) << one.text;
    EXPECT_EQ(read.text, one.value) << one.text;
  }
}

TEST(SqlText, ConditionsThatTheDescriptionKnows) {
  const Dialect& postgres = DialectOf(Engine::kPostgreSql);
  const Dialect& maria = DialectOf(Engine::kMariaDb);
  EXPECT_EQ(CheckOf("(((x)::text <> ''::text))", "x", postgres)->kind, KnownCheck::Kind::kNotEmpty);
  EXPECT_EQ(CheckOf("(\"Nom é\" <> ''::text)", "Nom é", postgres)->kind, KnownCheck::Kind::kNotEmpty);
  EXPECT_EQ(CheckOf("char_length(`x`) > 0", "x", maria)->kind, KnownCheck::Kind::kNotEmpty);
  EXPECT_EQ(CheckOf("((\"Y\" >= 0) AND (\"Y\" <= 255))", "Y", postgres)->kind, KnownCheck::Kind::kByteRange);
  EXPECT_EQ(CheckOf("\"Y\" BETWEEN 0 AND 255", "Y", postgres)->kind, KnownCheck::Kind::kByteRange);
  EXPECT_EQ(CheckOf("(octet_length(\"V\") <= 20)", "V", postgres)->limit, 20);
  EXPECT_FALSE(CheckOf("x <> ''", "y", postgres));
  EXPECT_FALSE(CheckOf("(x <> ''::text) OR (y > 1)", "x", postgres));
  EXPECT_FALSE(CheckOf("\"Y\" BETWEEN 0 AND 25", "Y", postgres));
}

TEST(SqlText, WhatASqliteTableSaysBesides) {
  const auto table = ReadSqliteTable(
      "CREATE TABLE [a, b] ( -- (a comment, with signs\n \"Id\" INTEGER PRIMARY KEY AUTOINCREMENT, /* , */ `x)` TEXT CHECK (\"x)\" <> ','), "
      "g AS (Id + (1)) STORED, p INT CONSTRAINT \"zu P\" REFERENCES P (n) ON DELETE CASCADE, "
      "CONSTRAINT F FOREIGN KEY (p, g) REFERENCES [P Q] (u, v), CHECK (p > 0))");
  EXPECT_EQ(table.counter, "Id");
  ASSERT_EQ(table.checks.size(), 2U);
  EXPECT_EQ(table.checks[0], "\"x)\" <> ','");
  EXPECT_EQ(table.checks[1], "p > 0");
  ASSERT_EQ(table.computed.size(), 1U);
  EXPECT_EQ(table.computed[0].expression, "Id + (1)");
  ASSERT_EQ(table.foreignKeys.size(), 2U);
  EXPECT_EQ(table.foreignKeys[0].name, "zu P");
  EXPECT_EQ(table.foreignKeys[0].columns, std::vector<std::string>{"p"});
  EXPECT_EQ(table.foreignKeys[1].name, "F");
  EXPECT_EQ(table.foreignKeys[1].columns, (std::vector<std::string>{"p", "g"}));
  EXPECT_EQ(table.foreignKeys[1].referenced, "P Q");
  EXPECT_EQ(ReadSqliteTable("CREATE TABLE t (Id INTEGER NOT NULL, PRIMARY KEY (Id))").counter, "");
  EXPECT_EQ(SqliteIndexCondition("CREATE INDEX i ON t (a) WHERE a IS NOT NULL"), " a IS NOT NULL");
  EXPECT_EQ(SqliteIndexCondition("CREATE INDEX i ON t (\"where\")"), "");
}

}  // namespace
}  // namespace tamlo::schema

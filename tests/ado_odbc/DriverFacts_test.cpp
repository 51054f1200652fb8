#include "ado/odbc/facts/DriverFacts.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "ado/odbc/values/TypeMap.h"
#include "runtime/Error.h"

namespace tamlo::ado::odbc {
namespace {

using Question = DriverAnswers::Question;

/// A driver that answers what it is told to, and counts what it is asked.
class Told final : public DriverAnswers {
 public:
  Told(std::string product, std::string driver, std::string version = {}) {
    texts_[Question::kProduct] = std::move(product);
    texts_[Question::kDriver] = std::move(driver);
    texts_[Question::kVersion] = std::move(version);
    texts_[Question::kQuote] = "\"";
  }
  void Answer(Question which, std::string text) { texts_[which] = std::move(text); }
  [[nodiscard]] std::string Text(Question which) const override {
    ++asked[which];
    const auto found = texts_.find(which);
    return found == texts_.end() ? std::string() : found->second;
  }
  [[nodiscard]] std::uint32_t Reads() const override { return reads; }
  [[nodiscard]] bool HasDatabase() const override {
    ++databaseAsked;
    return hasDatabase;
  }

  std::uint32_t reads = 0;
  bool hasDatabase = true;
  mutable std::map<Question, int> asked;
  mutable int databaseAsked = 0;

 private:
  std::map<Question, std::string> texts_;
};

struct Database {
  const char* name;
  const char* product;
  const char* driver;
  std::vector<std::string> types;  // in the order of kTypes
};

const std::vector<std::int16_t> kTypes{
    adBoolean, adTinyInt,  adUnsignedTinyInt, adSmallInt,   adInteger,     adUnsignedSmallInt, adBigInt, adUnsignedInt, adSingle,
    adDouble,  adCurrency, adNumeric,         adVarNumeric, adDate,        adDBTimeStamp,      adDBDate, adDBTime,      adGUID,
    adChar,    adWChar,    adVarChar,         adVarWChar,   adLongVarChar, adLongVarWChar,     adBinary, adVarBinary,   adLongVarBinary};

const std::vector<Database> kDatabases{
    {"Sqlite", "SQLite", "libsqlite3odbc.so", {"BIT",           "TINYINT",       "TINYINT",     "SMALLINT",    "INTEGER",  "INTEGER",
                                               "BIGINT",        "BIGINT",        "REAL",        "DOUBLE",      "CURRENCY", "NUMERIC(12,2)",
                                               "NUMERIC(12,2)", "DATETIME",      "DATETIME",    "DATE",        "TIME",     "GUID",
                                               "CHAR(20)",      "CHAR(20)",      "VARCHAR(20)", "VARCHAR(20)", "TEXT",     "TEXT",
                                               "VARBINARY(20)", "VARBINARY(20)", "BLOB"}},
    {"MySql",
     "MariaDB",
     "libmaodbc.so",
     {"NUMERIC(1)",    "TINYINT UNSIGNED", "TINYINT UNSIGNED", "SMALLINT",      "INTEGER",       "INTEGER",     "BIGINT",   "BIGINT",
      "FLOAT",         "DOUBLE",           "DECIMAL(19,4)",    "NUMERIC(12,2)", "NUMERIC(12,2)", "DATETIME",    "DATETIME", "DATE",
      "TIME",          "CHAR(38)",         "CHAR(20)",         "CHAR(20)",      "VARCHAR(20)",   "VARCHAR(20)", "LONGTEXT", "LONGTEXT",
      "VARBINARY(20)", "VARBINARY(20)",    "LONGBLOB"}},
    {"Postgres",
     "PostgreSQL",
     "psqlodbcw.so",
     {"BOOLEAN",          "SMALLINT",      "SMALLINT",      "SMALLINT",      "INTEGER",   "INTEGER",   "BIGINT", "BIGINT", "REAL",
      "DOUBLE PRECISION", "DECIMAL(19,4)", "NUMERIC(12,2)", "NUMERIC(12,2)", "TIMESTAMP", "TIMESTAMP", "DATE",   "TIME",   "UUID",
      "CHAR(20)",         "CHAR(20)",      "VARCHAR(20)",   "VARCHAR(20)",   "TEXT",      "TEXT",      "BYTEA",  "BYTEA",  "BYTEA"}},
    {"SqlServer",
     "Microsoft SQL Server",
     "libtdsodbc.so",
     {"BIT",           "TINYINT",       "TINYINT",       "SMALLINT",     "INTEGER",       "INTEGER",
      "BIGINT",        "BIGINT",        "REAL",          "FLOAT",        "MONEY",         "NUMERIC(12,2)",
      "NUMERIC(12,2)", "DATETIME",      "DATETIME",      "DATE",         "TIME",          "UNIQUEIDENTIFIER",
      "NCHAR(20)",     "NCHAR(20)",     "NVARCHAR(20)",  "NVARCHAR(20)", "NVARCHAR(MAX)", "NVARCHAR(MAX)",
      "VARBINARY(20)", "VARBINARY(20)", "VARBINARY(MAX)"}},
    {"Oracle", "Oracle", "libsqora.so", {"NUMBER(1,0)",  "NUMBER(3,0)",  "NUMBER(3,0)",  "NUMBER(5,0)",  "NUMBER(10,0)", "NUMBER(10,0)",
                                         "NUMBER(19,0)", "NUMBER(19,0)", "REAL",         "NUMBER",       "NUMBER(19,4)", "NUMBER(12,2)",
                                         "NUMBER(12,2)", "DATE",         "DATE",         "DATE",         "DATE",         "CHAR(38)",
                                         "CHAR(20)",     "CHAR(20)",     "VARCHAR2(20)", "VARCHAR2(20)", "CLOB",         "CLOB",
                                         "RAW(20)",      "RAW(20)",      "BLOB"}},
    {"Unknown", "Some Engine", "some.so", {"BIT",           "TINYINT",       "TINYINT",     "SMALLINT",    "INTEGER",       "INTEGER",
                                           "BIGINT",        "BIGINT",        "REAL",        "DOUBLE",      "DECIMAL(19,4)", "NUMERIC(12,2)",
                                           "NUMERIC(12,2)", "TIMESTAMP",     "TIMESTAMP",   "DATE",        "TIME",          "CHAR(38)",
                                           "CHAR(20)",      "CHAR(20)",      "VARCHAR(20)", "VARCHAR(20)", "LONG VARCHAR",  "LONG VARCHAR",
                                           "VARBINARY(20)", "VARBINARY(20)", "BLOB"}},
};

class DriverFactsOf : public testing::TestWithParam<Database> {};

TEST_P(DriverFactsOf, NewColumnsHaveTheTypesOfTheirDatabase) {
  const DriverFacts facts = FactsOf(Told(GetParam().product, GetParam().driver, "15.0.4"));
  ASSERT_EQ(GetParam().types.size(), kTypes.size());
  for (std::size_t i = 0; i < kTypes.size(); ++i) {
    Column column;
    column.type = kTypes[i];
    column.definedSize = 20;
    column.precision = 12;
    column.numericScale = 2;
    EXPECT_EQ(ColumnTypeText(column, facts.types), GetParam().types[i]) << kTypes[i];
  }
}

TEST_P(DriverFactsOf, ATypeThatNoColumnHasIsError5) {
  const DriverFacts facts = FactsOf(Told(GetParam().product, GetParam().driver));
  Column column;
  column.type = adUnsignedBigInt;
  try {
    (void)ColumnTypeText(column, facts.types);
    FAIL() << "no error";
  } catch (const runtime::Error& error) {
    EXPECT_EQ(error.Number(), runtime::kInvalidArgument);
    EXPECT_EQ(error.Description(), "Type 21 non géré");
  }
}

INSTANTIATE_TEST_SUITE_P(Databases, DriverFactsOf, testing::ValuesIn(kDatabases), [](const auto& one) { return one.param.name; });

TEST(DriverFacts, WithoutASizeATextHas255CharactersAndADecimal18Digits) {
  Column column;
  column.type = adVarWChar;
  EXPECT_EQ(ColumnTypeText(column, TypeTexts{}), "VARCHAR(255)");
  column.type = adNumeric;
  EXPECT_EQ(ColumnTypeText(column, TypeTexts{}), "NUMERIC(18,0)");
  column.precision = 255;
  EXPECT_EQ(ColumnTypeText(column, FactsOf(Told("Oracle", "libsqora.so")).types), "NUMBER");
}

TEST(DriverFacts, ADatabaseThatNobodyKnowsIsTrustedInNothing) {
  const DriverFacts facts = FactsOf(Told("Some Engine", "some.so"));
  EXPECT_TRUE(facts.testArrays);
  EXPECT_TRUE(facts.savepoint.empty());
  EXPECT_FALSE(facts.undoesBatches);
  EXPECT_TRUE(facts.catalogsMayFail);
  EXPECT_TRUE(facts.serverForms == ServerForms::kNone);
  EXPECT_TRUE(facts.callOutputs == CallOutputs::kNone);
}

TEST(DriverFacts, EnginesThatSpeakPostgresProtocolAloneAreNotAskedLikeItsServer) {
  const DriverFacts own = FactsOf(Told("PostgreSQL", "psqlodbcw.so", "15.0.4"));
  const DriverFacts other = FactsOf(Told("PostgreSQL", "psqlodbcw.so", "8.1.4"));
  EXPECT_TRUE(own.serverForms == ServerForms::kCasts);
  EXPECT_TRUE(other.serverForms == ServerForms::kNone);
  EXPECT_TRUE(own.asksDriverForForeignKeys);
  EXPECT_FALSE(other.asksDriverForForeignKeys);
  EXPECT_EQ(own.longestName, 63U);
  EXPECT_EQ(other.longestName, 0U);
  EXPECT_EQ(other.viewsQuery, DriverFacts().viewsQuery);
}

TEST(DriverFacts, MariaDbsDriverSaysNullForNoDatabaseAndTheServerDecides) {
  Told driver("MariaDB", "libmaodbc.so");
  driver.Answer(Question::kDatabase, "null");
  EXPECT_EQ(FactsOf(driver).catalog, "null");
  driver.hasDatabase = false;
  EXPECT_EQ(FactsOf(driver).catalog, "");
  EXPECT_EQ(driver.databaseAsked, 2);
  driver.Answer(Question::kDatabase, "gestion");
  EXPECT_EQ(FactsOf(driver).catalog, "gestion");
  EXPECT_EQ(driver.databaseAsked, 2);
}

TEST(DriverFacts, NarrowTextsAreTrustedWhereTheyAreUtf8) {
  Told driver("MariaDB", "libmaodbc.so");
  EXPECT_FALSE(FactsOf(driver).narrowIsUtf8);
  driver.Answer(Question::kCharacterSet, "utf8mb4_general_ci");
  EXPECT_TRUE(FactsOf(driver).narrowIsUtf8);
  driver.Answer(Question::kDriver, "libmyodbc8w.so");
  EXPECT_FALSE(FactsOf(driver).narrowIsUtf8);
  EXPECT_TRUE(FactsOf(Told("SQLite", "libsqlite3odbc.so")).narrowIsUtf8);
  EXPECT_FALSE(FactsOf(Told("SQLite", "sqlite3odbc.dll")).narrowIsUtf8);
}

TEST(DriverFacts, ADriverIsAskedForWhatMattersAlone) {
  const Told sqlite("SQLite", "libsqlite3odbc.so", "3.40");
  (void)FactsOf(sqlite);
  EXPECT_EQ(sqlite.asked.count(Question::kDatabase), 0U);
  EXPECT_EQ(sqlite.asked.count(Question::kCharacterSet), 0U);
  EXPECT_EQ(sqlite.asked.count(Question::kVersion), 0U);
}

TEST(DriverFacts, ABlankForAQuoteIsNone) {
  Told driver("Some Engine", "some.so");
  driver.Answer(Question::kQuote, " ");
  EXPECT_EQ(FactsOf(driver).openQuote, "");
  EXPECT_EQ(FactsOf(Told("Microsoft SQL Server", "libtdsodbc.so")).openQuote, "[");
  EXPECT_EQ(FactsOf(Told("Microsoft SQL Server", "libtdsodbc.so")).closeQuote, "]");
}

}  // namespace
}  // namespace tamlo::ado::odbc

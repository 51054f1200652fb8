// What is written as definitions comes back as it was, from each engine; its own client loads it.
#include <gtest/gtest.h>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "schema/Read.h"
#include "schema/ReadAccess.h"
#include "tests/schema/Difference.h"
#include "tests/schema/Engine.h"
#include "tests/support_lib/SamplePassword.h"

namespace tamlo::tests {
namespace {

class ReadBack : public testing::TestWithParam<const char*> {
 protected:
  ReadBack() : engine_(GetParam()) {}

  void Compare(const schema::Database& original) {
    const schema::Script script = schema::WriteDdl(original, engine_.Dialect());
    if (original.tables.empty()) {
      EXPECT_TRUE(script.statements.empty());
      return;
    }
    std::string sql;
    for (const auto& statement : script.statements) sql += statement.sql + ";\n";
    engine_.Empty();
    const Ran loaded = engine_.Client(sql);
    ASSERT_EQ(loaded.err, "");
    ASSERT_EQ(loaded.status, 0);
    const auto connection = engine_.Connect();
    const schema::Database read = schema::Read(*connection, engine_.Dialect().engine);
    for (const auto& difference : Differences(original, Expected(original, script, engine_.Dialect()), read, script))
      ADD_FAILURE() << difference.table << "." << difference.column << ": " << difference.text;
    columns_ += original.tables[0].columns.size();
  }

  Engine engine_;
  std::size_t columns_ = 0;
};

TEST_P(ReadBack, EveryTypeDefaultAndIndex) {
  const std::string path = engine_.Folder().File("tout.mdb");
  const auto file = jet::Database::Create(path);
  jet::sql::Session session(*file);
  for (
      const char* statement :
      {"CREATE TABLE T (Id COUNTER CONSTRAINT PK PRIMARY KEY, B YESNO, Y BYTE, S SHORT, L LONG, C CURRENCY, F SINGLE, R DOUBLE, D DECIMAL(12,3), "
       "E DECIMAL(28,0), M DATETIME, X TEXT(50) NOT NULL, N MEMO, O LONGBINARY, V BINARY(20), G GUID)",
       "CREATE UNIQUE INDEX XI ON T (X DESC, L)", "CREATE INDEX LI ON T (L) WITH IGNORE NULL",
       "CREATE UNIQUE INDEX YS ON T (Y, S) WITH IGNORE NULL", "CREATE UNIQUE INDEX RD ON T (R) WITH DISALLOW NULL",
       "CREATE TABLE [U/é] (A LONG DEFAULT 5, [select] TEXT(20) DEFAULT 'ab''c', Dt DATETIME DEFAULT Now(), D2 DATETIME DEFAULT Date(), D3 "
       "DATETIME DEFAULT Time(), Bo YESNO DEFAULT True, Dbl DOUBLE DEFAULT -1.5, DM DATETIME DEFAULT #2020-01-31#, DH DATETIME DEFAULT "
       "#2020-01-31 10:20:30#, Cu CURRENCY DEFAULT 2.5, G GUID DEFAULT GenGUID(), K COUNTER, Anti TEXT(5) DEFAULT 'a\\b', CONSTRAINT PK PRIMARY KEY ([select], A))",
       "CREATE UNIQUE INDEX K ON [U/é] (K)", "CREATE TABLE [Enfant 1] (Tx TEXT(20), A LONG, P LONG NOT NULL, Moi LONG)",
       "CREATE UNIQUE INDEX IP ON [Enfant 1] (P)",
       "ALTER TABLE [Enfant 1] ADD CONSTRAINT [DeU é] FOREIGN KEY (Tx, A) REFERENCES [U/é] ([select], A) ON DELETE CASCADE",
       "ALTER TABLE [Enfant 1] ADD CONSTRAINT DeT FOREIGN KEY (P) REFERENCES T (Id) ON UPDATE CASCADE",
       "ALTER TABLE [Enfant 1] ADD CONSTRAINT DeMoi FOREIGN KEY (Moi) REFERENCES [Enfant 1] (P)",
       "INSERT INTO T (Id, X, R) VALUES (41, 'x', 1)"})
    session.Execute(statement);
  schema::Database original = schema::ReadAccess(*file);
  ASSERT_EQ(original.tables.size(), 3U);
  schema::Table& t = original.tables[1];
  ASSERT_EQ(t.name, "T");
  t.comment = "l'ensemble \\ \"tout\"";
  t.columns[1].comment = "c'est un oui";
  t.columns[11].allowEmpty = false;
  t.columns[12].allowEmpty = false;
  schema::Column random;
  random.name = "Hasard";
  random.type = {.kind = schema::Kind::kLong};
  random.required = true;
  random.counter = schema::Counter{schema::Counter::Kind::kRandom, 0};
  schema::Column guid;
  guid.name = "Unique";
  guid.type = {.kind = schema::Kind::kGuid};
  guid.required = true;
  guid.counter = schema::Counter{schema::Counter::Kind::kGuid, 0};
  original.tables[0].columns.push_back(random);
  original.tables[0].columns.push_back(guid);
  Compare(original);
}

TEST_P(ReadBack, EverySample) {
  if (SampleFiles().empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with Access files";
  for (const auto& sample : SampleFiles()) {
    SCOPED_TRACE(sample.string());
    try {
      const auto file = jet::Database::Open(sample.string(), {.mode = jet::OpenMode::kReadOnly, .password = SamplePassword(sample)});
      Compare(schema::ReadAccess(*file));
    } catch (const jet::Error& error) {
      EXPECT_EQ(error.Code(), jet::ErrorCode::kPasswordProtected) << error.what();
    }
  }
  EXPECT_GT(columns_, 0U);
}

INSTANTIATE_TEST_SUITE_P(Engines, ReadBack, testing::Values("mariadb", "postgresql", "sqlite"));

}  // namespace
}  // namespace tamlo::tests

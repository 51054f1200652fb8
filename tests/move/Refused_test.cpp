// What a target does not take: rows, indexes, the whole copy.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/move/Engines.h"
#include "tests/support_lib/SmallDisk.h"

namespace tamlo::tests {
namespace {

const std::string kEnvironment = "LC_ALL=C TAMLO_DB_PASSWORD=tamlo";

class RefusedBy : public testing::TestWithParam<const char*> {
 protected:
  RefusedBy() : engine_(EngineCalled(GetParam())), folder_(engine_->folder) { engine_->Empty(); }
  Ran Copy(std::vector<std::string> options) {
    options.insert(options.begin(), {"copy", "base.mdb", engine_->Name()});
    return TamloDb(folder_, options, kEnvironment);
  }
  /// A table of a thousand rows, of which two stand in the target's way: it has stricter columns.
  void MakeSides() {
    const auto database = jet::Database::Create(folder_.File("base.mdb"));
    jet::sql::Session session(*database);
    session.Execute("CREATE TABLE T (Id LONG, Nom TEXT(20))");
    const std::string q = engine_->Quoted("T");
    engine_->Ask("CREATE TABLE " + q + " (" + engine_->Quoted("Id") + " INTEGER NOT NULL PRIMARY KEY, " + engine_->Quoted("Nom") +
                 " VARCHAR(20) NOT NULL CHECK (" + engine_->Quoted("Nom") + " <> 'x'));\n");
    jet::Transaction transaction(*database);
    for (int i = 1; i <= 1000; ++i) {
      const std::string n = std::to_string(i);
      session.Execute("INSERT INTO T (Id, Nom) VALUES (" + (i == 500 ? std::string("499") : n) + ", '" + (i == 700 ? "x" : "nom " + n) +
                      "')");
    }
    transaction.Commit();
  }

  std::unique_ptr<TargetEngine> engine_;
  const TemporaryFolder& folder_;
};

TEST_P(RefusedBy, RowsGoToTheirFileAndTheOthersArrive) {
  MakeSides();
  const auto copied = Copy({"--if-exists", "append", "--reject", "r.jsonl"});
  EXPECT_EQ(copied.status, 1) << copied.err;
  EXPECT_NE(copied.err.find("table T, row 500"), std::string::npos) << copied.err;
  EXPECT_NE(copied.err.find("table T, row 700"), std::string::npos) << copied.err;
  EXPECT_NE(copied.err.find("2 rows were refused"), std::string::npos) << copied.err;
  EXPECT_EQ(engine_
                ->Ask("SELECT count(*), min(" + engine_->Quoted("Id") + "), max(" + engine_->Quoted("Id") + ") FROM " +
                      engine_->Quoted("T") + ";\n")
                .out.substr(0, 3),
            "998");
  EXPECT_EQ(RunLine(folder_,
                    "node -e " + Word("const r=require('fs').readFileSync('r.jsonl','utf8').trim().split('\\n').map(l=>JSON.parse(l));"
                                      "console.log(r.map(l=>[l.table,l.row,l.values.Id,l.values.Nom,l.reason.length>5].join()).join(' '))"))
                .out,
            "T,500,499,nom 500,true T,700,700,x,true\n");
}

TEST_P(RefusedBy, TooManyRowsEndTheCopy) {
  MakeSides();
  const auto copied = Copy({"--if-exists", "append", "--reject-limit", "1", "--batch", "1000"});
  EXPECT_EQ(copied.status, 4);
  EXPECT_NE(copied.err.find("more than 1 row was refused"), std::string::npos) << copied.err;
}

TEST_P(RefusedBy, ATableThatIsThereIsReplacedOnlyWhenThatIsAsked) {
  {
    const auto database = jet::Database::Create(folder_.File("base.mdb"));
    jet::sql::Session session(*database);
    session.Execute("CREATE TABLE T (Id LONG)");
    session.Execute("INSERT INTO T (Id) VALUES (1)");
    session.Execute("CREATE UNIQUE INDEX U ON T (Id)");
  }
  const std::string table = engine_->Quoted("T");
  engine_->Ask("CREATE TABLE " + table + " (" + engine_->Quoted("Id") + " INTEGER);\nINSERT INTO " + table + " VALUES (7);\n");
  const auto copied = Copy({});
  EXPECT_EQ(copied.status, 4) << "the table is there";
  EXPECT_EQ(engine_->Ask("SELECT " + engine_->Quoted("Id") + " FROM " + table + ";\n").out, "7\n") << "and is as it was";
  ASSERT_EQ(Copy({"--if-exists", "replace"}).status, 0);
  EXPECT_EQ(engine_->Ask("SELECT " + engine_->Quoted("Id") + " FROM " + table + ";\n").out, "1\n");
  EXPECT_NE(engine_->Ask("INSERT INTO " + table + " VALUES (1);\n").status, 0) << "its index is there";
}

INSTANTIATE_TEST_SUITE_P(Engines, RefusedBy, testing::Values("sqlite", "mariadb", "postgresql"));

/// A primary key of a text without a length holds its beginning there, a unique index the whole text.
TEST(RefusedByMariaDb, KeysThatDifferBehindWhatThePrimaryKeyHoldsWereTold) {
  const auto engine = EngineCalled("mariadb");
  engine->Empty();
  const std::string head(255, 'x');
  const std::string two = "('" + head + "a'), ('" + head + "b');";
  ASSERT_EQ(RunLine(engine->folder, "sqlite3 base.sqlite",
                    "CREATE TABLE p (k TEXT PRIMARY KEY); INSERT INTO p VALUES " + two +
                        "CREATE TABLE u (k TEXT UNIQUE); INSERT INTO u VALUES " + two + "CREATE TABLE b (k BLOB PRIMARY KEY);")
                .err,
            "");
  const auto plan = TamloDb(engine->folder, {"copy", "base.sqlite", engine->Name(), "--dry-run"}, kEnvironment);
  EXPECT_NE(plan.out.find("-- p.k: the primary key holds its first 255 characters alone on MariaDB: rows that differ behind them alone are "
                          "refused\n"),
            std::string::npos)
      << plan.out;
  EXPECT_NE(plan.out.find("-- b.k: the primary key holds its first 255 bytes alone on MariaDB"), std::string::npos) << plan.out;
  EXPECT_EQ(plan.out.find("-- u"), std::string::npos) << plan.out;
  const auto copied = TamloDb(engine->folder, {"copy", "base.sqlite", engine->Name()}, kEnvironment);
  EXPECT_EQ(copied.status, 1) << copied.err;
  EXPECT_NE(copied.err.find("1 row was refused\n"), std::string::npos) << copied.err;
  EXPECT_EQ(engine->Ask("SELECT count(*) FROM p; SELECT count(*) FROM u;\n").out, "1\n2\n");
  EXPECT_NE(engine->Ask("INSERT INTO u VALUES ('" + head + "a');\n").status, 0) << "the unique index is there";
}

std::string BigFile(const TemporaryFolder& folder) {
  const std::string path = folder.File("base.mdb");
  const auto database = jet::Database::Create(path);
  jet::sql::Session session(*database);
  session.Execute("CREATE TABLE T (Id LONG, M MEMO)");
  jet::Transaction transaction(*database);
  const std::string text(2000, 'x');
  for (int i = 0; i < 1500; ++i) session.Execute("INSERT INTO T (Id, M) VALUES (" + std::to_string(i) + ", '" + text + "')");
  transaction.Commit();
  return path;
}

TEST(RefusedByTheSystem, AFullDiskEndsTheCopyAndRoomLetsItGoOn) {
  const TemporaryFolder folder;
  SmallDisk disk(std::size_t{8} << 20);
  if (!disk.Refused().empty()) GTEST_SKIP() << disk.Refused();
  const std::string path = BigFile(folder);
  disk.FillUpTo(std::size_t{2} << 20);
  const std::string target = disk.File("t.sqlite");
  const auto full = TamloDb(folder, {"copy", path, target, "--batch", "100"}, kEnvironment);
  EXPECT_EQ(full.status, 4);
  EXPECT_EQ(std::count(full.err.begin(), full.err.end(), '\n'), 1) << full.err;
  EXPECT_NE(full.err.find("full"), std::string::npos) << full.err;
  disk.MakeRoom();
  const auto resumed = TamloDb(folder, {"copy", path, target, "--batch", "100", "--resume"}, kEnvironment);
  EXPECT_EQ(resumed.status, 0) << resumed.err;
  EXPECT_EQ(RunLine(folder, "sqlite3 " + Word(target) + " 'SELECT count(*), count(DISTINCT Id), sum(length(M)) FROM T'").out,
            "1500|1500|3000000\n");
}

TEST(RefusedByTheSystem, AServerUserWhoMayOnlyRead) {
  const auto engine = EngineCalled("postgresql");
  engine->Empty();
  BigFile(engine->folder);
  engine->Ask("ALTER ROLE tamlo SET default_transaction_read_only = on;\n");
  const auto copied = TamloDb(engine->folder, {"copy", "base.mdb", engine->Name()}, kEnvironment);
  engine->Ask("SET default_transaction_read_only = off; ALTER ROLE tamlo RESET default_transaction_read_only;\n");
  EXPECT_EQ(copied.status, 4);
  EXPECT_EQ(std::count(copied.err.begin(), copied.err.end(), '\n'), 1) << copied.err;
  EXPECT_NE(copied.err.find("read-only"), std::string::npos) << copied.err;
}

}  // namespace
}  // namespace tamlo::tests

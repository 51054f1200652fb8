// Rows that refer to rows which come later, into tables that have their relations already.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>
#include <random>
#include <thread>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/move/Engines.h"
#include "tests/move/Running.h"
#include "tests/support_lib/Seed.h"

namespace tamlo::tests {
namespace {

const std::string kEnvironment = "LC_ALL=C TAMLO_DB_PASSWORD=tamlo";

/// "Id" and the row that it refers to; empty for none.
using Links = std::map<int, std::string>;

class WaitingIn : public testing::TestWithParam<const char*> {
 protected:
  WaitingIn() : engine_(EngineCalled(IsFile() ? "sqlite" : GetParam())), folder_(engine_->folder) {
    if (!IsFile()) engine_->Empty();
  }
  static bool IsFile() { return std::string(GetParam()) == "access"; }
  static bool ChecksLater() { return std::string(GetParam()) == "sqlite"; }
  [[nodiscard]] std::string Target() const { return IsFile() ? folder_.File("neuf.mdb") : engine_->Name(); }

  /// A table whose rows refer to rows of it, in the order of the list; its relation is made when they are there.
  void MakeFile(const std::vector<std::pair<int, std::string>>& rows, const std::string& name = "base.mdb") {
    const auto database = jet::Database::Create(folder_.File(name));
    jet::sql::Session session(*database);
    session.Execute("CREATE TABLE T (Id LONG CONSTRAINT PK PRIMARY KEY, Chef LONG)");
    jet::Transaction transaction(*database);
    for (const auto& [id, chief] : rows)
      session.Execute("INSERT INTO T (Id, Chef) VALUES (" + std::to_string(id) + ", " + (chief.empty() ? "NULL" : chief) + ")");
    transaction.Commit();
  }
  void Relate(const std::string& name = "base.mdb") {
    const auto database = jet::Database::Open(folder_.File(name));
    jet::sql::Session session(*database);
    session.Execute("ALTER TABLE T ADD CONSTRAINT DeChef FOREIGN KEY (Chef) REFERENCES T (Id)");
  }
  /// The same table, empty and with its relation, in the target.
  void MakeThere() {
    MakeFile({}, "vide.mdb");
    Relate("vide.mdb");
    const auto made = TamloDb(folder_, {"copy", "vide.mdb", Target(), "--schema-only"}, kEnvironment);
    ASSERT_EQ(made.status, 0) << made.err;
  }
  Ran Copy(std::vector<std::string> options = {}) {
    options.insert(options.begin(), {"copy", "base.mdb", Target(), "--data-only"});
    return TamloDb(folder_, options, kEnvironment);
  }
  /// What stands there, as the target's own client or mdbtools say it.
  Links There(const std::string& table = "T") {
    const Rows rows = IsFile() ? ExportedByMdb(folder_, Target(), table) : engine_->RowsOf(table);
    Links links;
    for (const auto& row : rows)
      EXPECT_TRUE(links.emplace(std::stoi(row.at(0).value()), row.at(1).value_or("")).second) << "twice: " << row.at(0).value();
    return links;
  }
  bool IsLeftBehind(const std::string& table) {
    if (IsFile()) return RunLine(folder_, "mdb-tables -1 neuf.mdb").out.find(table) != std::string::npos;
    return engine_->Ask("SELECT count(*) FROM " + table + ";\n").status == 0;
  }
  /// A copy that wrote nothing yet into its table of progress has not begun.
  bool IsBegun() {
    if (!IsLeftBehind("tamlo_copy_progress")) return false;
    if (IsFile()) return !ExportedByMdb(folder_, Target(), "tamlo_copy_progress").empty();
    return engine_->Ask("SELECT count(*) FROM tamlo_copy_progress;\n").out != "0\n";
  }
  int StruckUntilThrough(std::mt19937& chance, unsigned most);
  void ExpectNothingLeftBehind() {
    EXPECT_FALSE(IsLeftBehind("tamlo_copy_progress"));
    EXPECT_FALSE(IsLeftBehind("tamlo_copy_waiting"));
  }

  std::unique_ptr<TargetEngine> engine_;
  const TemporaryFolder& folder_;
};

Links Expected(const std::vector<std::pair<int, std::string>>& rows) { return {rows.begin(), rows.end()}; }

/// Each row refers to the next one; the last to none.
std::vector<std::pair<int, std::string>> Chain(int count) {
  std::vector<std::pair<int, std::string>> rows;
  for (int i = 1; i <= count; ++i) rows.emplace_back(i, i == count ? std::string() : std::to_string(i + 1));
  return rows;
}

/// A tree whose rows stand in any order, their numbers too.
std::vector<std::pair<int, std::string>> Tree(int count, std::mt19937& chance) {
  std::vector<int> ids(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) ids[static_cast<std::size_t>(i)] = i + 1;
  std::shuffle(ids.begin(), ids.end(), chance);
  std::vector<std::pair<int, std::string>> rows;
  for (std::size_t i = 0; i < ids.size(); ++i) rows.emplace_back(ids[i], i % 50 == 0 ? std::string() : std::to_string(ids[chance() % i]));
  std::shuffle(rows.begin(), rows.end(), chance);
  return rows;
}

TEST_P(WaitingIn, EachRowReferringToTheNextOneArrives) {
  const auto rows = Chain(1200);
  MakeFile(rows);
  Relate();
  MakeThere();
  // Left by another copy, whose table of progress somebody has dropped.
  if (engine_->Server() != nullptr)
    engine_->Ask(
        "CREATE TABLE tamlo_copy_waiting (place BIGINT, item BIGINT, PRIMARY KEY (place, item));\nINSERT INTO tamlo_copy_waiting VALUES (1, 3);\n");
  const auto copied = Copy({"--verify", "full", "--batch", "500"});
  EXPECT_EQ(copied.err, "");
  EXPECT_EQ(copied.status, 0);
  EXPECT_EQ(There(), Expected(rows));
  ExpectNothingLeftBehind();
}

TEST_P(WaitingIn, ATreeInAnyOrderArrives) {
  std::mt19937 chance(Seed());
  const auto rows = Tree(700, chance);
  MakeFile(rows);
  MakeThere();  // the source itself does not know the relation
  const auto copied = Copy({"--batch", "100"});
  EXPECT_EQ(copied.err, "");
  EXPECT_EQ(copied.status, 0);
  EXPECT_EQ(There(), Expected(rows));
  ExpectNothingLeftBehind();
}

/// Two tables that refer to each other, so that neither can come first.
TEST_P(WaitingIn, TablesInACircleArrive) {
  const auto make = [&](const std::string& name, bool filled) {
    const auto database = jet::Database::Create(folder_.File(name));
    jet::sql::Session session(*database);
    session.Execute("CREATE TABLE A (Id LONG CONSTRAINT PK PRIMARY KEY, DeB LONG)");
    session.Execute("CREATE TABLE B (Id LONG CONSTRAINT PK PRIMARY KEY, DeA LONG)");
    for (int i = 1; i <= 25 && filled; ++i) {
      // A1 -> B1 -> A2 -> B2 -> ...
      session.Execute("INSERT INTO A (Id, DeB) VALUES (" + std::to_string(i) + ", " + std::to_string(i) + ")");
      session.Execute("INSERT INTO B (Id, DeA) VALUES (" + std::to_string(i) + ", " + (i == 25 ? "NULL" : std::to_string(i + 1)) + ")");
    }
    session.Execute("ALTER TABLE A ADD CONSTRAINT VersB FOREIGN KEY (DeB) REFERENCES B (Id)");
    session.Execute("ALTER TABLE B ADD CONSTRAINT VersA FOREIGN KEY (DeA) REFERENCES A (Id)");
  };
  make("base.mdb", true);
  make("vide.mdb", false);
  ASSERT_EQ(TamloDb(folder_, {"copy", "vide.mdb", Target(), "--schema-only"}, kEnvironment).status, 0);
  const auto copied = Copy({"--verify", "full"});
  EXPECT_EQ(copied.err, "");
  EXPECT_EQ(copied.status, 0);
  EXPECT_EQ(There("A").size(), 25U);
  EXPECT_EQ(There("B").size(), 25U);
  ExpectNothingLeftBehind();
}

/// What refers to nothing, or in a circle, is told with its reason; a row that refers to itself is taken.
TEST_P(WaitingIn, WhatNothingHelpsIsRefusedRowByRow) {
  MakeFile({{1, "2"}, {2, ""}, {3, "99"}, {4, "5"}, {5, "4"}, {6, "3"}, {7, "7"}, {8, "1"}});
  MakeThere();
  const auto copied = Copy({"--reject", "r.jsonl"});
  EXPECT_EQ(copied.status, 1);
  if (ChecksLater()) {
    EXPECT_EQ(There().size(), 8U) << "SQLite takes them; those without what they refer to are told";
    EXPECT_EQ(copied.err, "tamlo-db: T: 1 rows refer to rows of T that are not there\n");
    return;
  }
  EXPECT_EQ(There(), (Links{{1, "2"}, {2, ""}, {7, "7"}, {8, "1"}}));
  for (const char* row : {"row 3", "row 4", "row 5", "row 6"})
    EXPECT_NE(copied.err.find(std::string("table T, ") + row + ": "), std::string::npos) << row << " in " << copied.err;
  EXPECT_NE(copied.err.find("4 rows were refused"), std::string::npos) << copied.err;
  EXPECT_EQ(RunLine(folder_,
                    "node -e " + Word("const r=require('fs').readFileSync('r.jsonl','utf8').trim().split('\\n').map(l=>JSON.parse(l));"
                                      "console.log(r.map(l=>[l.row,l.values.Id,l.values.Chef,l.reason.length>5].join()).sort().join(' '))"))
                .out,
            "3,3,99,true 4,4,5,true 5,5,4,true 6,6,3,true\n");
  ExpectNothingLeftBehind();
}

/// One copy, struck at moments of chance before that many milliseconds, until it is through; how often it was struck.
int WaitingIn::StruckUntilThrough(std::mt19937& chance, unsigned most) {
  int struck = 0;
  bool begun = false;
  for (int run = 0; run < 40; ++run) {
    std::vector<std::string> line{"copy", "base.mdb", Target(), "--data-only", "--batch", "60"};
    if (begun) line.emplace_back("--resume");
    Running copy(folder_, line);
    if (run < 12) {
      std::this_thread::sleep_for(std::chrono::milliseconds(chance() % most));
      copy.Strike(SIGKILL);
    }
    const int status = copy.Wait();
    if (status == 0) break;
    EXPECT_EQ(status, -SIGKILL) << RunLine(folder_, "cat running.err").out;
    if (status != -SIGKILL) break;
    ++struck;
    const bool wasBegun = begun;
    begun = IsBegun();
    if (wasBegun && !begun) break;
  }
  return struck;
}

TEST_P(WaitingIn, GoesOnAfterKills) {
  std::mt19937 chance(Seed());
  const auto rows = Tree(900, chance);
  MakeFile(rows);
  int struck = 0;
  unsigned most = 250;  // then as long as the quickest of the rounds took: a quick engine must be struck too
  for (int round = 0; round < 30 && struck < 3 && !HasFailure(); ++round) {
    std::filesystem::remove(folder_.File("vide.mdb"));
    if (IsFile()) std::filesystem::remove(Target());
    if (!IsFile()) engine_->Empty();
    MakeThere();
    const auto begin = std::chrono::steady_clock::now();
    struck += StruckUntilThrough(chance, most);
    const auto taken = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin).count();
    most = std::clamp(static_cast<unsigned>(taken), 10U, most);
    EXPECT_EQ(There(), Expected(rows));
    ExpectNothingLeftBehind();
  }
  EXPECT_GE(struck, 3);
}

INSTANTIATE_TEST_SUITE_P(Engines, WaitingIn, testing::Values("sqlite", "mariadb", "postgresql", "access"));

}  // namespace
}  // namespace tamlo::tests

// Copies whose tables come side by side.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <random>
#include <thread>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/move/Engines.h"
#include "tests/move/Running.h"
#include "tests/move/Samples.h"

namespace tamlo::tests {
namespace {

constexpr int kTables = 4;
constexpr int kRows = 1500;
constexpr int kEvery = 60;
const std::string kEnvironment = "LC_ALL=C TAMLO_DB_PASSWORD=tamlo";

/// Tables T0, T1..., in each of which every sixtieth text holds a NUL, which PostgreSQL cannot.
void MakeFile(const std::string& path) {
  const auto database = jet::Database::Create(path);
  jet::sql::Session session(*database);
  for (int table = 0; table < kTables; ++table)
    session.Execute("CREATE TABLE T" + std::to_string(table) + " (Id LONG CONSTRAINT PK PRIMARY KEY, T TEXT(40))");
  jet::Transaction transaction(*database);
  for (int i = 1; i <= kRows; ++i)
    for (int table = 0; table < kTables; ++table)
      session.Execute("INSERT INTO T" + std::to_string(table) + " (Id, T) VALUES (" + std::to_string(i) + ", 'a'" +
                      (i % kEvery == 0 ? " & Chr(0)" : "") + ")");
  transaction.Commit();
}

class Refusing : public testing::Test {
 protected:
  Refusing() : engine_(EngineCalled("postgresql")) {
    engine_->Empty();
    MakeFile(engine_->folder.File("base.mdb"));
  }
  std::vector<std::string> Line(bool resume) {
    std::vector<std::string> line{"copy", "base.mdb", engine_->Name(), "--jobs", "3", "--batch", "100", "--reject", "r.jsonl"};
    if (resume) line.emplace_back("--resume");
    return line;
  }
  bool IsBegun() { return engine_->Ask("SELECT count(*) FROM tamlo_copy_progress;\n").out.find_first_of("123456789") == 0; }
  /// Each row is in its table or in the file, and none in both or twice.
  void ExpectEachRowOnce() {
    for (int table = 0; table < kTables; ++table)
      EXPECT_EQ(engine_->Ask("SELECT count(*), count(DISTINCT \"Id\") FROM \"T" + std::to_string(table) + "\";\n").out,
                std::to_string(kRows - kRows / kEvery) + "|" + std::to_string(kRows - kRows / kEvery) + "\n");
    const Ran told = RunLine(engine_->folder, "node -e " + Word("const r=require('fs').readFileSync('r.jsonl','utf8').trim().split('\\n')"
                                                                ".map(l=>JSON.parse(l)).map(l=>l.table+' '+l.row+' '+l.values.Id);"
                                                                "console.log(r.length,new Set(r).size)"));
    const std::string all = std::to_string(kTables * (kRows / kEvery));
    EXPECT_EQ(told.out, all + " " + all + "\n") << told.err;
  }

  std::unique_ptr<TargetEngine> engine_;
};

TEST_F(Refusing, RowsOfAllTablesGoToOneFile) {
  const auto copied = TamloDb(engine_->folder, Line(false), kEnvironment);
  EXPECT_EQ(copied.status, 1) << copied.err;
  ExpectEachRowOnce();
}

TEST_F(Refusing, AStruckCopyTellsEachOfThemOnce) {
  std::mt19937 chance(20261124);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(TamloDb(engine_->folder, Line(false), kEnvironment).status, 1);
  const auto most = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start).count();
  int struck = 0;
  for (int round = 0; round < 30 && struck < 6 && !HasFailure(); ++round) {
    engine_->Empty();
    bool begun = false;
    int status = -1;
    for (int run = 0; run < 40 && status != 1; ++run) {
      Running copy(engine_->folder, Line(begun));
      if (run < 6) {
        std::this_thread::sleep_for(std::chrono::microseconds(chance() % static_cast<unsigned>(most)));
        copy.Strike(SIGKILL);
      }
      status = copy.Wait();
      if (status == -SIGKILL) ++struck;
      const bool wasBegun = begun;
      begun = IsBegun();
      if (wasBegun && !begun) break;
    }
    ExpectEachRowOnce();
  }
  EXPECT_GE(struck, 6);
}

TEST_F(Refusing, TheLimitHoldsForAllTablesTogether) {
  auto line = Line(false);
  line.insert(line.end(), {"--reject-limit", "40"});
  const auto copied = TamloDb(engine_->folder, line, kEnvironment);
  EXPECT_EQ(copied.status, 4);
  EXPECT_NE(copied.err.find("more than 40 rows were refused"), std::string::npos) << copied.err;
}

TEST(Jobs, AFileTakesRowsFromOneAlone) {
  const TemporaryFolder folder;
  jet::Database::Create(folder.File("base.mdb"));
  for (const char* target : {"neuf.mdb", "neuf.sqlite"}) {
    const Ran ran = TamloDb(folder, {"copy", "base.mdb", target, "--jobs", "2"});
    EXPECT_EQ(ran.status, 2);
    EXPECT_EQ(ran.err, "tamlo-db: --jobs: " + std::string(target) + " is a file, which takes rows from one at a time\n");
    EXPECT_EQ(RunLine(folder, "ls " + std::string(target)).status, 2) << "nothing was made";
  }
}

class SamplesBySeveral : public testing::TestWithParam<const char*> {};

TEST_P(SamplesBySeveral, ArriveCellByCell) {
  if (SampleFiles().empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with Access files";
  const auto engine = EngineCalled(GetParam());
  Compared compared;
  for (const auto& sample : SampleFiles())
    if (const auto name = sample.stem().string(); name == "test2V2003" || name == "indexTestV2003" || name == "overflowTestV2003")
      CopyAndCompare(*engine, sample, compared, {"--jobs", "4"});
  EXPECT_GT(compared.cells, 100U);
  EXPECT_EQ(compared.different, 0U) << compared.first;
}

INSTANTIATE_TEST_SUITE_P(Engines, SamplesBySeveral, testing::Values("mariadb", "postgresql"));

}  // namespace
}  // namespace tamlo::tests

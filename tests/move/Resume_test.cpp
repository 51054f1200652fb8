// Copies that end half-way, and go on: no row is there twice, none is missing.
#include <gtest/gtest.h>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <random>
#include <thread>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/move/Engines.h"
#include "tests/move/Running.h"

namespace tamlo::tests {
namespace {

constexpr int kRows = 2000;
const std::string kEnvironment = "LC_ALL=C TAMLO_DB_PASSWORD=tamlo";

/// Two tables with and one without a key, which has each row twice, and a relation between them.
void MakeFile(const std::string& path) {
  const auto database = jet::Database::Create(path);
  jet::sql::Session session(*database);
  session.Execute("CREATE TABLE A (Id COUNTER CONSTRAINT PK PRIMARY KEY, T TEXT(40))");
  session.Execute("CREATE TABLE B (N LONG, T TEXT(40))");
  session.Execute("CREATE TABLE C (Id LONG CONSTRAINT PK PRIMARY KEY, DeA LONG CONSTRAINT VersA REFERENCES A (Id))");
  session.Execute("CREATE INDEX ParN ON B (N)");
  jet::Transaction transaction(*database);
  for (int i = 1; i <= kRows; ++i) {
    const std::string n = std::to_string(i);
    session.Execute("INSERT INTO A (T) VALUES ('a" + n + "')");
    session.Execute("INSERT INTO B (N, T) VALUES (" + std::to_string(i / 2) + ", 'b')");
    session.Execute("INSERT INTO C (Id, DeA) VALUES (" + n + ", " + n + ")");
  }
  transaction.Commit();
}

class ResumeOn : public testing::TestWithParam<const char*> {
 protected:
  ResumeOn() : engine_(EngineCalled(Name())), folder_(engine_->folder) {
    MakeFile(folder_.File("base.mdb"));
    engine_->Empty();
  }
  /// "mariadb" of "mariadb:3", which is a copy by three jobs.
  static std::string Name() { return std::string(GetParam()).substr(0, std::string(GetParam()).find(':')); }
  std::vector<std::string> Line(bool resume) {
    std::vector<std::string> line{"copy", "base.mdb", engine_->Name(), "--batch", batch_};
    if (Name() != GetParam()) line.insert(line.end(), {"--jobs", "3"});
    if (resume) line.emplace_back("--resume");
    return line;
  }
  /// How long a copy takes that nobody strikes, here and now. The target is empty afterwards.
  std::chrono::microseconds Undisturbed() {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(TamloDb(folder_, Line(false), kEnvironment).status, 0);
    const auto taken = std::chrono::steady_clock::now() - start;
    engine_->Empty();
    return std::chrono::duration_cast<std::chrono::microseconds>(taken);
  }
  int StruckUntilThrough(std::mt19937& chance, std::chrono::microseconds most);
  bool ProgressIsThere() { return engine_->Ask("SELECT count(*) FROM tamlo_copy_progress;\n").status == 0; }
  void ExpectWhole() {
    Compared compared;
    for (const char* table : {"A", "B", "C"})
      Compare(table, engine_->RowsOf(table), ExportedByMdb(folder_, folder_.File("base.mdb"), table), compared);
    EXPECT_EQ(compared.cells, 6U * kRows);
    EXPECT_EQ(compared.different, 0U) << compared.first;
    EXPECT_FALSE(ProgressIsThere());
    const std::string foreignKeys =
        Name() == "mariadb"      ? "SELECT count(*) FROM information_schema.referential_constraints WHERE constraint_schema = 'tamlo';\n"
        : Name() == "postgresql" ? "SELECT count(*) FROM pg_constraint WHERE contype = 'f';\n"
                                 : "SELECT count(*) FROM pragma_foreign_key_list('C');\n";
    EXPECT_EQ(engine_->Ask(foreignKeys).out, "1\n");
  }

  std::string batch_ = "500";
  std::unique_ptr<TargetEngine> engine_;
  const TemporaryFolder& folder_;
};

/// One copy, struck at moments of chance until it is through; how often it was struck.
int ResumeOn::StruckUntilThrough(std::mt19937& chance, std::chrono::microseconds most) {
  int struck = 0;
  bool begun = false;
  for (int run = 0; run < 40; ++run) {
    Running copy(folder_, Line(begun));
    if (run < 12) {
      std::this_thread::sleep_for(std::chrono::microseconds(chance() % static_cast<unsigned>(most.count())));
      copy.Strike(SIGKILL);
    }
    const int status = copy.Wait();
    if (status == 0) break;
    if (status == -SIGKILL) ++struck;
    EXPECT_TRUE(status == -SIGKILL || !begun || !ProgressIsThere()) << status << RunLine(folder_, "cat running.err").out;
    // Struck behind its last step it is through, and struck before its first one it has not begun.
    const bool wasBegun = begun;
    begun = ProgressIsThere() && engine_->Ask("SELECT count(*) FROM tamlo_copy_progress;\n").out != "0\n";
    if (wasBegun && !begun) break;
  }
  return struck;
}

TEST_P(ResumeOn, GoesOnAfterAnyNumberOfKills) {
  std::mt19937 chance(20261123);
  const auto most = Undisturbed();
  int struck = 0;
  for (int round = 0; round < 30 && struck < 6 && !HasFailure(); ++round) {
    engine_->Empty();
    struck += StruckUntilThrough(chance, most);
    ExpectWhole();
  }
  EXPECT_GE(struck, 6);
}

TEST_P(ResumeOn, SaysHowToGoOnWhenItIsInterrupted) {
  batch_ = "50";
  Running copy(folder_, Line(false));
  while (!copy.Ended() && engine_->Ask("SELECT 1 FROM tamlo_copy_progress WHERE done > 40;\n").out.empty())
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  copy.Strike(SIGINT);
  const int status = copy.Wait();
  if (status == 0) GTEST_SKIP() << "it was through before it heard of it";
  EXPECT_EQ(status, 130);
  const std::string said = RunLine(folder_, "cat running.err").out;
  EXPECT_NE(said.find("--resume goes on"), std::string::npos) << said;
  const auto anew = TamloDb(folder_, Line(false), kEnvironment);
  EXPECT_EQ(anew.status, 4);
  EXPECT_NE(anew.err.find("ended half-way: go on with --resume"), std::string::npos) << anew.err;
  EXPECT_EQ(std::count(anew.err.begin(), anew.err.end(), '\n'), 1);
  auto other = Line(true);
  other.insert(other.end(), {"-x", "B"});
  const auto another = TamloDb(folder_, other, kEnvironment);
  EXPECT_EQ(another.status, 4);
  EXPECT_NE(another.err.find("was another one"), std::string::npos) << another.err;
  const auto resumed = TamloDb(folder_, Line(true), kEnvironment);
  EXPECT_EQ(resumed.status, 0) << resumed.err;
  ExpectWhole();
}

TEST_P(ResumeOn, GoesOnAfterTheServerDied) {
  if (engine_->Server() == nullptr) GTEST_SKIP() << "there is no server";
  std::mt19937 chance(7);
  const auto most = Undisturbed();
  bool begun = false;
  bool through = false;
  for (int run = 0; run < 5; ++run) {
    Running copy(folder_, Line(begun));
    std::this_thread::sleep_for(std::chrono::microseconds(chance() % static_cast<unsigned>(most.count())));
    engine_->Server()->Kill();
    const int status = copy.Wait();
    engine_->Server()->Restart();
    through = status == 0;
    if (through) break;
    EXPECT_TRUE(status == 4 || status == 3) << status << RunLine(folder_, "cat running.err").out;
    begun = ProgressIsThere() && engine_->Ask("SELECT count(*) FROM tamlo_copy_progress;\n").out != "0\n";
  }
  if (!through && (begun || !ProgressIsThere())) {
    const auto resumed = TamloDb(folder_, Line(begun), kEnvironment);
    EXPECT_TRUE(resumed.status == 0 || resumed.err.find("has the tables already") != std::string::npos) << resumed.err;
  }
  ExpectWhole();
}

TEST_P(ResumeOn, NothingIsResumedWhereNothingWasBegun) {
  const auto resumed = TamloDb(folder_, Line(true), kEnvironment);
  EXPECT_EQ(resumed.status, 4);
  EXPECT_NE(resumed.err.find("has no copy that ended half-way"), std::string::npos) << resumed.err;
}

INSTANTIATE_TEST_SUITE_P(Engines, ResumeOn, testing::Values("sqlite", "mariadb", "postgresql", "mariadb:3", "postgresql:3"));

}  // namespace
}  // namespace tamlo::tests

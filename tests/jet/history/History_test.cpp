#include <gtest/gtest.h>

#include <cstdlib>

#include "jet/file/MemoryFileSystem.h"
#include "tests/jet/history/RealFiles.h"
#include "tests/jet/history/Workload.h"
#include "tests/support_lib/SamplePassword.h"

namespace jet {
namespace {

using tests::As97;
using tests::Compare;
using tests::Workload;
using tests::WorkloadLimits;

constexpr char kPath[] = "/history.mdb";

struct Plan {
  const char* name;
  int steps;
  int compareEvery;
  WorkloadLimits limits;
  std::size_t cacheBytes;
  bool encoded = false;
};

std::ostream& operator<<(std::ostream& out, const Plan& plan) { return out << plan.name; }

class History : public testing::TestWithParam<std::tuple<Plan, unsigned>> {};

/// Random inserts, updates, deletes, schema edits and transactions, with the database closed and opened again in between.
TEST_P(History, EqualsTheModelAfterEveryStep) {
  const auto& [plan, seed] = GetParam();
  SCOPED_TRACE("seed " + std::to_string(seed));
  MemoryFileSystem files;
  OpenOptions options;
  options.fileSystem = &files;
  options.cacheBytes = plan.cacheBytes;
  options.password = "Sésame";  // not looked at where the file has none
  auto database = Database::Create(kPath, options, plan.encoded ? Protection{options.password, true} : Protection{}, plan.limits.version);
  Workload workload(seed, plan.limits);
  std::mt19937 random(seed + 1000);
  for (int step = 1; step <= plan.steps; ++step) {
    workload.Step(*database);
    if (HasFatalFailure()) FAIL() << "step " << step << ": " << workload.LastStep();
    if (step % plan.compareEvery == 0 || step == plan.steps) {
      const std::string differences = Compare(*database, workload.State());
      ASSERT_EQ(differences, "") << "step " << step << ": " << workload.LastStep();
    }
    if (workload.Depth() == 0 && random() % 12 == 0) {
      database.reset();
      options.mode = random() % 2 == 0 ? OpenMode::kShared : OpenMode::kExclusive;
      database = Database::Open(kPath, options);
    }
  }
  workload.CommitAll(*database);
  database.reset();
  database = Database::Open(kPath, options);
  ASSERT_EQ(Compare(*database, workload.State()), "");
}

constexpr std::size_t kSmallCache = std::size_t{64} << 10;
constexpr std::size_t kUsualCache = std::size_t{16} << 20;

INSTANTIATE_TEST_SUITE_P(Small, History,
                         testing::Combine(testing::Values(Plan{"rows", 1500, 1, {2, 60, 9000, false, true}, kUsualCache},
                                                          Plan{"schema", 1500, 1, {3, 20, 4000, true, true}, kUsualCache},
                                                          Plan{"tight", 1000, 1, {2, 60, 90000, true, true}, kSmallCache}),
                                          testing::Range(1u, 5u)),
                         [](const auto& test) {
                           return std::string(std::get<0>(test.param).name) + "_" + std::to_string(std::get<1>(test.param));
                         });

INSTANTIATE_TEST_SUITE_P(Encoded, History,
                         testing::Values(std::tuple(Plan{"encoded", 500, 5, {3, 60, 9000, true, true}, kSmallCache, true}, 5u)),
                         [](const auto& test) { return std::string(std::get<0>(test.param).name); });

INSTANTIATE_TEST_SUITE_P(Large, History,
                         testing::Combine(testing::Values(Plan{"large", 30000, 2500, {3, 3000, 9000, true, true}, kSmallCache}),
                                          testing::Range(1u, 3u)),
                         [](const auto& test) {
                           return std::string(std::get<0>(test.param).name) + "_" + std::to_string(std::get<1>(test.param));
                         });

INSTANTIATE_TEST_SUITE_P(Access97, History,
                         testing::Combine(testing::Values(Plan{"rows", 1500, 1, As97({2, 60, 9000, false, true}), kUsualCache},
                                                          Plan{"schema", 1500, 1, As97({3, 20, 4000, true, true}), kUsualCache},
                                                          Plan{"tight", 1000, 1, As97({2, 60, 90000, true, true}), kSmallCache},
                                                          Plan{"encoded", 500, 5, As97({3, 60, 9000, true, true}), kSmallCache, true},
                                                          Plan{"large", 8000, 2000, As97({3, 3000, 9000, true, true}), kSmallCache}),
                                          testing::Range(1u, 3u)),
                         [](const auto& test) {
                           return std::string(std::get<0>(test.param).name) + "_" + std::to_string(std::get<1>(test.param));
                         });

class HistoryOfRealFiles : public testing::TestWithParam<std::string> {};

/// The same beside the tables of a file that Access or another program has made: they stay as they are.
TEST_P(HistoryOfRealFiles, LeavesWhatItDoesNotTouch) {
  if (GetParam().empty()) GTEST_SKIP() << "JET_SAMPLES is not set: real Access files are not there";
  const std::vector<std::byte> content = tests::ContentOf(GetParam());
  const std::string password = tamlo::tests::SamplePassword(GetParam());
  if (const std::string reason = tests::WhyNotWritten(content, password); !reason.empty()) GTEST_SKIP() << GetParam() << ": " << reason;
  MemoryFileSystem files;
  files.SetContent(kPath, content);
  OpenOptions options;
  options.fileSystem = &files;
  options.cacheBytes = kSmallCache;
  options.password = password;
  auto database = Database::Open(kPath, options);
  const tests::Untouched others = tests::AllTables(*database);
  Workload workload(7, {3, 30, 9000, true, true, false, database->FormatVersion()});
  for (int step = 1; step <= 400; ++step) {
    workload.Step(*database);
    if (HasFatalFailure()) FAIL() << "step " << step << ": " << workload.LastStep();
    if (step % 50 != 0) continue;
    ASSERT_EQ(Compare(*database, workload.State(), others), "") << "step " << step << ": " << workload.LastStep();
    if (workload.Depth() != 0) continue;
    database.reset();
    database = Database::Open(kPath, options);
  }
  workload.CommitAll(*database);
  database.reset();
  database = Database::Open(kPath, options);
  ASSERT_EQ(Compare(*database, workload.State(), others), "");
}

INSTANTIATE_TEST_SUITE_P(Files, HistoryOfRealFiles, testing::ValuesIn(tests::RealFiles()),
                         [](const auto& test) { return tests::RealFileName(test.param); });

}  // namespace
}  // namespace jet

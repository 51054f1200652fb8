// Power cuts in a few transactions on one table, fast enough for every run. Workloads on whole databases: tests/jet/cuts.

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

/// Rows of the table People after each committed transaction.
using States = std::vector<std::vector<std::string>>;

struct Recording {
  std::map<std::string, std::vector<std::byte>> start;
  std::vector<MemoryFileSystem::Event> record;
  std::vector<std::size_t> commits;  ///< operations done when transaction i had been committed
  States states;
};

Recording Record(std::size_t cacheBytes, int version) {
  World world;
  world.options.cacheBytes = cacheBytes;
  world.Create("test.mdb", version)->CreateTable(PeopleTable());
  Recording recording;
  recording.start["test.mdb"] = world.files.Content("test.mdb");
  const auto database = world.Open();
  Table& table = database->OpenTable("People");
  std::size_t operations = 0;
  recording.states.push_back(Rows(table));
  recording.commits.push_back(0);
  world.files.SetHook([&](const MemoryFileSystem::Event&) { ++operations; });
  world.files.Record(true);
  std::mt19937 random(7);
  std::vector<RowId> ids;
  for (int step = 0; step < 8; ++step) {
    Transaction transaction(*database);
    for (int i = 0; i < (step == 4 ? 200 : 3); ++i)
      ids.push_back(table.Insert(Person("s" + std::to_string(step * 1000 + i), std::string(random() % 900 + 1, 'n'))));
    if (step % 2 == 1) {
      table.Delete(ids.front());
      ids.erase(ids.begin());
      const Value changed[] = {Value(-step - 1), Value("changed"), Value(std::string(2000, 'c')), Value(true), Value(1.0)};
      table.Update(ids.back(), changed);
    }
    transaction.Commit();
    recording.states.push_back(Rows(table));
    recording.commits.push_back(operations);
  }
  world.files.SetHook({});
  world.files.Record(false);
  recording.record = world.files.TakeRecord();
  return recording;
}

/// Reopens the world that a cut left: it must be sound and in the state before or after the transaction that was under way.
void ExpectBeforeOrAfter(const Recording& recording, std::size_t cut, const std::map<std::string, std::vector<std::byte>>& disk,
                         const std::string& how) {
  World world;
  for (const auto& [name, bytes] : disk)
    if (name.find(".ldb") == std::string::npos) world.files.SetContent(name, bytes);
  std::size_t before = 0;
  while (before + 1 < recording.commits.size() && recording.commits[before + 1] <= cut) ++before;
  const std::size_t after = std::min(before + 1, recording.states.size() - 1);
  const auto database = world.Open();
  const auto rows = Rows(database->OpenTable("People"));
  EXPECT_TRUE(rows == recording.states[before] || rows == recording.states[after])
      << how << " cut at " << cut << ": " << rows.size() << " rows";
  EXPECT_EQ(Findings(*database), "") << how << " cut at " << cut;
}

class TableCuts : public testing::TestWithParam<std::tuple<std::size_t, int>> {};

TEST_P(TableCuts, AtEveryOperationLeavesBeforeOrAfter) {
  const auto& [cacheBytes, version] = GetParam();
  const Recording recording = Record(cacheBytes, version);
  ASSERT_GT(recording.record.size(), 50u);
  for (std::size_t cut = 0; cut <= recording.record.size(); ++cut) {
    ExpectBeforeOrAfter(recording, cut, ReplayWithPowerCut(recording.start, recording.record, cut, [](std::size_t) { return true; }),
                        "all written,");
    ExpectBeforeOrAfter(recording, cut, ReplayWithPowerCut(recording.start, recording.record, cut, [](std::size_t) { return false; }),
                        "none unsynced,");
    std::mt19937 random(static_cast<unsigned>(cut));
    for (int variant = 0; variant < 3; ++variant)
      ExpectBeforeOrAfter(recording, cut,
                          ReplayWithPowerCut(recording.start, recording.record, cut, [&](std::size_t) { return random() % 2 == 0; }),
                          "some unsynced (seed " + std::to_string(cut) + "),");
    if (HasFailure()) break;
  }
}

INSTANTIATE_TEST_SUITE_P(Caches, TableCuts,
                         testing::Combine(testing::Values(std::size_t{16} << 20, std::size_t{64} * 4096), testing::Values(3, 4)));

}  // namespace
}  // namespace jet::tests

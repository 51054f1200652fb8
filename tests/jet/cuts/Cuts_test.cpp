#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <random>

#include "jet/value/Error.h"
#include "jet/file/MemoryFileSystem.h"
#include "tests/jet/history/RealFiles.h"
#include "tests/jet/history/Workload.h"
#include "tests/support_lib/SamplePassword.h"

namespace jet {
namespace {

using tests::As97;
using tests::Compare;
using tests::Model;
using tests::Workload;
using tests::WorkloadLimits;

constexpr char kPath[] = "/cut.mdb";
constexpr char kPassword[] = "Sésame";
using Disk = std::map<std::string, std::vector<std::byte>>;
using Event = MemoryFileSystem::Event;

struct Plan {
  const char* name;
  int stepsBefore;   ///< that fill the database
  int transactions;  ///< that are cut
  int stepsEach;
  WorkloadLimits limits;
  std::size_t cacheBytes;
  unsigned samplesEach;  ///< random choices of what reached the disk, for each cut
  bool encoded = false;
};

/// A workload run once, with every operation on files recorded and the states between its transactions.
struct Recording {
  Disk start;
  std::vector<Event> events;
  std::vector<Model> states;            ///< states[i]: after i transactions
  std::vector<std::size_t> commitEnds;  ///< events when the i-th transaction was known to be committed
  std::vector<std::size_t> cuts;        ///< numbers of events after which the power goes
  tests::Untouched others;              ///< tables that were in the file before
  std::string password;                 ///< not looked at where the file has none
};

Disk DiskOf(const MemoryFileSystem& files) {
  Disk disk;
  for (const std::string& name : files.Names()) disk[name] = files.Content(name);
  return disk;
}

/// file: the one to begin with, a new one when it is empty.
Recording Record(const Plan& plan, unsigned seed, const std::vector<std::byte>& file = {}, const std::string& password = kPassword) {
  Recording recording;
  recording.password = password;
  MemoryFileSystem files;
  OpenOptions options;
  options.fileSystem = &files;
  options.cacheBytes = plan.cacheBytes;
  options.password = password;
  Workload workload(seed, plan.limits);
  {
    if (!file.empty()) files.SetContent(kPath, file);
    auto database = file.empty()
                        ? Database::Create(kPath, options, plan.encoded ? Protection{password, true} : Protection{}, plan.limits.version)
                        : Database::Open(kPath, options);
    recording.others = tests::AllTables(*database);
    for (int i = 0; i < plan.stepsBefore; ++i) workload.Step(*database);
  }
  recording.start = DiskOf(files);
  recording.states.push_back(workload.State());
  std::size_t count = 0;
  files.SetHook([&count](const Event&) { ++count; });
  files.Record(true);
  auto database = Database::Open(kPath, options);
  for (int t = 0; t < plan.transactions; ++t) {
    database->Begin();
    for (int i = 0; i < plan.stepsEach; ++i) workload.Step(*database);
    database->Commit();
    recording.states.push_back(workload.State());
    recording.commitEnds.push_back(count);
  }
  files.Record(false);
  files.SetHook({});
  recording.events = files.TakeRecord();
  EXPECT_EQ(recording.events.size(), count);
  return recording;
}

/// The same with each write taken apart into the sectors of 512 bytes that a disk writes at once: a cut may tear any write, and sectors
/// that were not synced may be lost singly. Cuts fall after every operation, and once inside each that has several sectors.
Recording InSectors(Recording recording, unsigned seed) {
  constexpr std::uint64_t kSector = 512;
  std::mt19937 random(seed);
  std::vector<Event> sectors;
  std::vector<std::size_t> ends{0};  // sectors after that many operations
  recording.cuts.push_back(0);
  for (const Event& event : recording.events) {
    const std::size_t begin = sectors.size();
    if (event.operation != MemoryFileSystem::Operation::kWrite) {
      sectors.push_back(event);
    } else {
      for (std::uint64_t at = 0; at < event.bytes.size();) {
        const std::uint64_t size = std::min<std::uint64_t>(kSector - (event.offset + at) % kSector, event.bytes.size() - at);
        Event part = event;
        part.offset = event.offset + at;
        part.bytes.assign(event.bytes.begin() + static_cast<std::ptrdiff_t>(at),
                          event.bytes.begin() + static_cast<std::ptrdiff_t>(at + size));
        part.size = size;
        sectors.push_back(std::move(part));
        at += size;
      }
    }
    if (sectors.size() - begin > 1) recording.cuts.push_back(begin + 1 + random() % (sectors.size() - begin - 1));
    recording.cuts.push_back(sectors.size());
    ends.push_back(sectors.size());
  }
  for (std::size_t& end : recording.commitEnds) end = ends[end];
  recording.events = std::move(sectors);
  return recording;
}

/// Opens what a cut left: it must be the state after the last transaction that was known to be committed, or the one after the next
/// (`after` counts those). Gives what is wrong, empty when nothing is.
std::string Judge(const Recording& recording, std::size_t cut, const Disk& disk, std::size_t cacheBytes, std::size_t& after) {
  std::size_t done = 0;
  while (done < recording.commitEnds.size() && recording.commitEnds[done] <= cut) ++done;
  MemoryFileSystem files;
  for (const auto& [name, bytes] : disk) files.SetContent(name, bytes);
  OpenOptions options;
  options.fileSystem = &files;
  options.cacheBytes = cacheBytes;
  options.password = recording.password;
  try {
    auto database = Database::Open(kPath, options);
    const std::string before = Compare(*database, recording.states[done], recording.others);
    if (before.empty()) return {};
    if (done + 1 == recording.states.size()) return before;
    const std::string next = Compare(*database, recording.states[done + 1], recording.others);
    if (!next.empty()) return "not the state after: " + next + "and not the state before: " + before;
    ++after;
    return {};
  } catch (const Error& error) {
    return error.what();
  }
}

struct Opened {
  std::size_t worlds = 0;
  std::size_t after = 0;  ///< of them held the transaction that was being committed
};

/// Judges what each cut leaves, in several worlds; the first wrong one is a failure and ends it.
Opened CutEverywhere(const Recording& recording, const Plan& plan, unsigned seed) {
  std::mt19937 random(seed);
  Opened opened;
  for (const std::size_t cut : recording.cuts) {
    // What was not synced: all there, nothing there, and random choices, which let later writes overtake earlier ones.
    for (unsigned world = 0; world < plan.samplesEach + 2; ++world) {
      const auto keep = [&](std::size_t) { return world == 0 || (world != 1 && random() % 2 == 0); };
      const Disk disk = ReplayWithPowerCut(recording.start, recording.events, cut, keep);
      const std::string wrong = Judge(recording, cut, disk, plan.cacheBytes, opened.after);
      EXPECT_EQ(wrong, "") << "cut " << cut << ", world " << world;
      if (!wrong.empty()) return opened;
      ++opened.worlds;
    }
  }
  return opened;
}

class Cuts : public testing::TestWithParam<std::tuple<Plan, unsigned>> {};

TEST_P(Cuts, LeaveTheStateBeforeOrAfterTheTransaction) {
  const auto& [plan, seed] = GetParam();
  SCOPED_TRACE("seed " + std::to_string(seed));
  const Recording recording = InSectors(Record(plan, seed), seed);
  ASSERT_FALSE(HasFailure());
  ASSERT_GT(recording.events.size(), static_cast<std::size_t>(plan.transactions) * 4);
  const auto [worlds, after] = CutEverywhere(recording, plan, seed);
  std::cout << recording.cuts.size() << " cuts in " << recording.events.size() << " operations, " << worlds << " worlds, " << after
            << " of them after the commit\n";
  EXPECT_GT(after, 0u) << "no cut fell between the point of no return and the end of a commit: the test looks at too little";
}

class CutsOfRealFiles : public testing::TestWithParam<std::string> {};

/// The same in files that Access or another program has made: their own tables stay as they are.
TEST_P(CutsOfRealFiles, LeaveTheStateBeforeOrAfterTheTransaction) {
  if (GetParam().empty()) GTEST_SKIP() << "JET_SAMPLES is not set: real Access files are not there";
  const std::vector<std::byte> content = tests::ContentOf(GetParam());
  const std::string password = tamlo::tests::SamplePassword(GetParam());
  if (const std::string reason = tests::WhyNotWritten(content, password); !reason.empty()) GTEST_SKIP() << GetParam() << ": " << reason;
  const int version = tests::VersionOf(content, password);
  const Plan plan{"real", 10, 2, 8, {2, 20, 9000, true, false, false, version}, std::size_t{16} << 20, 1};
  const Recording recording = InSectors(Record(plan, 1, content, password), 1);
  ASSERT_FALSE(HasFailure());
  std::cout << recording.cuts.size() << " cuts, " << CutEverywhere(recording, plan, 1).worlds << " worlds\n";
}

/// Each world is opened twice: files whose password is hashed a hundred thousand times each time are left to the others.
std::vector<std::string> QuickToOpen() {
  auto files = tests::RealFiles();
  std::erase_if(files, [](const std::string& path) { return path.find("enc-agile") != std::string::npos; });
  return files;
}

INSTANTIATE_TEST_SUITE_P(Files, CutsOfRealFiles, testing::ValuesIn(QuickToOpen()),
                         [](const auto& test) { return tests::RealFileName(test.param); });

/// The proof that the test above would notice: the same workload as it would be recorded if the engine never synced a file.
TEST(CutsWithoutSync, WouldBeNoticed) {
  const Plan plan{"rows", 100, 10, 6, {2, 20, 4000, false, false}, std::size_t{16} << 20, 3};
  Recording recording = Record(plan, 1);
  for (Event& event : recording.events) {
    if (event.operation == MemoryFileSystem::Operation::kSync) event.operation = MemoryFileSystem::Operation::kOpen;
  }
  recording = InSectors(std::move(recording), 1);
  std::mt19937 random(1);
  std::size_t noticed = 0;
  std::size_t after = 0;
  for (const std::size_t cut : recording.cuts) {
    const Disk disk = ReplayWithPowerCut(recording.start, recording.events, cut, [&](std::size_t) { return random() % 2 == 0; });
    noticed += Judge(recording, cut, disk, plan.cacheBytes, after).empty() ? 0 : 1;
  }
  EXPECT_GT(noticed, recording.cuts.size() / 10);
}

std::string NameOf(const testing::TestParamInfo<std::tuple<Plan, unsigned>>& test) {
  return std::string(std::get<0>(test.param).name) + "_" + std::to_string(std::get<1>(test.param));
}

#ifdef JET_LONG_CUTS
INSTANTIATE_TEST_SUITE_P(
    Long, Cuts,
    testing::Combine(testing::Values(Plan{"rows", 3000, 40, 30, {3, 300, 9000, true, false}, std::size_t{16} << 20, 4},
                                     Plan{"tight", 1500, 20, 60, {3, 200, 9000, true, false}, std::size_t{64} << 10, 4},
                                     Plan{"encoded", 1500, 20, 30, {3, 200, 9000, true, false}, std::size_t{64} << 10, 4, true},
                                     Plan{"access97", 1500, 30, 30, As97({3, 200, 9000, true, false}), std::size_t{64} << 10, 4}),
                     testing::Range(1u, 4u)),
    NameOf);
#else
INSTANTIATE_TEST_SUITE_P(Short, Cuts,
                         testing::Combine(testing::Values(Plan{"rows", 100, 30, 6, {2, 20, 4000, false, false}, std::size_t{16} << 20, 3},
                                                          Plan{"schema", 60, 30, 5, {2, 10, 4000, true, false}, std::size_t{16} << 20, 3},
                                                          Plan{"tight", 300, 6, 60, {2, 60, 90000, true, false}, std::size_t{64} << 10, 3}),
                                          testing::Range(1u, 3u)),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(Encoded, Cuts,
                         testing::Values(std::tuple(Plan{"encoded", 60, 12, 5, {2, 10, 4000, true, false}, std::size_t{16} << 20, 3, true},
                                                    3u)),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(
    Access97, Cuts,
    testing::Combine(testing::Values(Plan{"rows97", 100, 30, 6, As97({2, 20, 4000, false, false}), std::size_t{16} << 20, 3},
                                     Plan{"schema97", 60, 30, 5, As97({2, 10, 4000, true, false}), std::size_t{64} << 10, 3}),
                     testing::Values(1u)),
    NameOf);
#endif

/// Every write, sync, creation and removal of a transaction fails once: the database object stays usable, holds the state before, and so
/// does the file.
class Failures : public testing::TestWithParam<std::tuple<ErrorCode, std::size_t>> {};

TEST_P(Failures, LeaveTheStateBeforeTheTransaction) {
  const auto& [code, cacheBytes] = GetParam();
  MemoryFileSystem files;
  OpenOptions options;
  options.fileSystem = &files;
  options.cacheBytes = cacheBytes;
  Workload prepared(7, {2, 60, 20000, true, false});
  {
    auto database = Database::Create(kPath, options);
    for (int i = 0; i < 250; ++i) prepared.Step(*database);
  }
  const Disk start = DiskOf(files);
  std::size_t failures = 0;
  for (std::size_t failAt = 1;; ++failAt) {
    SCOPED_TRACE("operation " + std::to_string(failAt));
    MemoryFileSystem world;
    for (const auto& [name, bytes] : start) world.SetContent(name, bytes);
    options.fileSystem = &world;
    auto database = Database::Open(kPath, options);
    Workload workload = prepared;
    std::size_t count = 0;
    bool failed = false;
    world.SetHook([&, wanted = code](const Event&) {
      if (++count == failAt) {
        failed = true;
        throw Error(wanted, "No space left on the device");
      }
    });
    bool raised = false;
    try {
      database->Begin();
      for (int i = 0; i < 100 && !testing::Test::HasFatalFailure(); ++i) workload.Step(*database);
      database->Commit();
    } catch (const Error& error) {
      raised = true;
      ASSERT_EQ(error.Code(), code) << error.what();
    }
    world.SetHook({});
    ASSERT_FALSE(HasFatalFailure());
    const Model& expected = raised ? prepared.State() : workload.State();
    if (raised) {
      ++failures;
      ASSERT_EQ(database->TransactionDepth(), 0);
    } else if (failed) {
      ASSERT_TRUE(true) << "a failure after the point of no return may pass unnoticed";
    }
    ASSERT_EQ(Compare(*database, expected), "");
    database.reset();
    database = Database::Open(kPath, options);
    ASSERT_EQ(Compare(*database, expected), "");
    if (!failed) break;
  }
  std::cout << failures << " failures\n";
  EXPECT_GT(failures, 5u);
}

INSTANTIATE_TEST_SUITE_P(Kinds, Failures,
                         testing::Combine(testing::Values(ErrorCode::kDiskFull, ErrorCode::kIo),
                                          testing::Values(std::size_t{16} << 20, std::size_t{64} << 10)));

}  // namespace
}  // namespace jet

// Access files on a disk that is really full.

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>

#include "tests/jet/storage/JetTestSupport.h"
#include "tests/support_lib/SmallDisk.h"

namespace jet::tests {
namespace {

using tamlo::tests::SmallDisk;

constexpr std::size_t kBlock = 4096;

class DiskFull : public testing::Test {
 protected:
  void SetUp() override {
    if (!disk.Refused().empty()) GTEST_SKIP() << disk.Refused();
    path = disk.File("full.mdb");
    options.cacheBytes = std::size_t{64} << 10;  // so that a larger transaction goes into the file before it ends
    database = Database::Create(path, options);
    Table& people = database->CreateTable(PeopleTable());
    database->Begin();
    for (int i = 0; i < 120; ++i) people.Insert(Person("before " + std::to_string(i), std::string(i % 30 == 0 ? 5000 : 40, 'n')));
    database->Commit();
  }
  void TearDown() override {
    if (disk.Refused().empty()) disk.MakeRoom();
  }

  /// Leaves so many blocks, runs the work and gives the disk its room back. True when it got through; else the error and the state are
  /// as they must be.
  template <typename Work>
  bool Runs(std::size_t blocks, Work work) {
    SCOPED_TRACE(std::to_string(blocks) + " blocks left");
    const std::vector<std::string> before = Rows(database->OpenTable("People"));
    const std::size_t objects = database->Objects().size();
    disk.FillUpTo(blocks * kBlock);
    bool done = false;
    try {
      work();
      done = true;
    } catch (const Error& error) {
      EXPECT_EQ(error.Code(), ErrorCode::kDiskFull) << error.what();
      EXPECT_NE(std::string(error.what()).find("No space left on device"), std::string::npos) << error.what();
      EXPECT_EQ(database->TransactionDepth(), 0);
      // The disk is as full as before: reading needs no room.
      EXPECT_EQ(Rows(database->OpenTable("People")), before);
      EXPECT_EQ(database->Objects().size(), objects);
    }
    disk.MakeRoom();
    EXPECT_EQ(Findings(*database), "");
    if (!done) {
      const Reopened reopened(*this);
      EXPECT_EQ(Rows(reopened->OpenTable("People")), before);
      EXPECT_EQ(reopened->Objects().size(), objects);
      EXPECT_EQ(Findings(*reopened), "");
    }
    return done;
  }

  /// Runs the work with ever more room until it gets through; how often the disk was full.
  template <typename Work>
  std::size_t UntilItRuns(Work work) {
    std::size_t full = 0;
    while (full < 400 && !HasFailure() && !Runs(full, work)) ++full;
    return full;
  }

  /// What another program that opens the file finds.
  class Reopened {
   public:
    explicit Reopened(DiskFull& test) : test_(test) {
      test_.database.reset();
      test_.database = Database::Open(test_.path, test_.options);
    }
    Database* operator->() const { return test_.database.get(); }
    Database& operator*() const { return *test_.database; }

   private:
    DiskFull& test_;
  };

  SmallDisk disk{std::size_t{4} << 20};
  std::string path;
  OpenOptions options;
  std::unique_ptr<Database> database;
};

TEST_F(DiskFull, InMidTransactionRollsBackAndLosesNothing) {
  const auto work = [this] {
    Table& people = database->OpenTable("People");
    database->Begin();
    for (int i = 0; i < 90; ++i) people.Insert(Person("new " + std::to_string(i), std::string(i % 9 == 0 ? 9000 : 60, 'x')));
    const Value note(std::string(20000, 'u'));
    const Assignment assignment{2, &note, nullptr};
    std::vector<RowId> ids;
    for (ScanCursor scan = people.Scan(); scan.Next();) ids.push_back(scan.Id());
    for (std::size_t i = 0; i < 10; ++i) people.Update(ids[i], std::span(&assignment, 1));
    for (std::size_t i = 10; i < 60; ++i) people.Delete(ids[i]);
    database->Commit();
  };
  const std::size_t full = UntilItRuns(work);
  std::cout << "full " << full << " times before the transaction had room\n";
  EXPECT_GT(full, 60u);
  const Reopened reopened(*this);
  EXPECT_EQ(reopened->OpenTable("People").RowCount(), 160u);
  EXPECT_EQ(Findings(*reopened), "");
}

TEST_F(DiskFull, ASingleChangeIsAllOrNothing) {
  const std::size_t full = UntilItRuns([this] { database->OpenTable("People").Insert(Person("one more", std::string(30000, 'l'))); });
  std::cout << "full " << full << " times before the row had room\n";
  EXPECT_GT(full, 3u);
  EXPECT_EQ(database->OpenTable("People").RowCount(), 121u);
}

TEST_F(DiskFull, ChangesOfDefinitionsAreAllOrNothing) {
  EXPECT_GT(UntilItRuns([this] {
              TableSpec spec = PeopleTable("Others");
              database->CreateTable(spec);
            }),
            1u);
  EXPECT_NE(database->FindObject("Others"), nullptr);
  EXPECT_GT(UntilItRuns([this] { database->CreateIndex("People", Index("ByAmount", {"Amount", "Name"})); }), 1u);
  EXPECT_TRUE(database->OpenTable("People").FindIndex("ByAmount"));
}

TEST_F(DiskFull, CompactingLeavesNothingBehindWhenTheNewFileHasNoRoom) {
  const std::string compacted = disk.File("compacted.mdb");
  for (const std::size_t blocks : {std::size_t{0}, std::size_t{1}, std::size_t{7}, std::size_t{20}}) {
    EXPECT_FALSE(Runs(blocks, [&] { database->Compact(compacted); }));
    EXPECT_FALSE(std::filesystem::exists(compacted));
    EXPECT_FALSE(std::filesystem::exists(compacted + "-journal"));
  }
  database->Compact(compacted);
  EXPECT_EQ(Rows(Database::Open(compacted)->OpenTable("People")), Rows(database->OpenTable("People")));
}

TEST_F(DiskFull, OpeningAndReadingEndsInAnErrorOrInAllRows) {
  const std::vector<std::string> before = Rows(database->OpenTable("People"));
  database.reset();
  disk.FillUpTo(0);
  EXPECT_EQ(CodeOf([&] { Database::Open(path); }), ErrorCode::kDiskFull);  // the lock file has no room
  disk.MakeRoom();
  const auto again = Database::Open(path);
  EXPECT_EQ(Rows(again->OpenTable("People")), before);
  EXPECT_EQ(Findings(*again), "");
}

}  // namespace
}  // namespace jet::tests

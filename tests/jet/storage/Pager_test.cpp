#include "jet/page/Pager.h"

#include <gtest/gtest.h>

#include "jet/value/ByteOrder.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

TEST(Pager, NestedRollbackUndoesOnlyTheInnerPart) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  database->Begin();
  table.Insert(Person("Ada"));
  database->Begin();
  for (int i = 0; i < 500; ++i) table.Insert(Person("x" + std::to_string(i), std::string(200, 'n')));
  database->Rollback();
  EXPECT_EQ(database->TransactionDepth(), 1);
  EXPECT_EQ(table.RowCount(), 1u);
  database->Begin();
  table.Insert(Person("Bob"));
  database->Commit();
  database->Commit();
  EXPECT_EQ(Rows(table), (std::vector<std::string>{"1|\"Ada\"|\"note\"|False|0", "2|\"Bob\"|\"note\"|False|0"}));
  EXPECT_EQ(Findings(*database), "");
}

TEST(Pager, RollbackLeavesTheFileAsItWas) {
  World world;
  {
    const auto database = world.Create();
    database->CreateTable(PeopleTable()).Insert(Person("Ada"));
  }
  const auto before = world.files.Content("test.mdb");
  {
    const auto database = world.Open();
    database->Begin();
    Table& table = database->OpenTable("People");
    for (int i = 0; i < 2000; ++i) table.Insert(Person("x" + std::to_string(i), std::string(300, 'n')));
    database->CreateTable(PeopleTable("Other"));
    database->Rollback();
    EXPECT_EQ(Rows(table).size(), 1u);
    EXPECT_EQ(database->FindObject("Other"), nullptr);
  }
  EXPECT_EQ(world.files.Content("test.mdb"), before);
}

TEST(Pager, TransactionsLargerThanTheCacheAreWrittenEarlyAndUndone) {
  World world;
  world.options.cacheBytes = 64 * 4096;
  {
    const auto database = world.Create();
    Table& table = database->CreateTable(PeopleTable());
    for (int i = 0; i < 50; ++i) table.Insert(Person("first" + std::to_string(i)));
  }
  const auto before = world.files.Content("test.mdb");
  {
    const auto database = world.Open();
    Table& table = database->OpenTable("People");
    database->Begin();
    for (int i = 0; i < 3000; ++i) table.Insert(Person("x" + std::to_string(i * 7919 % 3000), std::string(600, 'n')));
    EXPECT_LT(database->Count().cachedBytes, 100u * 4096);
    EXPECT_GT(database->Count().pagesWritten, 0u);
    EXPECT_EQ(table.RowCount(), 3050u);
    database->Rollback();
    EXPECT_EQ(table.RowCount(), 50u);
    EXPECT_EQ(Findings(*database), "");
  }
  EXPECT_EQ(world.files.Content("test.mdb"), before);
  EXPECT_FALSE(world.files.Exists("test.mdb-journal"));
}

TEST(Pager, LargeTransactionsCommitWithASmallCache) {
  World world;
  world.options.cacheBytes = 64 * 4096;
  {
    const auto database = world.Create();
    Table& table = database->CreateTable(PeopleTable());
    database->Begin();
    for (int i = 0; i < 3000; ++i) table.Insert(Person("x" + std::to_string(i * 7919 % 3000), std::string(600, 'n')));
    database->Begin();
    for (int i = 0; i < 1000; ++i) table.Insert(Person("y" + std::to_string(i)));
    database->Rollback();
    database->Commit();
    EXPECT_EQ(table.RowCount(), 3000u);
    EXPECT_EQ(Findings(*database), "");
  }
  EXPECT_EQ(Findings(*world.Open()), "");
}

TEST(Pager, AnUpdateIsOneCommitWithOneSequenceOfSyncs) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  const RowId id = table.Insert(Person("Ada"));
  const auto before = database->Count();
  const Value name("Eve");
  const Assignment assignment{1, &name, nullptr};
  table.Update(id, std::span(&assignment, 1));
  const auto after = database->Count();
  EXPECT_EQ(after.commits - before.commits, 1u);
  EXPECT_EQ(after.syncs - before.syncs, 4u);  // journal and its folder, database, folder without the journal
}

TEST(Pager, AFullDiskInMidTransactionLosesNothing) {
  World world;
  {
    const auto database = world.Create();
    database->CreateTable(PeopleTable()).Insert(Person("Ada"));
  }
  for (int failing = 0;; ++failing) {
    int count = 0;
    const auto database = world.Open();
    Table& table = database->OpenTable("People");
    const auto rows = Rows(table);
    world.files.SetHook([&](const MemoryFileSystem::Event& event) {
      if ((event.operation == MemoryFileSystem::Operation::kWrite || event.operation == MemoryFileSystem::Operation::kCreate) &&
          count++ == failing)
        throw Error(ErrorCode::kDiskFull, "no space");
    });
    const auto code = CodeOf([&] {
      Transaction transaction(*database);
      for (int i = 0; i < 30; ++i) table.Insert(Person("new", std::string(1000, 'n')));
      transaction.Commit();
    });
    world.files.SetHook({});
    if (!code) {
      EXPECT_GT(failing, 2);
      EXPECT_EQ(table.RowCount(), rows.size() + 30);
      break;
    }
    EXPECT_EQ(code, ErrorCode::kDiskFull) << failing;
    EXPECT_EQ(database->TransactionDepth(), 0);
    EXPECT_EQ(Rows(table), rows) << failing;
    EXPECT_EQ(Findings(*database), "") << failing;
  }
}

TEST(Pager, AnyFailingOperationLeavesBeforeOrAfter) {
  for (int failing = 0;; ++failing) {
    World world;
    {
      const auto database = world.Create();
      database->CreateTable(PeopleTable()).Insert(Person("Ada"));
    }
    int count = 0;
    bool failed = false;
    {
      const auto database = world.Open();
      Table& table = database->OpenTable("People");
      world.files.SetHook([&](const MemoryFileSystem::Event&) {
        if (count++ != failing) return;
        failed = true;
        throw Error(ErrorCode::kIo, "the disk refuses");
      });
      const auto code = CodeOf([&] { table.Insert(Person("Bob")); });
      world.files.SetHook({});
      EXPECT_EQ(table.RowCount(), code ? 1u : 2u) << failing;
      EXPECT_EQ(Findings(*database), "") << failing;
    }
    const auto database = world.Open();
    const auto rows = Rows(database->OpenTable("People")).size();
    EXPECT_TRUE(rows == 1 || rows == 2) << failing;
    EXPECT_EQ(Findings(*database), "") << failing;
    if (!failed) break;
    ASSERT_LT(failing, 50);
  }
}

TEST(Pager, MemoryIsBoundedByTheCacheWhateverTheFileSize) {
  World world;
  {
    const auto database = world.Create();
    Table& table = database->CreateTable(PeopleTable());
    database->Begin();
    for (int i = 0; i < 6000; ++i) table.Insert(Person("x", std::string(1000, 'n')));
    database->Commit();
  }
  world.options.cacheBytes = 100 * 4096;
  const auto database = world.Open();
  EXPECT_EQ(Rows(database->OpenTable("People")).size(), 6000u);
  EXPECT_LE(database->Count().cachedBytes, 110u * 4096);
  EXPECT_GT(world.files.Content("test.mdb").size(), 1000u * 4096);
}

TEST(Pager, OpeningReadsOnlyTheCatalog) {
  World world;
  {
    const auto database = world.Create();
    Table& table = database->CreateTable(PeopleTable());
    database->Begin();
    for (int i = 0; i < 6000; ++i) table.Insert(Person("x", std::string(1000, 'n')));
    database->Commit();
  }
  const auto database = world.Open();
  (void)database->Objects();
  (void)database->OpenTable("People").RowCount();
  EXPECT_LT(database->Count().pagesRead, 20u);
}

}  // namespace
}  // namespace jet::tests

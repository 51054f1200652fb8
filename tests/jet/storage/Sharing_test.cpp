#include <gtest/gtest.h>

#include "jet/Sharing.h"
#include "tests/jet/storage/JetTestSupport.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace jet::tests {
namespace {

TEST(Sharing, ExclusiveUseKeepsOthersOut) {
  World world;
  auto first = world.Create();
  EXPECT_EQ(CodeOf([&] { world.Open("test.mdb", OpenMode::kShared); }), ErrorCode::kInUse);
  EXPECT_EQ(CodeOf([&] { world.Open("test.mdb", OpenMode::kReadOnly); }), ErrorCode::kInUse);
  first.reset();
  EXPECT_NO_THROW(world.Open("test.mdb", OpenMode::kShared));
}

TEST(Sharing, ExclusiveUseIsRefusedWhileAnotherIsIn) {
  World world;
  world.Create();
  const auto shared = world.Open("test.mdb", OpenMode::kShared);
  EXPECT_EQ(CodeOf([&] { world.Open("test.mdb", OpenMode::kExclusive); }), ErrorCode::kInUse);
}

TEST(Sharing, TheLockFileGoesWithTheLastUser) {
  World world;
  world.Create();
  auto first = world.Open("test.mdb", OpenMode::kShared);
  auto second = world.Open("test.mdb", OpenMode::kShared);
  EXPECT_TRUE(world.files.Exists("test.ldb"));
  first.reset();
  EXPECT_TRUE(world.files.Exists("test.ldb"));
  second.reset();
  EXPECT_FALSE(world.files.Exists("test.ldb"));
}

TEST(Sharing, OneSeesWhatTheOtherCommitted) {
  World world;
  world.Create()->CreateTable(PeopleTable());
  const auto first = world.Open("test.mdb", OpenMode::kShared);
  const auto second = world.Open("test.mdb", OpenMode::kShared);
  Table& there = second->OpenTable("People");
  EXPECT_EQ(there.RowCount(), 0u);
  first->OpenTable("People").Insert(Person("Ada"));
  EXPECT_EQ(there.RowCount(), 1u);
  there.Insert(Person("Bob"));
  EXPECT_EQ(Rows(first->OpenTable("People")), (std::vector<std::string>{"1|\"Ada\"|\"note\"|False|0", "2|\"Bob\"|\"note\"|False|0"}));
  first->CreateTable(PeopleTable("Other"));
  EXPECT_NE(second->FindObject("Other"), nullptr);
  EXPECT_EQ(Findings(*second), "");
}

TEST(Sharing, WhatIsNotCommittedIsNotSeen) {
  World world;
  world.Create()->CreateTable(PeopleTable());
  const auto first = world.Open("test.mdb", OpenMode::kShared);
  const auto second = world.Open("test.mdb", OpenMode::kShared);
  first->Begin();
  first->OpenTable("People").Insert(Person("Ada"));
  EXPECT_EQ(second->OpenTable("People").RowCount(), 0u);
  first->Commit();
  EXPECT_EQ(second->OpenTable("People").RowCount(), 1u);
}

TEST(Sharing, OnlyOneWritesAtATime) {
  World world;
  world.Create()->CreateTable(PeopleTable());
  const auto first = world.Open("test.mdb", OpenMode::kShared);
  const auto second = world.Open("test.mdb", OpenMode::kShared);
  first->Begin();
  first->OpenTable("People").Insert(Person("Ada"));
  EXPECT_EQ(CodeOf([&] { second->OpenTable("People").Insert(Person("Bob")); }), ErrorCode::kInUse);
  first->Commit();
  EXPECT_NO_THROW(second->OpenTable("People").Insert(Person("Bob")));
  EXPECT_EQ(Findings(*first), "");
}

TEST(Sharing, AWriterDoesNotChangeWhatAReaderIsReading) {
  World world;
  world.Create()->CreateTable(PeopleTable());
  const auto reader = world.Open("test.mdb", OpenMode::kShared);
  const auto writer = world.Open("test.mdb", OpenMode::kShared);
  writer->OpenTable("People").Insert(Person("Ada"));
  {
    ScanCursor cursor = reader->OpenTable("People").Scan();
    ASSERT_TRUE(cursor.Next());
    EXPECT_EQ(CodeOf([&] { writer->OpenTable("People").Insert(Person("Bob")); }), ErrorCode::kInUse);
    EXPECT_EQ(cursor.Current().Text(1), "Ada");
  }
  EXPECT_NO_THROW(writer->OpenTable("People").Insert(Person("Bob")));
}

TEST(Sharing, RealFilesAreLockedBetweenTwoOpens) {
  const tamlo::tests::TemporaryFolder folder;
  const std::string path = folder.File("real.mdb");
  OpenOptions options;
  options.lockWaitMilliseconds = 20;
  auto first = Database::Create(path, options);
  EXPECT_EQ(CodeOf([&] { Database::Open(path, options); }), ErrorCode::kInUse);
  first->CreateTable(PeopleTable());
  first.reset();
  first = Database::Open(path, options);
  const auto second = Database::Open(path, options);
  first->OpenTable("People").Insert(Person("Ada"));
  EXPECT_EQ(second->OpenTable("People").RowCount(), 1u);
}

TEST(Sharing, LockFileNameReplacesTheExtension) {
  EXPECT_EQ(Sharing::LockPath("/a.b/base"), "/a.b/base.ldb");
  EXPECT_EQ(Sharing::LockPath("/a.b/base.mdb"), "/a.b/base.ldb");
}

}  // namespace
}  // namespace jet::tests

// Files made for one sort of damage each.
#include <gtest/gtest.h>

#include <algorithm>

#include "jet/Recoverer.h"
#include "jet/page/DataPage.h"
#include "jet/page/UsageMap.h"
#include "jet/schema/Engine.h"
#include "jet/table/TableCore.h"
#include "jet/value/ByteOrder.h"
#include "tests/jet/damage/Contents.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

using File = std::vector<std::byte>;

Recovery RecoverIn(World& world) {
  RecoveryOptions options;
  options.fileSystem = &world.files;
  return Recover("test.mdb", "new.mdb", options);
}

/// People with notes, the first of them long.
void MakePeople(World& world, int count) {
  const auto database = world.Create();
  Table& people = database->CreateTable(PeopleTable());
  for (int i = 0; i < count; ++i)
    people.Insert(Person("Person " + std::to_string(i), i == 0 ? std::string(9000, 'n') : "note " + std::to_string(i)));
}

/// The page behind the map that `which` gives of the table's definition.
template <typename Which>
PageNumber FirstPage(World& world, Which which) {
  const auto database = world.Open();
  const auto& definition = database->OpenTable("People").Core().Definition();
  return UsageMap(*database->Internals().pager, which(definition)).Pages(1000).front();
}

void Change(World& world, const std::function<void(File&)>& change) {
  File file = world.files.Content("test.mdb");
  change(file);
  world.files.SetContent("test.mdb", file);
}

std::vector<std::string> LossesOf(const Recovery& recovery) {
  std::vector<std::string> texts;
  for (const auto& loss : recovery.losses)
    texts.push_back(loss.table + "/" + std::to_string(loss.page) + "/" + std::to_string(loss.row) + " " + loss.text);
  return texts;
}

TEST(RecoverMade, ALongValueThatIsLostLeavesItsRow) {
  World world;
  MakePeople(world, 3);
  const PageNumber page = FirstPage(world, [](const auto& definition) { return definition.longMaps[0].ownedMap; });
  Change(world, [&](File& file) { std::fill_n(file.begin() + page * 4096, 4096, std::byte{0}); });
  const Recovery recovery = RecoverIn(world);
  ASSERT_EQ(recovery.tables.size(), 1u);
  EXPECT_EQ(recovery.tables[0].rows, 3u);
  EXPECT_EQ(recovery.tables[0].lostValues, 1u);
  ASSERT_EQ(recovery.losses.size(), 1u);
  EXPECT_EQ(recovery.losses[0].row, 0);
  EXPECT_EQ(recovery.losses[0].text, "\"Note\": A data page is expected here (page " + std::to_string(page) + ", offset 0)");
  const auto database = world.Open("new.mdb");
  EXPECT_EQ(Rows(database->OpenTable("People")).front(), "1|\"Person 0\"|NULL|False|0");
  EXPECT_EQ(Findings(*database), "");
}

TEST(RecoverMade, OneRowThatIsLostIsToldWithItsPlace) {
  World world;
  MakePeople(world, 10);
  const PageNumber page = FirstPage(world, [](const auto& definition) { return definition.ownedMap; });
  Change(world, [&](File& file) {
    std::byte* slots = file.data() + page * 4096 + 14;
    // The fifth row's number of columns.
    Store16(file.data() + page * 4096 + (Load16(slots + 2 * 4) & DataPage::kOffsetMask), 0x7777);
  });
  const Recovery recovery = RecoverIn(world);
  EXPECT_EQ(recovery.tables[0].rows, 9u);
  EXPECT_EQ(recovery.tables[0].lostRows, 1u);
  ASSERT_EQ(recovery.losses.size(), 1u);
  EXPECT_EQ(recovery.losses[0].table, "People");
  EXPECT_EQ(recovery.losses[0].page, page);
  EXPECT_EQ(recovery.losses[0].row, 4);
  EXPECT_EQ(recovery.losses[0].text.substr(0, 40), "A row has more columns than its table (p");
}

TEST(RecoverMade, PagesThatTheTablesMapHasLostAreFound) {
  World world;
  MakePeople(world, 500);
  PackedPointer map = 0;
  {
    const auto database = world.Open();
    map = database->OpenTable("People").Core().Definition().ownedMap;
  }
  Change(world, [&](File& file) {
    const RowId row = Unpack(map);
    const std::size_t offset = Load16(file.data() + row.page * 4096 + 14 + 2 * row.slot) & DataPage::kOffsetMask;
    std::fill_n(file.begin() + row.page * 4096 + static_cast<std::ptrdiff_t>(offset) + 5, 64, std::byte{0});
  });
  const Recovery recovery = RecoverIn(world);
  EXPECT_EQ(recovery.tables[0].rows, 500u);
  EXPECT_TRUE(recovery.losses.empty()) << LossesOf(recovery).front();
}

TEST(RecoverMade, WhatWasDroppedOrDeletedDoesNotComeBack) {
  World world;
  {
    const auto database = world.Create();
    for (const char* name : {"People", "Others"}) {
      Table& table = database->CreateTable(PeopleTable(name));
      for (int i = 0; i < 300; ++i) table.Insert(Person("Person " + std::to_string(i)));
    }
    database->DropTable("Others");
    std::vector<RowId> all;
    Table& people = database->OpenTable("People");
    for (ScanCursor scan = people.Scan(); scan.Next();) all.push_back(scan.Id());
    for (std::size_t i = 10; i < all.size(); ++i) people.Delete(all[i]);
  }
  Change(world, [](File& file) { file[40] = std::byte{0x55}; });  // something for the checker
  Change(world, [](File& file) { std::fill_n(file.begin() + 3 * 4096, 4096, std::byte{0}); });
  const Recovery recovery = RecoverIn(world);
  ASSERT_EQ(recovery.tables.size(), 1u);
  EXPECT_EQ(recovery.tables[0].name, "People");
  EXPECT_EQ(recovery.tables[0].rows, 10u);
}

TEST(RecoverMade, KeysAndRelationshipsThatTheRowsNoLongerAllowAreLeftOff) {
  World world;
  {
    const auto database = world.Create();
    Table& people = database->CreateTable(PeopleTable());
    TableSpec spec;
    spec.name = "Pets";
    spec.columns = {Counter("Id"), Column("Owner", ColumnType::kLong)};
    spec.indexes = {PrimaryKey("Id")};
    Table& pets = database->CreateTable(spec);
    Relationship owns;
    owns.name = "Owns";
    owns.table = "Pets";
    owns.referencedTable = "People";
    owns.columns = {{"Owner", "Id"}};
    database->CreateRelationship(owns);
    for (int i = 1; i <= 400; ++i) {
      people.Insert(Person("Person " + std::to_string(i)));
      const Value nothing, owner(static_cast<std::int32_t>(i));
      pets.Insert(std::vector<Value>{nothing, owner});
    }
  }
  const PageNumber page = FirstPage(world, [](const auto& definition) { return definition.ownedMap; });
  Change(world, [&](File& file) { std::fill_n(file.begin() + page * 4096, 4096, std::byte{0}); });
  const Recovery recovery = RecoverIn(world);
  EXPECT_EQ(recovery.relationships, 0u);
  const auto texts = LossesOf(recovery);
  EXPECT_TRUE(std::any_of(texts.begin(), texts.end(), [](const std::string& text) {
    return text ==
           "Pets/0/-1 The relationship \"Owns\" is left off: The table \"Pets\" has rows without the row of \"People\" that they refer to";
  }));
  const auto database = world.Open("new.mdb");
  EXPECT_EQ(database->OpenTable("Pets").RowCount(), 400u);
  EXPECT_TRUE(database->OpenTable("People").PrimaryKey());
  EXPECT_EQ(database->OpenTable("Pets").LastAutoNumber(), 400);
  EXPECT_EQ(Findings(*database), "");
}

TEST(RecoverMade, ATransactionThatWasLeftHalfWrittenIsUndoneInMemory) {
  World world;
  MakePeople(world, 2);
  {
    auto victim = world.Open("test.mdb", OpenMode::kShared);
    bool dead = false;
    world.files.SetHook([&](const MemoryFileSystem::Event& event) {
      if (dead) throw Error(ErrorCode::kIo, "dead");
      if (event.operation == MemoryFileSystem::Operation::kWrite && event.path == "test.mdb") dead = true;
    });
    EXPECT_EQ(CodeOf([&] { victim->OpenTable("People").Insert(Person("Victim")); }), ErrorCode::kIo);
    victim.reset();
    world.files.SetHook({});
  }
  ASSERT_TRUE(world.files.Exists("test.mdb-journal"));
  world.files.Remove("test.ldb");
  const File file = world.files.Content("test.mdb"), journal = world.files.Content("test.mdb-journal");
  const Recovery recovery = RecoverIn(world);
  EXPECT_TRUE(recovery.sound);
  EXPECT_EQ(recovery.tables[0].rows, 2u);
  EXPECT_EQ(world.files.Content("test.mdb"), file);
  EXPECT_EQ(world.files.Content("test.mdb-journal"), journal);
}

TEST(RecoverMade, AFileInUseAndATargetThatIsThereAreRefused) {
  World world;
  MakePeople(world, 2);
  {
    const auto other = world.Open("test.mdb", OpenMode::kShared);
    EXPECT_EQ(CodeOf([&] { (void)RecoverIn(world); }), ErrorCode::kInUse);
  }
  world.files.SetContent("new.mdb", File(10));
  EXPECT_EQ(CodeOf([&] { (void)RecoverIn(world); }), ErrorCode::kAlreadyExists);
  EXPECT_EQ(world.files.Content("new.mdb"), File(10));
}

TEST(RecoverMade, AFullDiskLeavesNothingBehind) {
  World world;
  MakePeople(world, 300);
  Change(world, [](File& file) { std::fill_n(file.begin() + 3 * 4096, 4096, std::byte{0}); });
  world.files.SetHook([](const MemoryFileSystem::Event& event) {
    if (event.operation == MemoryFileSystem::Operation::kWrite && event.path == "new.mdb-new" && event.offset + event.size > 90000)
      throw Error(ErrorCode::kDiskFull, "full");
  });
  EXPECT_EQ(CodeOf([&] { (void)RecoverIn(world); }), ErrorCode::kDiskFull);
  world.files.SetHook({});
  EXPECT_EQ(world.files.Names(), std::vector<std::string>{"test.mdb"});
}

TEST(RecoverMade, AnEncodedFileBehindAPasswordStaysOne) {
  World world;
  {
    const auto database = Database::Create("test.mdb", world.options, {.password = "Sésame", .encoded = true});
    Table& people = database->CreateTable(PeopleTable());
    for (int i = 0; i < 20; ++i) people.Insert(Person("Person " + std::to_string(i)));
  }
  Change(world, [](File& file) { std::fill_n(file.begin() + 3 * 4096, 4096, std::byte{0}); });
  EXPECT_EQ(CodeOf([&] { (void)RecoverIn(world); }), ErrorCode::kPasswordProtected);
  RecoveryOptions options;
  options.fileSystem = &world.files;
  options.password = "Sésame";
  const Recovery recovery = Recover("test.mdb", "new.mdb", options);
  EXPECT_FALSE(recovery.sound);
  EXPECT_EQ(recovery.tables[0].rows, 20u);
  EXPECT_EQ(CodeOf([&] { (void)world.Open("new.mdb"); }), ErrorCode::kPasswordProtected);
  world.options.password = "Sésame";
  const auto database = world.Open("new.mdb");
  EXPECT_TRUE(database->Encoded());
  EXPECT_EQ(Findings(*database), "");
}

}  // namespace
}  // namespace jet::tests

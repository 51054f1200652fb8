#include "jet/Database.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "jet/value/ByteOrder.h"
#include "jet/schema/Creation.h"
#include "jet/table/IndexCursor.h"
#include "tests/jet/storage/JetTestSupport.h"
#include "tests/support_lib/OrdinaryUser.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace jet::tests {
namespace {

std::vector<std::byte> BytesOf(const std::string& text) {
  const auto bytes = std::as_bytes(std::span(text));
  return {bytes.begin(), bytes.end()};
}

TEST(Database, SaysWhatAFileIsThatItCannotOpen) {
  World world;
  const auto refusal = [&](std::vector<std::byte> bytes) {
    world.files.SetContent("x.mdb", std::move(bytes));
    try {
      world.Open("x.mdb");
    } catch (const Error& error) {
      return std::pair(error.Code(), std::string(error.what()));
    }
    return std::pair(ErrorCode::kSyntax, std::string("opened"));
  };
  EXPECT_EQ(refusal({}).second, "\"x.mdb\" is not an Access file: it is empty");
  EXPECT_EQ(refusal(BytesOf("SQLite format 3\0 and so on ......")).second, "\"x.mdb\" is not an Access file: it is a SQLite database");
  EXPECT_EQ(refusal(BytesOf("hello")).first, ErrorCode::kNotAnAccessFile);
  std::string ace("\0\1\0\0Standard ACE DB\0\7\0\0\0", 24);
  ace.resize(4096);
  EXPECT_EQ(refusal(BytesOf(ace)).second, "\"x.mdb\" is a database of a later Access than 2019, which is not supported");
  EXPECT_FALSE(world.files.Exists("x.ldb"));
  EXPECT_EQ(CodeOf([&] { world.Open("missing.mdb"); }), ErrorCode::kNotFound);
}

TEST(Database, SaysWhenAFileIsCutShort) {
  World world;
  {
    const auto database = world.Create();
    Table& table = database->CreateTable(PeopleTable());
    for (int i = 0; i < 50; ++i) table.Insert(Person("x", std::string(4000, 'n')));
  }
  const auto whole = world.files.Content("test.mdb");
  for (const std::size_t size :
       {whole.size() - 1, whole.size() - 4096, std::size_t{30000}, std::size_t{8192}, std::size_t{5000}, std::size_t{100}}) {
    world.files.SetContent("cut.mdb", {whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)});
    try {
      world.Open("cut.mdb");
      ADD_FAILURE() << size;
    } catch (const Error& error) {
      EXPECT_EQ(error.Code(), ErrorCode::kDamaged) << size << error.what();
      EXPECT_NE(std::string(error.what()).find("cut short"), std::string::npos) << size << error.what();
    }
  }
}

TEST(Database, CreatingOverAFileIsRefused) {
  World world;
  world.Create();
  EXPECT_EQ(CodeOf([&] { world.Create(); }), ErrorCode::kAlreadyExists);
}

TEST(Database, ReadOnlyOpensRefuseEveryChangeByName) {
  World world;
  world.Create()->CreateTable(PeopleTable()).Insert(Person("Ada"));
  const auto database = world.Open("test.mdb", OpenMode::kReadOnly);
  EXPECT_TRUE(database->ReadOnly());
  Table& table = database->OpenTable("People");
  EXPECT_EQ(Rows(table).size(), 1u);
  EXPECT_EQ(CodeOf([&] { table.Insert(Person("Bob")); }), ErrorCode::kReadOnly);
  EXPECT_EQ(TextOf([&] { table.Insert(Person("Bob")); }), "The database \"test.mdb\" can only be read");
  EXPECT_EQ(CodeOf([&] { database->CreateTable(PeopleTable("X")); }), ErrorCode::kReadOnly);
  EXPECT_EQ(CodeOf([&] { database->DropTable("People"); }), ErrorCode::kReadOnly);
  EXPECT_EQ(database->TransactionDepth(), 0);
}

TEST(Database, AReadOnlyFileOpensForReadingOnly) {
  namespace fs = std::filesystem;
  const tamlo::tests::TemporaryFolder folder;
  const std::string path = folder.File("ro.mdb");
  Database::Create(path);
  fs::permissions(path, fs::perms::owner_read);
  const tamlo::tests::OrdinaryUser user(folder.Path());
#ifdef _WIN32
  if (std::ofstream(path, std::ios::app)) {
    fs::permissions(path, fs::perms::owner_all);
    GTEST_SKIP() << "under Wine the superuser may write any file";
  }
#endif
  ASSERT_FALSE(std::ofstream(path, std::ios::app));
  EXPECT_TRUE(Database::Open(path)->ReadOnly());
  OpenOptions exclusive;
  exclusive.mode = OpenMode::kExclusive;
  EXPECT_EQ(CodeOf([&] { Database::Open(path, exclusive); }), ErrorCode::kReadOnly);
  fs::permissions(path, fs::perms::owner_all);
}

TEST(Database, AFileInAReadOnlyFolderOpensForReadingOnly) {
#ifdef _WIN32
  GTEST_SKIP() << "the read-only attribute of a folder forbids nothing on Windows";
#endif
  namespace fs = std::filesystem;
  const tamlo::tests::TemporaryFolder folder;
  fs::create_directory(folder.Path() / "fixe");
  const std::string path = folder.File("fixe/base.mdb");
  Database::Create(path)->CreateTable(PeopleTable()).Insert(Person("Ada"));
  const auto before = fs::file_size(path);
  fs::permissions(folder.Path() / "fixe", fs::perms::owner_read | fs::perms::owner_exec);
  {
    const tamlo::tests::OrdinaryUser user(folder.Path());
    ASSERT_FALSE(std::ofstream(folder.File("fixe/autre")));
    const auto database = Database::Open(path);
    EXPECT_TRUE(database->ReadOnly());
    EXPECT_EQ(Rows(database->OpenTable("People")).size(), 1u);
    EXPECT_EQ(CodeOf([&] { database->OpenTable("People").Insert(Person("Bob")); }), ErrorCode::kReadOnly);
    EXPECT_EQ(CodeOf([&] { Database::Create(folder.File("fixe/neuve.mdb")); }), ErrorCode::kReadOnly);
  }
  fs::permissions(folder.Path() / "fixe", fs::perms::owner_all);
  EXPECT_EQ(fs::file_size(path), before);
}

TEST(Database, ALeftJournalIsUndoneAtOpening) {
  World world;
  world.Create()->CreateTable(PeopleTable()).Insert(Person("Ada"));
  const auto before = world.files.Content("test.mdb");
  {
    const auto database = world.Open();
    int writes = 0;
    // The power goes after the first write into the database file: nothing that follows takes place.
    world.files.SetHook([&](const MemoryFileSystem::Event& event) {
      if (writes > 0) throw Error(ErrorCode::kIo, "no power");
      if (event.operation == MemoryFileSystem::Operation::kWrite && event.path == "test.mdb") ++writes;
    });
    EXPECT_EQ(CodeOf([&] { database->OpenTable("People").Insert(Person("Bob")); }), ErrorCode::kIo);
  }
  world.files.SetHook({});
  EXPECT_TRUE(world.files.Exists("test.mdb-journal"));
  EXPECT_NE(world.files.Content("test.mdb"), before);
  const auto database = world.Open();
  EXPECT_FALSE(world.files.Exists("test.mdb-journal"));
  EXPECT_EQ(world.files.Content("test.mdb"), before);
  EXPECT_EQ(Findings(*database), "");
}

/// People with one row, the texts of Name in another order.
void MakePeopleInOrder(World& world, std::uint16_t language) {
  world.Create()->CreateTable(PeopleTable()).Insert(Person("Ada"));
  auto bytes = world.files.Content("test.mdb");
  for (std::size_t page = 16; page < bytes.size() / 4096; ++page) {
    std::byte* start = bytes.data() + page * 4096;
    if (start[0] != std::byte{2}) continue;
    std::byte* column = start + 63 + 2 * 12 + 25;
    ASSERT_EQ(Load8(column), 10);
    Store16(column + 11, language);
  }
  world.files.SetContent("other.mdb", bytes);
}

constexpr std::uint16_t kCzech = 0x0405, kTurkish = 0x041F;

TEST(Database, AnIndexOfUnknownOrderIsReadableAndNotWritable) {
  World world;
  MakePeopleInOrder(world, kCzech);
  const auto database = world.Open("other.mdb");
  Table& table = database->OpenTable("People");
  EXPECT_EQ(Rows(table).size(), 1u);
  const RowId ada = [&] {
    ScanCursor cursor = table.Scan();
    EXPECT_TRUE(cursor.Next());
    return cursor.Id();
  }();
  const std::string refused = "The table \"People\" cannot be changed: the order of its index \"Name\" is not known";
  EXPECT_EQ(CodeOf([&] { table.Insert(Person("Bob")); }), ErrorCode::kUnsupported);
  EXPECT_EQ(TextOf([&] { table.Insert(Person("Bob")); }), refused);
  EXPECT_EQ(TextOf([&] { table.Delete(ada); }), refused);
  EXPECT_EQ(TextOf([&] { database->CreateIndex("People", Index("More", {"Name"})); }),
            "The order of a column of the table \"People\" is not known: it cannot be indexed");
  EXPECT_EQ(Rows(table).size(), 1u);
}

TEST(Database, WhatDoesNotTouchAnIndexOfUnknownOrderIsWritten) {
  World world;
  MakePeopleInOrder(world, kCzech);
  const auto database = world.Open("other.mdb");
  Table& table = database->OpenTable("People");
  ScanCursor cursor = table.Scan();
  ASSERT_TRUE(cursor.Next());
  const RowId ada = cursor.Id();
  const Value amount(7.5);
  const Assignment change[] = {{table.ColumnAt("Amount"), &amount, nullptr}};
  table.Update(ada, change);
  std::vector<Value> nameless = Person("x");
  nameless[1] = Value();
  table.Insert(nameless);  // null has the same key in every order
  database->AddColumn("People", Column("Added", ColumnType::kLong));
  database->CreateIndex("People", Index("Amounts", {"Amount"}));
  database->CreateTable(PeopleTable("Others")).Insert(Person("Bob"));
  EXPECT_EQ(table.RowCount(), 2u);
  EXPECT_EQ(table.Read(ada).value().at(table.ColumnAt("Amount")).AsDouble(), 7.5);
  EXPECT_EQ(Findings(*database), "");
}

TEST(Database, InAnOrderKnownInPartARowOfAnotherCharacterIsRefusedAndTheTableIsNot) {
  World world;
  MakePeopleInOrder(world, kTurkish);
  const auto database = world.Open("other.mdb");
  Table& table = database->OpenTable("People");
  // The key of the row that is there was made in another order; it is made anew.
  database->DropIndex("People", "Name");
  database->CreateIndex("People", Index("Name", {"Name"}));
  const RowId bob = table.Insert(Person("ISIK ılık"));
  EXPECT_EQ(TextOf([&] { table.Insert(Person("çay")); }),
            "The index \"Name\" of the table \"People\" cannot take the row: A text with the character U+00E7 has no known place in the "
            "order of the index");
  EXPECT_EQ(CodeOf([&] { table.Insert(Person("çay")); }), ErrorCode::kUnsupported);
  EXPECT_EQ(Findings(*database), "");
  table.Delete(bob);
  EXPECT_EQ(Rows(table).size(), 1u);
  EXPECT_EQ(Findings(*database), "");
}

TEST(Database, NewTextsAreOrderedAsTheFileSays) {
  World world;
  CreateEmptyFile(world.files, "french.mdb", {.sortLanguage = 0x040C});
  const auto database = world.Open("french.mdb");
  Table& table = database->CreateTable(PeopleTable());
  for (const char* name : {"côte", "coté", "côté", "cote"}) table.Insert(Person(name));
  database->AddColumn("People", Column("Added", ColumnType::kText, 20));
  for (const auto& column : table.Columns()) {
    if (column.type == ColumnType::kText || column.type == ColumnType::kMemo) {
      EXPECT_EQ(column.sortLanguage, 0x040C) << column.name;
    }
  }
  IndexCursor cursor(table, table.FindIndex("Name").value());
  std::string order;
  cursor.SetRange(std::nullopt, std::nullopt);
  while (cursor.Next()) order += table.Read(cursor.Id()).value().at(1).AsText() + " ";
  EXPECT_EQ(order, "cote côte coté côté ");
  EXPECT_EQ(Findings(*database), "");
  database->Compact("compact.mdb");
  const auto compacted = world.Open("compact.mdb");
  EXPECT_EQ(compacted->OpenTable("People").Columns().at(1).sortLanguage, 0x040C);
  EXPECT_EQ(compacted->CreateTable(PeopleTable("More")).Columns().at(1).sortLanguage, 0x040C);
  EXPECT_EQ(Findings(*compacted), "");
}

TEST(Database, CommitWithoutBeginIsAnErrorAndAScopeRollsBack) {
  World world;
  const auto database = world.Create();
  EXPECT_EQ(CodeOf([&] { database->Commit(); }), ErrorCode::kNoTransaction);
  Table& table = database->CreateTable(PeopleTable());
  {
    Transaction transaction(*database);
    table.Insert(Person("Ada"));
  }
  EXPECT_EQ(table.RowCount(), 0u);
  EXPECT_EQ(database->TransactionDepth(), 0);
}

}  // namespace
}  // namespace jet::tests

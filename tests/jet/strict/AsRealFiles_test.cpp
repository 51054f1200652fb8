// What real files have and readers do not insist on.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "jet/value/ByteOrder.h"
#include "jet/page/DataPage.h"
#include "jet/schema/Engine.h"
#include "jet/table/PropertyMap.h"
#include "jet/table/TableCore.h"
#include "jet/page/UsageMap.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

constexpr std::int32_t kDatabaseDocument = 0x10000000;

std::string Hex(const Bytes& bytes) {
  std::string text;
  for (const std::byte byte : bytes) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    text += kDigits[static_cast<unsigned>(byte) >> 4];
    text += kDigits[static_cast<unsigned>(byte) & 15];
  }
  return text;
}

/// Permissions of one object: account in hexadecimal, access; an account with a star hands its permission down.
std::map<std::string, std::int32_t> Permissions(Database& database, std::int32_t id) {
  std::map<std::string, std::int32_t> found;
  Table& table = database.OpenTable("MSysACEs");
  for (ScanCursor scan = table.Scan(); scan.Next();) {
    Row& row = scan.Current();
    if (row.Integer(table.ColumnAt("ObjectId")) != id) continue;
    const std::string account = Hex(row.Get(table.ColumnAt("SID")).AsBytes()) + (row.Bool(table.ColumnAt("FInheritable")) ? "*" : "");
    found[account] = static_cast<std::int32_t>(row.Integer(table.ColumnAt("ACM")));
  }
  return found;
}

std::int32_t IdOf(Database& database, const std::string& name) {
  for (const CatalogObject& object : database.Objects())
    if (object.name == name) return object.id;
  return 0;
}

/// The row of an object in MSysObjects as texts, by column.
std::map<std::string, std::string> CatalogRow(Database& database, const std::string& name) {
  Table& table = database.OpenTable("MSysObjects");
  for (ScanCursor scan = table.Scan(); scan.Next();) {
    if (scan.Current().Text(table.ColumnAt("Name")) != name) continue;
    std::map<std::string, std::string> row;
    for (std::size_t i = 0; i < table.Columns().size(); ++i) row[table.Columns()[i].name] = scan.Current().Get(i).Describe();
    return row;
  }
  return {};
}

TEST(Permissions, ANewObjectGetsWhatItsContainerHandsDown) {
  World world;
  const auto database = world.Create();
  TableSpec child = PeopleTable("Children");
  child.columns.push_back(Column("Parent", ColumnType::kLong));
  database->CreateTable(PeopleTable());
  database->CreateTable(child);
  Relationship relationship;
  relationship.name = "PeopleChildren";
  relationship.table = "Children";
  relationship.referencedTable = "People";
  relationship.columns = {{"Parent", "Id"}};
  database->CreateRelationship(relationship);
  // What goes to the creator is the owner's, here Admin (648B); Users (658B) have their own; accounts of the container alone get nothing.
  EXPECT_EQ(Permissions(*database, IdOf(*database, "People")), (std::map<std::string, std::int32_t>{{"648B", 0xF00FE}, {"658B", 0xFFEFF}}));
  EXPECT_EQ(Permissions(*database, IdOf(*database, "PeopleChildren")),
            (std::map<std::string, std::int32_t>{{"648B", 0xF00FE}, {"658B", 0xFFFFF}}));
}

/// A map as Access writes one: a name that nothing uses, a number longer than its type, FF for true.
Bytes RealPropertyMap() {
  Bytes bytes;
  const auto add = [&](std::initializer_list<int> raw) {
    for (const int byte : raw) bytes.push_back(static_cast<std::byte>(byte));
  };
  const auto text = [&](std::string_view plain) {
    for (const char c : plain) add({c, 0});
  };
  add({'M', 'R', '2', 0, 6 + 2 + 10 + 2 + 8 + 2 + 4, 0, 0, 0, 0x80, 0, 10, 0});
  text("Width");
  add({8, 0});
  text("Gone");
  add({4, 0});
  text("On");
  add({6 + 6 + 2 + 12 + 9, 0, 0, 0, 1, 0, 8, 0, 0, 0, 2, 0});
  text("A");
  add({12, 0, 0, 3, 0, 0, 4, 0, 0xFF, 0xFF, 0xFF, 0xFF});
  add({9, 0, 1, 1, 2, 0, 1, 0, 0xFF});
  return bytes;
}

TEST(PropertyMap, WhatIsNotChangedKeepsItsBytes) {
  const Bytes real = RealPropertyMap();
  PropertyMap map = PropertyMap::Decode(real, 0);
  EXPECT_EQ(map.Find("A", "Width")->value, Value(std::int16_t{-1}));
  EXPECT_TRUE(map.Truth("A", "On"));
  EXPECT_EQ(Hex(map.Encode()), Hex(real));
  map.Set("B", {"gone", ColumnType::kByte, Value(std::uint8_t{7}), false});
  map.Remove("B", "Gone");
  EXPECT_EQ(Hex(map.Encode()), Hex(real));
  map.Set("A", {"Width", ColumnType::kInteger, Value(std::int16_t{5}), false});
  EXPECT_EQ(PropertyMap::Decode(map.Encode(), 0).Find("A", "Width")->value, Value(std::int16_t{5}));
  EXPECT_EQ(map.Encode().size(), real.size() - 2);
}

TEST(Compact, KeepsWhatTheCatalogSaysOfEachObject) {
  World world;
  {
    const auto database = world.Create();
    database->CreateTable(PeopleTable());
    database->SetProperty("People", {}, {"Description", ColumnType::kMemo, Value("des gens"), false});
    Catalog& catalog = database->Internals().catalog;
    PropertyMap properties;
    properties.Set({}, {"AccessVersion", ColumnType::kText, Value("08.50"), false});
    catalog.WriteProperties(kDatabaseDocument, properties);
    // A container of Access' own with a permission, and a table that an hour ago somebody else made.
    Table& objects = catalog.ObjectsTable();
    std::vector<Value> row(objects.Columns().size());
    const auto set = [&](const char* column, Value value) { row[objects.ColumnAt(column)] = std::move(value); };
    set("Id", Value(std::int32_t{-2147483000}));
    set("ParentId", Value(std::int32_t{0x0F000000}));
    set("Name", Value("Forms"));
    set("Type", Value(std::int16_t{3}));
    set("DateCreate", Value(Date{40000.5}));
    set("DateUpdate", Value(Date{40000.75}));
    set("Owner", Value(Bytes{std::byte{0x64}, std::byte{0x8B}}));
    set("Flags", Value(std::int32_t{0}));
    set("LvExtra", Value(Bytes(9000, std::byte{5})));
    objects.Insert(std::span<const Value>(row));
    Table& permissions = catalog.PermissionsTable();
    std::vector<Value> entry(permissions.Columns().size());
    entry[permissions.ColumnAt("ObjectId")] = Value(std::int32_t{-2147483000});
    entry[permissions.ColumnAt("SID")] = Value(Bytes{std::byte{0x65}, std::byte{0x8B}});
    entry[permissions.ColumnAt("ACM")] = Value(std::int32_t{0xFFFFF});
    entry[permissions.ColumnAt("FInheritable")] = Value(true);
    permissions.Insert(std::span<const Value>(entry));
  }
  // The same file as made at another time by another build, whose accounts go by another key.
  auto bytes = world.files.Content("test.mdb");
  bytes[0x6A] ^= std::byte{0x11};
  world.files.SetContent("other.mdb", bytes);
  world.Open("other.mdb")->Compact("compact.mdb");
  const auto before = world.Open("other.mdb");
  const auto after = world.Open("compact.mdb");
  for (const char* name : {"MSysDb", "Forms", "Tables", "People"}) {
    auto there = CatalogRow(*before, name);
    auto here = CatalogRow(*after, name);
    there.erase("Id");
    here.erase("Id");
    EXPECT_EQ(there, here) << name;
    EXPECT_EQ(Permissions(*before, IdOf(*before, name)), Permissions(*after, IdOf(*after, name))) << name;
    EXPECT_FALSE(Permissions(*after, IdOf(*after, name)).empty()) << name;
  }
  EXPECT_EQ(world.files.Content("compact.mdb")[0x6A], bytes[0x6A]);
  EXPECT_EQ(Findings(*after), "");
}

std::vector<PageNumber> PagesOf(Database& database, PackedPointer map) {
  return UsageMap(*database.Internals().pager, map).Pages(database.Internals().pager->PageCount());
}

TEST(DataPages, KeepNothingOfWhatWasDeletedOrMadeShorter) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  std::vector<RowId> rows;
  for (int i = 0; i < 12; ++i) rows.push_back(table.Insert(Person("secret secret secret", "short note")));
  for (std::size_t i = 0; i + 1 < rows.size(); i += 2) {
    table.Delete(rows[i]);
    const Value value("x");
    const Assignment assignment{1, &value, nullptr};
    table.Update(rows[i + 1], std::span(&assignment, 1));
  }
  for (const PageNumber number : PagesOf(*database, table.Core().Definition().ownedMap)) {
    const PageRef page = database->Internals().pager->Read(number);
    const DataPage data(page);
    const auto space = page.Bytes().subspan(14 + 2 * data.SlotCount(), data.FreeBytes());
    EXPECT_TRUE(std::all_of(space.begin(), space.end(), [](std::byte byte) { return byte == std::byte{0}; })) << number;
  }
}

TEST(DataPages, AreNotListedForNewRowsWhenTheyAreFull) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  for (int i = 0; i < 300; ++i) {
    table.Insert(Person(std::string(static_cast<std::size_t>(i % 40), 'n'), "n"));
    for (const PageNumber number : PagesOf(*database, table.Core().Definition().freeMap)) {
      const PageRef page = database->Internals().pager->Read(number);
      ASSERT_GE(DataPage(page).FreeBytes(), 70u) << number << " after row " << i;  // the least that is seen in real files
    }
  }
}

/// Column counts that the rows of a table begin with.
std::vector<unsigned> ColumnCounts(Database& database, TableCore& table) {
  std::vector<unsigned> counts;
  for (const PageNumber number : PagesOf(database, table.Definition().ownedMap)) {
    const PageRef page = database.Internals().pager->Read(number);
    const DataPage data(page);
    for (unsigned slot = 0; slot < data.SlotCount(); ++slot)
      if ((data.Slot(slot) & DataPage::kPointerFlag) == 0) counts.push_back(Load16(data.RowBytes(slot).data()));
  }
  return counts;
}

// Other readers take the place of the dropped column for that of the new one in rows that have no place for it.
TEST(AddColumn, OfFixedLengthAfterOneWasDroppedGivesOldRowsAPlaceForIt) {
  World world;
  const auto database = world.Create();
  TableSpec spec = PeopleTable();
  spec.columns.push_back(Column("Wide", ColumnType::kGuid));
  Table& table = database->CreateTable(spec);
  for (int i = 0; i < 200; ++i) {
    auto row = Person("n" + std::to_string(i), std::string(static_cast<std::size_t>(i * 3), 'x'), i % 2 == 0, i);
    row.emplace_back();
    table.Insert(std::span<const Value>(row));
  }
  database->AddColumn("People", Column("No matter", ColumnType::kLong));
  for (const unsigned count : ColumnCounts(*database, table.Core())) EXPECT_EQ(count, 6u);
  database->DropColumn("People", "Amount");
  database->AddColumn("People", Column("Words", ColumnType::kText, 20));
  for (const unsigned count : ColumnCounts(*database, table.Core())) EXPECT_EQ(count, 7u);
  database->AddColumn("People", Column("New", ColumnType::kNumeric));
  for (const unsigned count : ColumnCounts(*database, table.Core())) EXPECT_EQ(count, 9u);
  ScanCursor scan = table.Scan();
  for (int i = 0; i < 200; ++i) {
    ASSERT_TRUE(scan.Next());
    EXPECT_EQ(scan.Current().Text(1), "n" + std::to_string(i));
    EXPECT_EQ(scan.Current().Text(2), std::string(static_cast<std::size_t>(i * 3), 'x'));
    EXPECT_TRUE(scan.Current().IsNull(7));
  }
  EXPECT_EQ(Findings(*database), "");
}

TEST(DropColumn, OfFixedLengthGivesOldRowsAPlaceForTheLaterOnes) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  for (int i = 0; i < 100; ++i) table.Insert(Person("n" + std::to_string(i)));
  database->AddColumn("People", Column("Words", ColumnType::kText, 20));
  database->AddColumn("People", Column("New", ColumnType::kGuid));
  for (const unsigned count : ColumnCounts(*database, table.Core())) EXPECT_EQ(count, 5u);
  database->DropColumn("People", "Words");
  for (const unsigned count : ColumnCounts(*database, table.Core())) EXPECT_EQ(count, 5u);
  database->DropColumn("People", "Amount");
  for (const unsigned count : ColumnCounts(*database, table.Core())) EXPECT_EQ(count, 7u);
  ScanCursor scan = table.Scan();
  for (int i = 0; i < 100; ++i) {
    ASSERT_TRUE(scan.Next());
    EXPECT_EQ(scan.Current().Text(1), "n" + std::to_string(i));
    EXPECT_TRUE(scan.Current().IsNull(4));
  }
  EXPECT_EQ(Findings(*database), "");
}

TEST(ShortRows, OfOneYesNoColumnMayGrowOnAFullPage) {
  World world;
  const auto database = world.Create();
  TableSpec spec;
  spec.name = "Answers";
  spec.columns = {Column("Yes", ColumnType::kBoolean)};
  Table& table = database->CreateTable(spec);
  std::vector<RowId> rows;
  for (int i = 0; i < 300; ++i) {
    const std::vector<Value> row{Value(i % 2 == 0)};
    rows.push_back(table.Insert(std::span<const Value>(row)));
  }
  database->AddColumn("Answers", Column("Key", ColumnType::kGuid));
  Guid guid;
  for (const RowId row : rows) {
    ++guid.bytes[15];
    const Value value(guid);
    const Assignment assignment{1, &value, nullptr};
    table.Update(row, std::span(&assignment, 1));
  }
  EXPECT_EQ(table.Read(rows[299]).value()[1], Value(guid));
  EXPECT_EQ(Findings(*database), "");
}

}  // namespace
}  // namespace jet::tests

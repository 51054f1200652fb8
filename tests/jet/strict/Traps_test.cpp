// Where a file may be other than a first look at the format tells.

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "jet/value/ByteOrder.h"
#include "jet/page/DataPage.h"
#include "jet/schema/Engine.h"
#include "jet/table/LongValue.h"
#include "jet/schema/Schema.h"
#include "jet/table/TableCore.h"
#include "jet/page/UsageMap.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

/// Changes a definition as only another program would.
void Redefine(Database& database, const std::string& table, const std::function<void(TableDefinition&)>& change) {
  Transaction transaction(database);
  Pager& pager = *database.Internals().pager;
  TableDefinition definition = TableDefinition::Read(pager, database.OpenTable(table).DefinitionPage(), database.Internals().CodePage());
  change(definition);
  definition.Write(pager);
  pager.ChangeGeneration();
  transaction.Commit();
}

/// Only English texts of Windows-1252 have a known order in Access 97: in a copy all go by that one, and have their index.
TEST(Traps, CopiesOfAccess97FilesInOtherLanguagesAreInGeneral) {
  World world;
  const auto database = world.Create("test.mdb", 3);
  Table& table = database->CreateTable(PeopleTable());
  for (const char* name : {"Zoé", "étude", "Eté"}) table.Insert(Person(name));
  Redefine(*database, "People", [](TableDefinition& definition) {
    for (auto& column : definition.columns) column.SetOrder(0x040C, 0);
  });
  database->Compact("copy.mdb");
  const auto copy = world.Open("copy.mdb");
  EXPECT_EQ(copy->FormatVersion(), 3);
  EXPECT_EQ(Findings(*copy), "");
  EXPECT_EQ(Rows(copy->OpenTable("People")), Rows(database->OpenTable("People")));
  for (const auto& index : copy->OpenTable("People").Indexes()) EXPECT_TRUE(index.writable) << index.name;
}

TEST(Traps, ColumnsOfAnyTypeMayStandInTheVariablePart) {
  World world;
  const auto database = world.Create();
  TableSpec spec = PeopleTable();
  for (const auto& [name, type] : {std::pair("Number", ColumnType::kLong), std::pair("Day", ColumnType::kDate),
                                   std::pair("Key", ColumnType::kGuid), std::pair("Exact", ColumnType::kNumeric)}) {
    ColumnDef column = Column(name, type);
    column.asStored = true;
    column.flags = TableDefinition::Column::kNullable;
    spec.columns.push_back(column);
    spec.indexes.push_back(Index(std::string("by ") + name, {name}));
  }
  Table& table = database->CreateTable(spec);
  for (std::size_t i = 5; i < table.Columns().size(); ++i) EXPECT_FALSE(table.Columns()[i].fixedLength) << table.Columns()[i].name;
  for (int i = 0; i < 50; ++i) {
    auto row = Person("n" + std::to_string(i));
    row.push_back(i % 5 == 0 ? Value() : Value(std::int32_t{-i}));
    row.push_back(i % 7 == 0 ? Value() : Value(Date{i * 1.5}));
    row.emplace_back(Guid{{static_cast<std::uint8_t>(i)}});
    row.emplace_back(Numeric{0, static_cast<std::uint64_t>(i), 0, false});
    table.Insert(std::span<const Value>(row));
  }
  const std::vector<Value> key{Value(std::int32_t{-8})};
  const auto found = table.Seek(table.FindIndex("by Number").value(), key);
  ASSERT_TRUE(found.has_value());
  EXPECT_EQ(table.Read(*found).value()[1], Value("n8"));
  const Value nothing;
  const Assignment assignment{5, &nothing, nullptr};
  table.Update(*found, std::span(&assignment, 1));
  EXPECT_TRUE(table.Read(*found).value()[5].IsNull());
  EXPECT_EQ(table.Read(*found).value()[6], Value(Date{12}));
  EXPECT_EQ(Findings(*database), "");
}

TEST(Traps, MapRowsMayBeLongerThanTheUsualOnes) {
  World world;
  const auto database = world.Create();
  Transaction transaction(*database);
  Pager& pager = *database->Internals().pager;
  const PageRef page = pager.Allocate();
  const unsigned slot = DataPageEditor::Format(page, 0).AddZeros(105);
  UsageMap map(pager, Pack({page.Number(), static_cast<std::uint8_t>(slot)}));
  map.Add(3);
  map.Add(799);
  EXPECT_EQ(map.Pages(10000), (std::vector<PageNumber>{3, 799}));
  EXPECT_EQ(Load8(DataPage(page).RowBytes(slot).data()), 0) << "800 pages stand in the row itself";
  map.Add(900);
  EXPECT_EQ(map.Pages(10000), (std::vector<PageNumber>{3, 799, 900}));
}

TEST(Traps, MemosMayBeCompressedAgainstTheirColumnsFlag) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  const RowId row = table.Insert(Person("Dupont", "été à Paris"));
  Redefine(*database, "People", [](TableDefinition& definition) {
    for (auto& column : definition.columns) column.extraFlags = 0;
  });
  EXPECT_FALSE(table.Columns()[2].compressed);
  EXPECT_EQ(table.Read(row).value()[2], Value("été à Paris"));
  EXPECT_EQ(table.Read(row).value()[1], Value("Dupont"));
  const std::vector<Value> key{Value("DUPONT")};
  EXPECT_TRUE(table.Seek(table.FindIndex("Name").value(), key).has_value());
}

TEST(Traps, ALongColumnMayHaveNoMapOfPagesWithRoom) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  PackedPointer map = 0;
  Redefine(*database, "People", [&](TableDefinition& definition) { map = std::exchange(definition.longMaps[0].freeMap, 0); });
  {
    Transaction transaction(*database);
    FreeMapRow(*database->Internals().pager, map);
    transaction.Commit();
  }
  std::vector<RowId> rows;
  for (int i = 0; i < 20; ++i) rows.push_back(table.Insert(Person("n", std::string(static_cast<std::size_t>(i * 500), 'm'))));
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(table.Read(rows[static_cast<std::size_t>(i)]).value()[2], Value(std::string(static_cast<std::size_t>(i * 500), 'm')));
    const Value longer(std::string(static_cast<std::size_t>(6000 - i * 300), 'k'));
    const Assignment assignment{2, &longer, nullptr};
    if (i % 3 == 0) table.Update(rows[static_cast<std::size_t>(i)], std::span(&assignment, 1));
    if (i % 3 == 1) table.Delete(rows[static_cast<std::size_t>(i)]);
  }
  EXPECT_EQ(table.Read(rows[3]).value()[2], Value(std::string(5100, 'k')));
  EXPECT_EQ(Findings(*database), "");
  database->DropTable("People");
  EXPECT_EQ(Findings(*database), "");
}

TEST(Traps, CountsOfKeysAndOfSystemRowsAreNotBelieved) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  for (int i = 0; i < 30; ++i) table.Insert(Person("n" + std::to_string(i)));
  Redefine(*database, "People", [](TableDefinition& definition) {
    for (auto& tree : definition.trees) tree.counts = {3, 1, 0};
  });
  Redefine(*database, "MSysObjects", [](TableDefinition& definition) { definition.rowCount = 3; });
  EXPECT_EQ(Findings(*database), "");
  table.Insert(Person("another"));
  const std::vector<Value> key{Value("n17")};
  EXPECT_TRUE(table.Seek(table.FindIndex("Name").value(), key).has_value());
  database->CreateTable(PeopleTable("Others"));
  database->DropTable("People");
  database->DropTable("Others");
  EXPECT_EQ(Findings(*database), "");
  EXPECT_EQ(database->Objects().size(), 8u);
}

TEST(Traps, IndexesStandInTheOrderOfTheirNames) {
  World world;
  const auto database = world.Create();
  TableSpec spec = PeopleTable();
  spec.indexes.push_back(Index("zed", {"Amount"}));
  spec.indexes.push_back(Index("Alpha", {"Flag"}));
  Table& table = database->CreateTable(spec);
  database->CreateIndex("People", Index("beta", {"Amount", "Flag"}));
  database->DropIndex("People", "Name");
  database->CreateIndex("People", Index("NAME", {"Name"}));
  std::vector<std::string> names;
  for (const auto& index : table.Core().Definition().indexes) {
    names.push_back(index.name);
    EXPECT_EQ(index.cascadeUpdates, 4) << "as real files have it in every index that is no foreign key";
    EXPECT_EQ(index.cascadeDeletes, 4);
  }
  EXPECT_EQ(names, (std::vector<std::string>{"Alpha", "beta", "NAME", "PrimaryKey", "zed"}));
}

// In files of Access 97 the flag of counting GUIDs stands on ordinary columns of several types.
TEST(Traps, AFlagOfAccess97WhoseMeaningIsNotKnownIsKept) {
  World world;
  const auto database = world.Create("test.mdb", 3);
  TableSpec spec = PeopleTable();
  spec.columns.push_back(Column("Key", ColumnType::kGuid));
  database->CreateTable(spec);
  Redefine(*database, "People", [](TableDefinition& definition) {
    for (auto& column : definition.columns) column.flags |= 0x40;
  });
  const auto flagged = [](Database& file) {
    std::string names;
    Table& table = file.OpenTable("People");
    auto row = Person("n");
    row.emplace_back();
    EXPECT_TRUE(table.Read(table.Insert(std::span<const Value>(row))).value()[5].IsNull());
    for (const auto& column : table.Columns()) EXPECT_EQ(column.autoNumber, column.name == "Id") << column.name;
    for (const auto& column : table.Core().Definition().columns) names += (column.flags & 0x40) != 0 ? column.name + " " : "";
    return names;
  };
  const std::string all = flagged(*database);
  database->AddColumn("People", Column("New", ColumnType::kLong));
  EXPECT_EQ(all.find("New"), std::string::npos);
  database->DropColumn("People", "New");
  database->Compact("compact.mdb");
  EXPECT_EQ(flagged(*world.Open("compact.mdb")), all);
  EXPECT_EQ(all, "Id Name Note Flag Amount Key ");
}

TEST(Traps, ThePasswordIsMaskedByTheDayOfCreation) {
  World world;
  world.Create();
  auto bytes = world.files.Content("test.mdb");
  const auto other = [&](std::size_t offset, std::uint8_t difference) { bytes[offset] ^= static_cast<std::byte>(difference); };
  // Another time of the same day changes nothing.
  other(0x72, 0x40);
  world.files.SetContent("test.mdb", bytes);
  EXPECT_EQ(CodeOf([&] { world.Open(); }), std::nullopt);
  // Another day makes a password of what said that there is none.
  other(0x77, 0x20);
  world.files.SetContent("test.mdb", bytes);
  EXPECT_EQ(CodeOf([&] { world.Open(); }), ErrorCode::kPasswordProtected);
}

}  // namespace
}  // namespace jet::tests

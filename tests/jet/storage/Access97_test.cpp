// Files of Access 97: what is different in them. What they have in common with later ones is tested with both.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "jet/VersionLoss.h"
#include "jet/page/DataPage.h"
#include "jet/page/Pager.h"
#include "jet/schema/Engine.h"
#include "jet/table/RowAccess.h"
#include "jet/table/TableCore.h"
#include "jet/value/ByteOrder.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

class Access97 : public testing::Test {
 protected:
  Access97() : database_(world_.Create("test.mdb", 3)) {}

  Table& Texts(std::vector<ColumnDef> columns) {
    TableSpec spec;
    spec.name = "Texts";
    spec.columns = std::move(columns);
    for (auto& column : spec.columns) column.allowZeroLength = true;
    return database_->CreateTable(spec);
  }

  World world_;
  std::unique_ptr<Database> database_;
};

TEST_F(Access97, ANewFileIsSoundAndSaysWhatItIs) {
  EXPECT_EQ(database_->FormatVersion(), 3);
  EXPECT_EQ(Findings(*database_), "");
  database_.reset();
  const auto& bytes = world_.files.Content("test.mdb");
  EXPECT_EQ(bytes.size() % 2048, 0U);
  EXPECT_EQ(Load32(bytes.data() + 0x14), 0U);
  EXPECT_EQ(world_.Open()->FormatVersion(), 3);
}

/// The lengths of the definitions of real files.
TEST_F(Access97, TheSystemTablesAreThoseOfRealFiles) {
  Pager& pager = *database_->Internals().pager;
  const std::size_t lengths[] = {708, 223, 319, 526};
  for (PageNumber page = 2; page <= 5; ++page) {
    const PageRef ref = pager.Read(page);
    EXPECT_EQ(Load32(ref.Bytes().data() + 8), lengths[page - 2]) << page;
    EXPECT_EQ(Load16(ref.Bytes().data() + 2), 0x4356) << "VC";
  }
}

/// In real files one word stands before the language of the header and of every column: 1, or 0 in all places.
TEST_F(Access97, TheMarkOfTheOrderIsOneForTheWholeFile) {
  Texts({Column("A", ColumnType::kText, 20), Column("B", ColumnType::kLong)});
  const auto marks = [&](Database& database) {
    const TableDefinition system = TableDefinition::Read(*database.Internals().pager, 2, 1252);
    std::vector<int> found{database.Internals().header.orderMark};
    for (const auto& column : system.columns) found.push_back(column.unknown[0] | column.unknown[1] << 8);
    for (const auto& column : database.OpenTable("Texts").Core().Definition().columns)
      found.push_back(column.unknown[0] | column.unknown[1] << 8);
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
  };
  EXPECT_EQ(marks(*database_), std::vector<int>{1});
  database_->AddColumn("Texts", Column("C", ColumnType::kMemo));
  EXPECT_EQ(marks(*database_), std::vector<int>{1});
  database_->Compact("compact.mdb");
  EXPECT_EQ(marks(*world_.Open("compact.mdb")), std::vector<int>{1});
}

/// Offsets of one byte and the jumps where the 256s are passed: every length around them.
TEST_F(Access97, RowsOfEveryLengthReadBack) {
  Table& table = Texts({Column("A", ColumnType::kText, 255), Column("B", ColumnType::kText, 255), Column("C", ColumnType::kText, 255)});
  std::vector<std::string> expected;
  for (std::size_t a = 0; a <= 255; a += a < 225 ? 45 : 1) {
    for (const std::size_t b : {std::size_t{0}, std::size_t{1}, std::size_t{250}, std::size_t{255}}) {
      const std::size_t c = (a * 7 + b) % 256;
      const Value row[] = {Value(std::string(a, 'a')), Value(std::string(b, 'b')), Value(std::string(c, 'c'))};
      table.Insert(std::span<const Value>(row));
      expected.push_back(Describe({row[0], row[1], row[2]}));
    }
  }
  EXPECT_EQ(Rows(table).size(), expected.size());
  std::vector<std::string> read;
  for (ScanCursor scan = table.Scan(); scan.Next();)
    read.push_back(Describe({scan.Current().Get(0), scan.Current().Get(1), scan.Current().Get(2)}));
  std::sort(read.begin(), read.end());  // shorter rows may stand on earlier pages
  std::sort(expected.begin(), expected.end());
  EXPECT_TRUE(read == expected);
  EXPECT_EQ(Findings(*database_), "");
}

/// As a file of Access has it: "Access 97" writes 255 where the data ends, and FF for the jump that nothing reaches.
TEST_F(Access97, AJumpThatNothingReachesIsADummy) {
  Table& table = Texts({Column("A", ColumnType::kText, 255), Column("B", ColumnType::kText, 255)});
  const Value row[] = {Value(std::string(200, 'a')), Value(std::string(54, 'b'))};  // ends at 255, in a row of 261 bytes
  const RowId id = table.Insert(std::span<const Value>(row));
  const PageRef page = database_->Internals().pager->Read(id.page);
  const auto bytes = DataPage(page).RowBytes(id.slot);
  ASSERT_EQ(bytes.size(), 261U);
  const std::uint8_t trailer[] = {255, 201, 1, 0xFF, 2, 3};
  for (std::size_t i = 0; i < sizeof trailer; ++i) EXPECT_EQ(Load8(bytes.data() + 255 + i), trailer[i]) << i;
}

TEST_F(Access97, TextsAreBytesOfTheCodePage) {
  Table& table = Texts({Column("A", ColumnType::kText, 10), Column("M", ColumnType::kMemo)});
  const Value row[] = {Value("Ÿœé€ß"), Value("Dvořák")};
  EXPECT_EQ(TextOf([&] { table.Insert(std::span<const Value>(row)); }),
            "The value for the column \"M\" has a character that code page 1252 of the file does not have");
  const Value good[] = {Value("Ÿœé€ß"), Value(std::string(5000, 'm') + "é")};
  table.Insert(std::span<const Value>(good));
  ScanCursor scan = table.Scan();
  ASSERT_TRUE(scan.Next());
  EXPECT_EQ(scan.Current().Text(0), "Ÿœé€ß");
  EXPECT_EQ(scan.Current().StoredLength(0), 5U);
  EXPECT_EQ(scan.Current().Text(1), std::string(5000, 'm') + "é");
  EXPECT_FALSE(scan.Next());
  EXPECT_EQ(Findings(*database_), "");
}

TEST_F(Access97, WhatItCannotHoldIsRefusedByName) {
  const auto refusal = [&](ColumnDef column) { return TextOf([&] { Texts({std::move(column)}); }); };
  EXPECT_EQ(refusal(Column("D", ColumnType::kNumeric)), "The column \"D\" is a decimal number, which a database of Access 97 cannot hold");
  EXPECT_EQ(refusal(Column("B", ColumnType::kBinary, 256)), "The binary column \"B\" can hold at most 255 bytes");
  EXPECT_EQ(refusal(Column("Číslo", ColumnType::kLong)),
            "The name \"Číslo\" has a character that code page 1252 of the file does not have");
  ColumnDef guid = Column("G", ColumnType::kGuid);
  guid.autoNumber = true;
  EXPECT_EQ(refusal(guid), "The column \"G\" is of a type that cannot count");
  EXPECT_EQ(Findings(*database_), "");
  EXPECT_EQ(database_->FindObject("Texts"), nullptr);
}

TEST_F(Access97, CompactingKeepsTheVersionUnlessAnotherIsAsked) {
  database_->CreateTable(PeopleTable());
  database_->OpenTable("People").Insert(Person("Zoé"));
  database_->Compact("same.mdb");
  database_->Compact("newer.mdb", {}, 4);
  const auto same = world_.Open("same.mdb");
  const auto newer = world_.Open("newer.mdb");
  EXPECT_EQ(same->FormatVersion(), 3);
  EXPECT_EQ(newer->FormatVersion(), 4);
  newer->Compact("back.mdb", {}, 3);
  const auto back = world_.Open("back.mdb");
  EXPECT_EQ(back->FormatVersion(), 3);
  for (Database* made : {same.get(), newer.get(), back.get()}) {
    EXPECT_EQ(Findings(*made), "");
    EXPECT_EQ(Rows(made->OpenTable("People")), Rows(database_->OpenTable("People")));
  }
}

TEST_F(Access97, ATextThatTheOlderVersionCannotHoldStopsTheConversion) {
  const auto newer = world_.Create("newer.mdb", 4);
  newer->CreateTable(PeopleTable());
  newer->OpenTable("People").Insert(Person("Dvořák"));
  EXPECT_EQ(TextOf([&] { newer->Compact("older.mdb", {}, 3); }),
            "The table \"People\": The value for the column \"Name\" has a character that code page 1252 of the file does not have");
  EXPECT_FALSE(world_.files.Exists("older.mdb"));
  EXPECT_EQ(CodeOf([&] { newer->Compact("newer.accdb"); }), ErrorCode::kUnsupported);
  EXPECT_FALSE(world_.files.Exists("newer.accdb"));
}

TEST_F(Access97, ACopyOfAFileInAnotherCodePageIsIn1252OrOfAccess2000) {
  const auto czech = [&](const std::string& name, const char* person) {
    {
      const auto database = world_.Create(name, 3);
      Value value{person};
      TableSpec spec;
      spec.name = "People";
      spec.columns = {Column("Name", ColumnType::kText, 30)};
      database->CreateTable(spec).Insert(std::span<const Value>(&value, 1));
    }
    auto bytes = world_.files.Content(name);
    bytes[0x3C] ^= std::byte{1252 ^ 1250};  // of the code page, under a mask
    world_.files.SetContent(name, bytes);
    return world_.Open(name);
  };
  const auto common = czech("common.mdb", "Žižka");
  EXPECT_EQ(common->VersionOfCopy(), 4);
  EXPECT_TRUE(LossesIn(*common, 3).empty());
  common->Compact("kept.mdb", {}, 3);
  const auto kept = world_.Open("kept.mdb");
  EXPECT_EQ(kept->FormatVersion(), 3);
  kept->CreateIndex("People", Index("Name", {"Name"}));
  EXPECT_EQ(Rows(kept->OpenTable("People")), std::vector<std::string>{"\"Žižka\""});
  EXPECT_EQ(Findings(*kept), "");

  const auto other = czech("other.mdb", "Dvoøák");
  EXPECT_EQ(Rows(other->OpenTable("People")), std::vector<std::string>{"\"Dvořák\""});
  EXPECT_EQ(LossesIn(*other, 3).size(), 1U);
  EXPECT_TRUE(LossesIn(*other, 4).empty());
  EXPECT_EQ(CodeOf([&] { other->Compact("refused.mdb", {}, 3); }), ErrorCode::kUnsupported);
  EXPECT_FALSE(world_.files.Exists("refused.mdb"));
  other->Compact("newer.mdb");
  const auto newer = world_.Open("newer.mdb");
  EXPECT_EQ(newer->FormatVersion(), 4);
  EXPECT_EQ(Rows(newer->OpenTable("People")), std::vector<std::string>{"\"Dvořák\""});
  EXPECT_EQ(Findings(*newer), "");
}

TEST_F(Access97, RelationshipsQueriesAndLinksAreWritten) {
  database_->CreateTable(PeopleTable("Parents"));
  TableSpec child = PeopleTable("Children");
  child.columns.push_back(Column("Parent", ColumnType::kLong));
  database_->CreateTable(child);
  Relationship relationship;
  relationship.name = "ParentsChildren";
  relationship.table = "Children";
  relationship.referencedTable = "Parents";
  relationship.columns = {{"Parent", "Id"}};
  relationship.cascadeDeletes = true;
  database_->CreateRelationship(relationship);
  database_->CreateQuery({.name = "Tous", .rows = {{.attribute = 5, .name1 = "Parents"}}});
  database_->CreateLink({.name = "Lié", .database = "C:\\autre.mdb", .foreignName = "T"});
  EXPECT_EQ(Findings(*database_), "");
  database_.reset();
  const auto again = world_.Open();
  ASSERT_EQ(again->Relationships().size(), 1U);
  EXPECT_TRUE(again->Relationships()[0].cascadeDeletes);
  EXPECT_NE(again->FindObject("Tous"), nullptr);
  EXPECT_EQ(again->FindObject("Lié")->database, "C:\\autre.mdb");
  EXPECT_EQ(Findings(*again), "");
}

}  // namespace
}  // namespace jet::tests

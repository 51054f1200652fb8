// Files as other programs leave them, and maps that say what is not so: nothing in use is ever written over.
#include <gtest/gtest.h>

#include "jet/value/ByteOrder.h"
#include "jet/page/DataPage.h"
#include "jet/schema/Engine.h"
#include "jet/table/TableCore.h"
#include "jet/page/UsageMap.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

constexpr std::size_t kPage = 4096;
using Content = std::vector<std::byte>;

/// The row of the map of free pages in a file's bytes: type, first page, bitmap.
std::span<std::byte> FreeMapRow(Content& file) {
  const std::size_t begin = kPage + (Load16(file.data() + kPage + 14) & 0x1FFF);
  return std::span(file).subspan(begin, 2 * kPage - begin);
}

void SetFree(Content& file, PageNumber page, bool free) {
  auto bits = FreeMapRow(file).subspan(5);
  const auto mask = static_cast<std::byte>(1u << page % 8);
  bits[page / 8] = free ? bits[page / 8] | mask : bits[page / 8] & ~mask;
}

/// Lets the inline map begin at another page, as programs do whose files have outgrown it.
void MoveWindow(Content& file, PageNumber start) {
  const auto row = FreeMapRow(file);
  const Content old(row.begin() + 5, row.end());
  Store32(row.data() + 1, start);
  for (std::size_t i = 0; i < old.size(); ++i) row[5 + i] = i + start / 8 < old.size() ? old[i + start / 8] : std::byte{0xFF};
}

PageNumber DataPageOf(const Content& file, PageNumber definition, int which = 0) {
  for (PageNumber page = 2; page < file.size() / kPage; ++page) {
    const std::byte* bytes = file.data() + page * kPage;
    if (Load8(bytes) == 1 && Load32(bytes + 4) == definition && which-- == 0) return page;
  }
  ADD_FAILURE() << "no page of rows";
  return 0;
}

class ForeignFile : public testing::Test {
 protected:
  void SetUp() override {
    const auto database = world_.Create();
    Table& table = database->CreateTable(PeopleTable());
    definition_ = table.DefinitionPage();
    Transaction transaction(*database);
    for (int i = 0; i < 280; ++i) table.Insert(Person("person " + std::to_string(i), std::string(1800, 'n')));
    transaction.Commit();
    rows_ = Rows(table);
    content_ = world_.files.Content("test.mdb");
  }
  std::unique_ptr<Database> OpenChanged() {
    world_.files.SetContent("test.mdb", content_);
    return world_.Open();
  }
  void ExpectAsBefore() {
    const auto database = world_.Open();
    EXPECT_EQ(Rows(database->OpenTable("People")), rows_);
  }

  World world_;
  Content content_;
  PageNumber definition_ = 0;
  std::vector<std::string> rows_;
};

TEST_F(ForeignFile, PagesBeforeTheWindowOfTheFreePageMapAreInUse) {
  MoveWindow(content_, 200);
  const auto database = OpenChanged();
  Pager& pager = *database->Internals().pager;
  UsageMap map(pager, pager.FreePageMap(), UsageMap::Kind::kFreePages);
  ASSERT_GT(pager.PageCount(), 250u);
  EXPECT_FALSE(map.Contains(0));
  EXPECT_FALSE(map.Contains(199));
  EXPECT_FALSE(map.Covers(199));
  EXPECT_TRUE(map.Contains(pager.PageCount()));
  EXPECT_TRUE(map.Contains(100000));
  EXPECT_EQ(map.NextFrom(0, 100000), pager.PageCount());
  EXPECT_EQ(map.NextMissingFrom(0, 100000), 0u);
  EXPECT_EQ(map.NextMissingFrom(pager.PageCount(), 1000000), std::nullopt);
}

TEST_F(ForeignFile, AMovedWindowDoesNotHandOutTheHeader) {
  MoveWindow(content_, 200);
  {
    const auto database = OpenChanged();
    Table& table = database->OpenTable("People");
    for (int i = 0; i < 60; ++i) table.Insert(Person("new", std::string(3000, 'x')));
    EXPECT_EQ(Findings(*database), "");
  }
  EXPECT_TRUE(std::equal(content_.begin(), content_.begin() + kPage, world_.files.Content("test.mdb").begin()));
  const auto database = world_.Open();
  EXPECT_EQ(database->OpenTable("People").RowCount(), 340u);
  EXPECT_EQ(Findings(*database), "");
}

TEST_F(ForeignFile, PagesBeforeTheWindowCanBeGivenBackAndNothingElseBecomesFree) {
  MoveWindow(content_, 200);
  const auto database = OpenChanged();
  const PageNumber before = database->Internals().pager->PageCount();
  database->DropTable("People");
  EXPECT_EQ(Findings(*database), "");
  Table& table = database->CreateTable(PeopleTable("Again"));
  for (int i = 0; i < 200; ++i) table.Insert(Person("again", std::string(1800, 'x')));
  EXPECT_EQ(Findings(*database), "");
  EXPECT_LE(database->Internals().pager->PageCount(), before + 2);  // what the map itself takes
}

TEST_F(ForeignFile, AMapWithoutABitForAnyPageOfTheFileHandsOutNone) {
  const auto row = FreeMapRow(content_);
  std::fill(row.begin() + 5, row.end(), std::byte{0});
  Store32(row.data() + 1, 0xFFFFF0);  // far behind the end: no page of the file has a bit
  const auto database = OpenChanged();
  Table& table = database->OpenTable("People");
  for (int i = 0; i < 40; ++i) table.Insert(Person("new", std::string(3000, 'x')));
  EXPECT_EQ(Findings(*database), "");
}

TEST_F(ForeignFile, HeaderAndMapPageAreNeverHandedOutWhateverTheMapSays) {
  SetFree(content_, 0, true);
  SetFree(content_, 1, true);
  const auto database = OpenChanged();
  Table& table = database->OpenTable("People");
  for (int i = 0; i < 20; ++i) table.Insert(Person("new", std::string(3000, 'x')));
  EXPECT_EQ(Rows(table).size(), 300u);
  EXPECT_TRUE(std::equal(content_.begin(), content_.begin() + kPage, world_.files.Content("test.mdb").begin()));
}

TEST_F(ForeignFile, APageThatATableOwnsIsAnErrorAndNotAVictim) {
  const PageNumber page = DataPageOf(content_, definition_);
  SetFree(content_, page, true);
  {
    const auto database = OpenChanged();
    Table& table = database->OpenTable("People");
    const auto insert = [&] {
      for (int i = 0; i < 20; ++i) table.Insert(Person("new", std::string(3000, 'x')));
    };
    database->Begin();
    EXPECT_EQ(TextOf(insert),
              "The map of free pages lists page " + std::to_string(page) + ", which belongs to the table \"People\" (page 1, offset 0)");
    EXPECT_EQ(CodeOf(insert), ErrorCode::kDamaged);
    if (database->TransactionDepth() > 0) database->Rollback();
  }
  ExpectAsBefore();
}

TEST_F(ForeignFile, DefinitionsMapsIndexesAndLongValuesAreNoVictimsEither) {
  const auto database = OpenChanged();
  const TableDefinition definition = database->OpenTable("People").Core().Definition();
  Pager& pager = *database->Internals().pager;
  const PageNumber longPage = UsageMap(pager, definition.longMaps.at(0).ownedMap).Pages(pager.PageCount()).front();
  for (const PageNumber page :
       {definition_, Unpack(definition.ownedMap).page, definition.trees.at(0).root, longPage, PageNumber{2}, PageNumber{6}}) {
    Content changed = content_;
    SetFree(changed, page, true);
    world_.files.SetContent("changed.mdb", changed);
    const auto other = world_.Open("changed.mdb");
    const std::string text = TextOf([&] { (void)other->CreateTable(PeopleTable("More")); });
    EXPECT_EQ(text.find("The map of free pages lists page " + std::to_string(page) + ", which belongs to "), 0u) << text;
    EXPECT_EQ(Rows(other->OpenTable("People")), rows_);
  }
}

TEST_F(ForeignFile, NoPageIsUsedAgainWhereATableCannotBeRead) {
  SetFree(content_, DataPageOf(content_, definition_), true);
  content_[definition_ * kPage] = std::byte{9};  // the definition: whose pages are whose is no longer known
  const auto database = OpenChanged();
  const PageNumber before = database->Internals().pager->PageCount();
  Table& table = database->CreateTable(PeopleTable("More"));
  table.Insert(Person("new", std::string(3000, 'x')));
  EXPECT_GE(table.DefinitionPage(), before);
}

TEST_F(ForeignFile, DroppingATableDoesNotGiveAwayThePagesOfAnother) {
  const auto database = OpenChanged();
  Table& other = database->CreateTable(PeopleTable("Other"));
  other.Insert(Person("kept"));
  const PageNumber page = UsageMap(*database->Internals().pager, other.Core().Definition().ownedMap).Pages(10000).at(0);
  database->Begin();
  UsageMap(*database->Internals().pager, database->OpenTable("People").Core().Definition().ownedMap).Add(page);
  database->Commit();
  const auto drop = [&] { database->DropTable("People"); };
  EXPECT_EQ(TextOf(drop), "A usage map lists a page that belongs to another (page " + std::to_string(page) + ", offset 4)");
  EXPECT_EQ(CodeOf(drop), ErrorCode::kDamaged);
  EXPECT_EQ(Rows(database->OpenTable("Other")).size(), 1u);
}

TEST_F(ForeignFile, RowsDoNotGoToPagesWithRoomThatTheTableDoesNotOwn) {
  const auto database = OpenChanged();
  Pager& pager = *database->Internals().pager;
  Table& table = database->CreateTable(PeopleTable("Other"));
  database->Begin();
  {
    const PageRef page = pager.Allocate();
    DataPageEditor::Format(page, table.DefinitionPage());
    UsageMap(pager, table.Core().Definition().freeMap).Add(page.Number());
    const PageRef longPage = pager.Allocate();
    DataPageEditor::Format(longPage, DataPage::kLongValueOwner);
    UsageMap(pager, table.Core().Definition().longMaps.at(0).freeMap).Add(longPage.Number());
  }
  table.Insert(Person("found", std::string(2000, 'x')));
  database->Commit();
  EXPECT_EQ(Rows(table).size(), 1u);
  const auto owned = UsageMap(pager, table.Core().Definition().longMaps.at(0).ownedMap).Pages(10000);
  EXPECT_EQ(owned.size(), 1u);
}

TEST_F(ForeignFile, AMapPointerThatLeadsToARowLeavesTheRowAlone) {
  const auto database = OpenChanged();
  Pager& pager = *database->Internals().pager;
  database->Begin();
  const PageRef page = pager.Allocate();
  auto rows = DataPageEditor::Format(page, definition_);
  UsageMap map(pager, Pack({page.Number(), static_cast<std::uint8_t>(rows.AddZeros(69))}));
  const std::string expected = "A usage map lies among rows of another kind (page " + std::to_string(page.Number()) + ", offset 4)";
  EXPECT_EQ(TextOf([&] { map.Add(3); }), expected);
  EXPECT_EQ(TextOf([&] { map.Clear(); }), expected);
  EXPECT_EQ(CodeOf([&] { map.Clear(); }), ErrorCode::kDamaged);
  UsageMap inMaps(pager, Pack({page.Number(), 0}));
  Store32(page.Writable().data() + 4, 0);
  inMaps.Add(3);
  EXPECT_TRUE(inMaps.Contains(3));
  database->Rollback();
}

TEST_F(ForeignFile, PagesKeptBehindTheEndAreNoDamage) {
  const auto pages = static_cast<PageNumber>(content_.size() / kPage);
  for (PageNumber page = pages; page < pages + 20; ++page) SetFree(content_, page, false);
  {
    const auto database = OpenChanged();
    EXPECT_EQ(Findings(*database), "");
    Table& table = database->OpenTable("People");
    for (int i = 0; i < 60; ++i) table.Insert(Person("new", std::string(3000, 'x')));
    EXPECT_GT(database->Internals().pager->PageCount(), pages + 20);
    EXPECT_EQ(Findings(*database), "");
  }
  EXPECT_EQ(world_.Open()->OpenTable("People").RowCount(), 340u);
}

TEST_F(ForeignFile, AFileThatLacksPagesOfATableIsCutShort) {
  const auto pages = static_cast<PageNumber>(content_.size() / kPage);
  content_.resize(content_.size() - kPage);
  EXPECT_EQ(TextOf([&] { OpenChanged(); }), "\"test.mdb\" is cut short: page " + std::to_string(pages - 1) +
                                                " is in use and the file has only " + std::to_string(pages - 1) + " pages (page " +
                                                std::to_string(pages - 1) + ", offset 0)");
}

// ----- system tables elsewhere, relationships of what is not there

/// MSysQueries and MSysRelationships have changed pages: the catalog says so, the header does not.
void SwapSystemTables(World& world) {
  {
    const auto database = world.Create();
    Catalog& catalog = database->Internals().catalog;
    database->Begin();
    catalog.Rename(4, "between");
    catalog.Rename(5, "MSysQueries");
    catalog.Rename(4, "MSysRelationships");
    database->Commit();
  }
  Content file = world.files.Content("test.mdb");
  std::swap_ranges(file.begin() + 4 * kPage, file.begin() + 5 * kPage, file.begin() + 5 * kPage);
  for (PageNumber page = 6; page < file.size() / kPage; ++page) {
    std::byte* bytes = file.data() + page * kPage;
    const std::uint32_t owner = Load32(bytes + 4);
    if (Load8(bytes) == 4 && (owner == 4 || owner == 5)) Store32(bytes + 4, 9 - owner);
  }
  world.files.SetContent("test.mdb", file);
}

TEST(ForeignCatalog, SystemTablesAreFoundByTheCatalogAndNotByTheirUsualPages) {
  World world;
  SwapSystemTables(world);
  {
    const auto database = world.Open();
    EXPECT_EQ(Findings(*database), "");
    EXPECT_TRUE(database->Relationships().empty());
    database->CreateTable(PeopleTable());
    TableSpec child;
    child.name = "Visits";
    child.columns = {Column("Who", ColumnType::kLong)};
    database->CreateTable(child);
    Relationship relationship;
    relationship.name = "PeopleVisits";
    relationship.table = "Visits";
    relationship.referencedTable = "People";
    relationship.columns = {{"Who", "Id"}};
    database->CreateRelationship(relationship);
    EXPECT_EQ(database->Relationships().size(), 1u);
    EXPECT_EQ(Findings(*database), "");
    database->Compact("compact.mdb");
  }
  const auto compacted = world.Open("compact.mdb");
  EXPECT_EQ(compacted->Relationships().size(), 1u);
  EXPECT_EQ(compacted->FindObject("MSysQueries")->id, 4);
  EXPECT_EQ(compacted->FindObject("MSysRelationships")->id, 5);
  EXPECT_EQ(Findings(*compacted), "");
}

/// A relationship as Access keeps it between links, or between tables that have gone since.
void AddLooseRelationship(Database& database, const std::string& name, const std::string& table, const std::string& referenced) {
  Table& rows = database.Internals().catalog.RelationshipsTable();
  std::vector<Value> values(rows.Columns().size());
  const auto set = [&](const char* column, Value value) { values[rows.ColumnAt(column)] = std::move(value); };
  set("szRelationship", Value(name));
  set("grbit", Value(std::int32_t{2}));
  set("ccolumn", Value(std::int32_t{1}));
  set("icolumn", Value(std::int32_t{0}));
  set("szObject", Value(table));
  set("szColumn", Value("Who"));
  set("szReferencedObject", Value(referenced));
  set("szReferencedColumn", Value("Id"));
  rows.Insert(values);
  CatalogObject object;
  object.id = -2147483000;
  object.parentId = Catalog::kRelationshipsId;
  object.name = name;
  object.type = 8;
  database.Internals().catalog.Add(object, {});
}

TEST(ForeignCatalog, CompactingTakesRelationshipsOfLinksAndOfTablesThatAreNotThere) {
  World world;
  const auto database = world.Create();
  database->CreateLink({"Linked", false, "other.mdb", "", "There"});
  AddLooseRelationship(*database, "OfLinks", "Linked", "Gone");
  database->Compact("compact.mdb");
  const auto compacted = world.Open("compact.mdb");
  const auto relationships = compacted->Relationships();
  ASSERT_EQ(relationships.size(), 1u);
  EXPECT_EQ(relationships[0].table, "Linked");
  EXPECT_EQ(relationships[0].referencedTable, "Gone");
  EXPECT_FALSE(relationships[0].enforced);
  EXPECT_EQ(Rows(compacted->Internals().catalog.RelationshipsTable()), Rows(database->Internals().catalog.RelationshipsTable()));
  EXPECT_EQ(Findings(*compacted), "");
}

TEST(ForeignCatalog, CompactingKeepsNumbersAndDatesOfStoredObjects) {
  World world;
  const auto database = world.Create();
  Catalog& catalog = database->Internals().catalog;
  database->Begin();
  CatalogObject query;
  query.id = -2147480000;
  query.parentId = Catalog::kTablesId;
  query.name = "A query";
  query.type = 5;
  catalog.Add(query, {});
  std::vector<Value> line(catalog.QueriesTable().Columns().size());
  line[catalog.QueriesTable().ColumnAt("ObjectId")] = Value(query.id);
  line[catalog.QueriesTable().ColumnAt("Attribute")] = Value(std::uint8_t{0});
  catalog.QueriesTable().Insert(line);
  CatalogObject link;
  link.id = -2147470000;
  link.parentId = Catalog::kTablesId;
  link.name = "A link";
  link.type = 6;
  link.database = "other.mdb";
  link.foreignName = "There";
  catalog.Add(link, {});
  AddLooseRelationship(*database, "Loose", "A link", "Gone");
  // Dates of long ago.
  Table& objects = catalog.ObjectsTable();
  const Value then(Date{36526.5});
  std::vector<RowId> rows;
  for (ScanCursor cursor = objects.Scan(); cursor.Next();) rows.push_back(cursor.Id());
  const Assignment dates[] = {{objects.ColumnAt("DateCreate"), &then, nullptr}, {objects.ColumnAt("DateUpdate"), &then, nullptr}};
  for (const RowId row : rows) objects.Update(row, dates);
  database->Internals().pager->ChangeGeneration();
  database->Commit();
  database->Compact("compact.mdb");
  const auto compacted = world.Open("compact.mdb");
  for (const char* name : {"A query", "A link"}) {
    const CatalogObject* object = compacted->FindObject(name);
    ASSERT_NE(object, nullptr) << name;
    EXPECT_EQ(object->id, database->FindObject(name)->id) << name;
    EXPECT_EQ(object->created.serial, 36526.5) << name;
    EXPECT_EQ(object->updated.serial, 36526.5) << name;
  }
  const auto& all = compacted->Objects();
  EXPECT_TRUE(std::any_of(all.begin(), all.end(), [](const CatalogObject& held) { return held.type == 8 && held.id == -2147483000; }));
  EXPECT_EQ(Rows(compacted->Internals().catalog.QueriesTable()), Rows(catalog.QueriesTable()));
}

// ----- keys that other programs have written

TEST(ForeignKeys, AKeyWithOnePositionForEachCharacterIsNoDamageAndCanBeTakenAway) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  const RowId row = table.Insert(Person("Nuß-Creme"));
  table.Insert(Person("Straße"));
  auto& tree = *table.Core().Trees().at(1).tree;
  Bytes ours, theirs;
  AppendTextKey("Nuß-Creme", false, TextOrder::kGeneral, ours);
  AppendTextKey("Nuß-Creme", false, TextOrder::kGeneralOnce, theirs);
  ASSERT_NE(ours, theirs);
  database->Begin();
  ASSERT_TRUE(tree.Erase(ours, row));
  ASSERT_FALSE(tree.Insert(theirs, row, false));
  database->Commit();
  EXPECT_EQ(Findings(*database), "");
  const Value name("Nuß-Kuchen");
  const Assignment change[] = {{1, &name, nullptr}};
  table.Update(row, change);
  EXPECT_EQ(table.Seek(table.FindIndex("Name").value(), std::vector<Value>{name}), row);
  table.Delete(row);
  EXPECT_EQ(Findings(*database), "");
}

}  // namespace
}  // namespace jet::tests

#include <gtest/gtest.h>

#include "jet/value/ByteOrder.h"
#include "jet/schema/Engine.h"
#include "jet/table/TableCore.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

TEST(Schema, AnEmptyDatabaseHasTheSixteenPagesOfOne) {
  World world;
  const auto database = world.Create();
  EXPECT_EQ(world.files.Content("test.mdb").size(), 16u * 4096);
  EXPECT_EQ(Findings(*database), "");
  EXPECT_EQ(database->Objects().size(), 8u);
  EXPECT_EQ(database->OpenTable("MSysACEs").RowCount(), 16u);
  EXPECT_EQ(database->FormatVersion(), 4);
  // Lengths of the four system definitions and the rows of the page of maps, as in files made by the original.
  const auto bytes = world.files.Content("test.mdb");
  EXPECT_EQ(Load32(bytes.data() + 2 * 4096 + 8), 1050u);
  EXPECT_EQ(Load32(bytes.data() + 3 * 4096 + 8), 335u);
  EXPECT_EQ(Load32(bytes.data() + 4 * 4096 + 8), 525u);
  EXPECT_EQ(Load32(bytes.data() + 5 * 4096 + 8), 813u);
  EXPECT_EQ(Load16(bytes.data() + 6 * 4096 + 12), 31);
  EXPECT_EQ(Load16(bytes.data() + 6 * 4096 + 2), 1881);
  EXPECT_EQ(Load16(bytes.data() + 1 * 4096 + 2), 3940);
}

TEST(Schema, TablesAreFoundWithoutRegardToCaseAndAppearOnce) {
  World world;
  const auto database = world.Create();
  TableSpec spec = PeopleTable("Été / Straße n°1");
  database->CreateTable(spec);
  EXPECT_EQ(database->OpenTable("ÉTÉ / STRAßE N°1").Name(), "Été / Straße n°1");
  spec.name = "été / straße N°1";
  EXPECT_EQ(CodeOf([&] { database->CreateTable(spec); }), ErrorCode::kAlreadyExists);
  EXPECT_EQ(CodeOf([&] { database->OpenTable("nothing"); }), ErrorCode::kNotFound);
  EXPECT_EQ(TextOf([&] { database->OpenTable("nothing"); }), "There is no table \"nothing\"");
  EXPECT_EQ(Findings(*database), "");
}

TEST(Schema, NamesThatTheFormatCannotHoldAreRefused) {
  World world;
  const auto database = world.Create();
  for (const std::string& name : std::vector<std::string>{"", "a.b", "a[b", "a`b", " a", "a\tb", std::string(65, 'x')}) {
    TableSpec spec = PeopleTable(name);
    EXPECT_EQ(CodeOf([&] { database->CreateTable(spec); }), ErrorCode::kUnsupported) << name;
  }
  EXPECT_EQ(Findings(*database), "");
}

TEST(Schema, DroppingATableGivesAllItsPagesBack) {
  World world;
  const auto database = world.Create();
  std::size_t size = 0;
  for (int round = 0; round < 4; ++round) {
    Table& table = database->CreateTable(PeopleTable());
    database->Begin();
    for (int i = 0; i < 300; ++i) table.Insert(Person("n" + std::to_string(i), std::string(3000, 'x')));
    database->Commit();
    EXPECT_EQ(Findings(*database), "");
    database->DropTable("PEOPLE");
    EXPECT_EQ(database->FindObject("People"), nullptr);
    EXPECT_EQ(Findings(*database), "");
    if (round == 0) size = world.files.Content("test.mdb").size();
  }
  EXPECT_LE(world.files.Content("test.mdb").size(), size + 2 * 4096);
  EXPECT_EQ(database->OpenTable("MSysACEs").RowCount(), 16u);
}

TEST(Schema, AFailedCreationLeavesNothingBehind) {
  World world;
  const auto database = world.Create();
  TableSpec spec = PeopleTable();
  spec.indexes.push_back(Index("Bad", {"Nowhere"}));
  database->Begin();
  database->CreateTable(PeopleTable("Kept"));
  EXPECT_EQ(CodeOf([&] { database->CreateTable(spec); }), ErrorCode::kNotFound);
  EXPECT_EQ(database->TransactionDepth(), 1);
  database->Commit();
  EXPECT_EQ(database->FindObject("People"), nullptr);
  EXPECT_NE(database->FindObject("Kept"), nullptr);
  EXPECT_EQ(Findings(*database), "");
}

TEST(Schema, ColumnsComeAndGoWithRowsThere) {
  // Fixed and variable columns, dropped and added in every order, over rows written before, between and after.
  const ColumnType kinds[] = {ColumnType::kLong, ColumnType::kText, ColumnType::kMemo, ColumnType::kBoolean};
  for (const ColumnType first : kinds)
    for (const ColumnType second : kinds)
      for (int drop = 0; drop < 3; ++drop) {
        World world;
        const auto database = world.Create();
        TableSpec spec;
        spec.name = "T";
        spec.columns = {Column("K", ColumnType::kLong), Column("A", first, 20), Column("B", second, 20)};
        Table& table = database->CreateTable(spec);
        const auto sample = [](ColumnType type, int i) {
          switch (type) {
            case ColumnType::kLong:
              return Value(i);
            case ColumnType::kBoolean:
              return Value(i % 2 == 0);
            default:
              return Value("text" + std::to_string(i));
          }
        };
        for (int i = 0; i < 5; ++i) {
          const Value values[] = {Value(i), sample(first, i), sample(second, i)};
          table.Insert(values);
        }
        const std::string title =
            std::to_string(static_cast<int>(first)) + "/" + std::to_string(static_cast<int>(second)) + "/" + std::to_string(drop);
        const std::string gone = drop == 0 ? "K" : drop == 1 ? "A" : "B";
        database->DropColumn("T", gone);
        EXPECT_EQ(Findings(*database), "") << title;
        database->AddColumn("T", Column("C", ColumnType::kText, 30));
        database->AddColumn("T", Column("D", ColumnType::kDouble));
        EXPECT_EQ(Findings(*database), "") << title;
        const auto& columns = table.Columns();
        ASSERT_EQ(columns.size(), 4u);
        std::vector<Value> row(4);
        for (std::size_t c = 0; c < 2; ++c) row[c] = sample(columns[c].type, 9);
        row[2] = Value("new");
        row[3] = Value(1.5);
        const RowId added = table.Insert(row);
        EXPECT_EQ(table.Read(added).value(), row) << title;
        int i = 0;
        for (ScanCursor cursor = table.Scan(); cursor.Next() && i < 5; ++i) {
          for (std::size_t c = 0; c < 2; ++c) EXPECT_EQ(cursor.Current().Get(c), sample(columns[c].type, i)) << title;
          EXPECT_TRUE(cursor.Current().IsNull(2)) << title;
          EXPECT_TRUE(cursor.Current().IsNull(3)) << title;
        }
        EXPECT_EQ(table.RowCount(), 6u);
        database->AddColumn("T", Column(gone, ColumnType::kMemo));
        EXPECT_EQ(Rows(table).size(), 6u) << title;
        EXPECT_EQ(Findings(*database), "") << title;
      }
}

TEST(Schema, TheFirstVariableColumnGivesOldRowsAnOffsetTable) {
  World world;
  const auto database = world.Create();
  TableSpec spec;
  spec.name = "T";
  spec.columns = {Column("K", ColumnType::kLong), Column("F", ColumnType::kBoolean)};
  Table& table = database->CreateTable(spec);
  database->Begin();
  for (int i = 0; i < 1000; ++i) {
    const Value values[] = {Value(i), Value(i % 2 == 0)};
    table.Insert(values);
  }
  database->Commit();
  database->AddColumn("T", Column("N", ColumnType::kText, 20));
  EXPECT_EQ(Findings(*database), "");
  int i = 0;
  for (ScanCursor cursor = table.Scan(); cursor.Next(); ++i) {
    EXPECT_EQ(cursor.Current().Bool(1), cursor.Current().Integer(0) % 2 == 0);
    EXPECT_TRUE(cursor.Current().IsNull(2));
  }
  EXPECT_EQ(i, 1000);
}

TEST(Schema, ColumnsInUseAreNotDropped) {
  World world;
  const auto database = world.Create();
  database->CreateTable(PeopleTable());
  EXPECT_EQ(CodeOf([&] { database->DropColumn("People", "name"); }), ErrorCode::kUnsupported);
  EXPECT_EQ(TextOf([&] { database->DropColumn("People", "name"); }), "The column \"Name\" is used by the index \"Name\"");
  EXPECT_EQ(CodeOf([&] { database->DropColumn("People", "none"); }), ErrorCode::kNotFound);
  database->DropIndex("People", "NAME");
  EXPECT_NO_THROW(database->DropColumn("People", "name"));
  EXPECT_EQ(Findings(*database), "");
}

TEST(Schema, AddingACounterNumbersTheRows) {
  World world;
  const auto database = world.Create();
  TableSpec spec;
  spec.name = "T";
  spec.columns = {Column("A", ColumnType::kText, 10)};
  Table& table = database->CreateTable(spec);
  const Value value("x");
  table.Insert(std::span(&value, 1));
  table.Insert(std::span(&value, 1));
  database->AddColumn("T", Counter("N"));
  table.Insert(std::vector<Value>{Value("y"), Value()});
  EXPECT_EQ(Rows(table), (std::vector<std::string>{"\"x\"|1", "\"x\"|2", "\"y\"|3"}));
}

TEST(Schema, ACounterGoesOnWhereItIsTold) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  table.Insert(Person("a"));
  const auto numberOfNext = [&] {
    const RowId row = table.Insert(Person("b"));
    return table.Read(row)->at(0).AsLong();
  };
  database->SetLastAutoNumber("PEOPLE", 41);
  EXPECT_EQ(table.LastAutoNumber(), 41);
  EXPECT_EQ(numberOfNext(), 42);
  database->SetLastAutoNumber("People", -8);  // back, and below zero: rows that are there keep their numbers
  EXPECT_EQ(numberOfNext(), -7);
  {
    const Transaction undone(*database);
    database->SetLastAutoNumber("People", 1000);
  }
  EXPECT_EQ(numberOfNext(), -6);
  TableSpec plain;
  plain.name = "Plain";
  plain.columns = {Column("A", ColumnType::kLong)};
  database->CreateTable(plain);
  EXPECT_EQ(TextOf([&] { database->SetLastAutoNumber("Plain", 1); }), "The table \"Plain\" has no counter");
  EXPECT_EQ(CodeOf([&] { database->SetLastAutoNumber("Nothing", 1); }), ErrorCode::kNotFound);
  EXPECT_EQ(Findings(*database), "");
}

TEST(Schema, IndexesAreBuiltOverExistingRowsAndRefusedWhenTheyDoNotHold) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  database->Begin();
  for (int i = 0; i < 3000; ++i) table.Insert(Person("n" + std::to_string(i % 1500), "x", false, i));
  database->Commit();
  database->CreateIndex("People", Index("ByAmount", {"Amount", "Name"}, true));
  EXPECT_EQ(Findings(*database), "");
  EXPECT_EQ(CodeOf([&] { database->CreateIndex("People", Index("U", {"Name"}, true)); }), ErrorCode::kDuplicateKey);
  EXPECT_EQ(CodeOf([&] { database->CreateIndex("People", Index("byamount", {"Name"})); }), ErrorCode::kAlreadyExists);
  EXPECT_EQ(Findings(*database), "");
  EXPECT_EQ(table.Indexes().size(), 3u);
  database->DropIndex("People", "ByAmount");
  EXPECT_EQ(CodeOf([&] { database->DropIndex("People", "ByAmount"); }), ErrorCode::kNotFound);
  EXPECT_EQ(Findings(*database), "");
}

TEST(Schema, ManyColumnsAndIndexesTakeSeveralDefinitionPages) {
  World world;
  {
    const auto database = world.Create();
    TableSpec spec;
    spec.name = "Wide";
    for (int i = 0; i < 255; ++i)
      spec.columns.push_back(Column("Column with a long name " + std::to_string(i),
                                    i % 3 == 0   ? ColumnType::kMemo
                                    : i % 3 == 1 ? ColumnType::kLong
                                                 : ColumnType::kText,
                                    20));
    for (int i = 0; i < 32; ++i)
      spec.indexes.push_back(Index("Index " + std::to_string(i), {"column with a long name " + std::to_string(3 * i + 1)}));
    Table& table = database->CreateTable(spec);
    std::vector<Value> values(255);
    values[254] = Value("last");
    values[0] = Value("first");
    table.Insert(values);
    EXPECT_EQ(CodeOf([&] { database->AddColumn("Wide", Column("One more", ColumnType::kLong)); }), ErrorCode::kLimit);
    EXPECT_EQ(CodeOf([&] { database->CreateIndex("Wide", Index("One more", {"Column with a long name 4"})); }), ErrorCode::kLimit);
  }
  const auto database = world.Open();
  EXPECT_EQ(Findings(*database), "");
  EXPECT_GT(database->OpenTable("Wide").Core().Definition().pages.size(), 2u);
  database->DropTable("Wide");
  EXPECT_EQ(Findings(*database), "");
}

TEST(Schema, LinksAreListedWithTheirTargets) {
  World world;
  world.Create()->CreateLink({"Local", false, "/data/other.mdb", "", "Remote"});
  const auto database = world.Open();
  database->CreateLink({"Odbc", true, "", "DSN=orders;UID=me", "dbo.Orders"});
  const CatalogObject* link = database->FindObject("local");
  ASSERT_NE(link, nullptr);
  EXPECT_EQ(link->kind, ObjectKind::kJetLink);
  EXPECT_EQ(link->database, "/data/other.mdb");
  EXPECT_EQ(link->foreignName, "Remote");
  EXPECT_EQ(database->FindObject("Odbc")->connect, "DSN=orders;UID=me");
  EXPECT_EQ(CodeOf([&] { database->OpenTable("Local"); }), ErrorCode::kNotFound);
  database->DropTable("Local");
  EXPECT_EQ(database->FindObject("Local"), nullptr);
  EXPECT_EQ(Findings(*database), "");
}

TEST(Schema, RenamingKeepsRowsAndRelationships) {
  World world;
  const auto database = world.Create();
  database->CreateTable(PeopleTable()).Insert(Person("Ada"));
  database->RenameTable("People", "Persons");
  EXPECT_EQ(database->OpenTable("persons").RowCount(), 1u);
  EXPECT_EQ(CodeOf([&] { database->OpenTable("People"); }), ErrorCode::kNotFound);
  EXPECT_NO_THROW(database->RenameTable("Persons", "PERSONS"));
  EXPECT_EQ(Findings(*database), "");
}

TEST(Schema, CompactingKeepsEverythingAndTakesLessRoom) {
  World world;
  const auto database = world.Create();
  TableSpec spec = PeopleTable();
  spec.columns[1].required = true;
  spec.columns[1].defaultValue = "\"nobody\"";
  Table& table = database->CreateTable(spec);
  database->Begin();
  std::vector<RowId> ids;
  for (int i = 0; i < 2000; ++i)
    ids.push_back(table.Insert(Person("n" + std::to_string(i), std::string(static_cast<std::size_t>(i), 'x'), i % 2 == 0, i)));
  for (std::size_t i = 0; i < ids.size(); i += 2) table.Delete(ids[i]);
  table.Insert(Person("long", std::string(200000, 'z')));
  database->Commit();
  database->CreateLink({"Link", false, "/x.mdb", "", "Y"});
  database->Compact("small.mdb");
  const auto rows = Rows(table);
  const auto compacted = world.Open("small.mdb");
  Table& copy = compacted->OpenTable("People");
  EXPECT_EQ(Rows(copy), rows);
  EXPECT_EQ(copy.LastAutoNumber(), 2001);
  EXPECT_TRUE(copy.Columns()[1].required);
  EXPECT_EQ(copy.Columns()[1].defaultValue, "\"nobody\"");
  EXPECT_EQ(copy.Indexes().size(), table.Indexes().size());
  EXPECT_EQ(compacted->FindObject("Link")->database, "/x.mdb");
  EXPECT_EQ(Findings(*compacted), "");
  EXPECT_LT(world.files.Content("small.mdb").size(), world.files.Content("test.mdb").size());
  EXPECT_EQ(CodeOf([&] { database->Compact("small.mdb"); }), ErrorCode::kAlreadyExists);
}

}  // namespace
}  // namespace jet::tests

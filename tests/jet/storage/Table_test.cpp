#include "jet/table/Table.h"

#include <gtest/gtest.h>

#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

TableSpec AllTypes() {
  TableSpec spec;
  spec.name = "Types";
  ColumnDef numeric = Column("Num", ColumnType::kNumeric);
  numeric.precision = 20;
  numeric.scale = 3;
  ColumnDef fixedText = Column("Fix", ColumnType::kText, 5);
  fixedText.fixedLength = true;
  spec.columns = {Column("Bool", ColumnType::kBoolean),
                  Column("Byte", ColumnType::kByte),
                  Column("Int", ColumnType::kInteger),
                  Column("Long", ColumnType::kLong),
                  Column("Cur", ColumnType::kCurrency),
                  Column("Sng", ColumnType::kSingle),
                  Column("Dbl", ColumnType::kDouble),
                  Column("Date", ColumnType::kDate),
                  Column("Bin", ColumnType::kBinary, 40),
                  Column("Text", ColumnType::kText, 30),
                  Column("Ole", ColumnType::kOle),
                  Column("Memo", ColumnType::kMemo),
                  Column("Guid", ColumnType::kGuid),
                  numeric,
                  fixedText};
  return spec;
}

std::vector<Value> SomeOfAll() {
  return {Value(true),
          Value(std::uint8_t{255}),
          Value(std::int16_t{-32768}),
          Value(std::int32_t{2147483647}),
          Value(Currency{-1}),
          Value(1.5F),
          Value(-2.25),
          Value(Date{-1.25}),
          Value(Bytes{std::byte{0}, std::byte{9}}),
          Value("Noël œuf"),
          Value(Bytes{std::byte{7}}),
          Value("mémo"),
          Value(*Guid::Parse("{00112233-4455-6677-8899-AABBCCDDEEFF}")),
          Value(*Numeric::Parse("-12345678901234567.891")),
          Value("ab   ")};
}

TEST(Table, EveryTypeComesBackAsItWent) {
  World world;
  const auto values = SomeOfAll();
  {
    const auto database = world.Create();
    Table& table = database->CreateTable(AllTypes());
    EXPECT_EQ(table.Read(table.Insert(values)).value(), values);
    std::vector<Value> nulls(values.size());
    auto expected = nulls;
    expected[0] = Value(false);
    EXPECT_EQ(table.Read(table.Insert(nulls)).value(), expected);
  }
  const auto database = world.Open();
  EXPECT_EQ(Rows(database->OpenTable("types"))[0], Describe(values));
  EXPECT_EQ(Findings(*database), "");
}

TEST(Table, DefinitionReadBackEqualsTheOneAsked) {
  World world;
  world.Create()->CreateTable(AllTypes());
  const auto database = world.Open();
  const auto asked = AllTypes().columns;
  const auto& columns = database->OpenTable("Types").Columns();
  ASSERT_EQ(columns.size(), asked.size());
  for (std::size_t i = 0; i < asked.size(); ++i) {
    EXPECT_EQ(columns[i].name, asked[i].name);
    EXPECT_EQ(columns[i].type, asked[i].type);
    if (asked[i].size != 0) {
      EXPECT_EQ(columns[i].size, asked[i].size) << asked[i].name;
    }
    EXPECT_EQ(columns[i].autoNumber, asked[i].autoNumber);
  }
  EXPECT_EQ(columns[13].precision, 20);
  EXPECT_EQ(columns[13].scale, 3);
  EXPECT_TRUE(columns[9].allowZeroLength);
}

TEST(Table, AutoNumbersGoOnFromTheLargestOneGiven) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  table.Insert(Person("a"));
  auto given = Person("b");
  given[0] = Value(100);
  table.Insert(given);
  const RowId third = table.Insert(Person("c"));
  EXPECT_EQ(table.Read(third)->at(0), Value(101));
  given[0] = Value(50);
  table.Insert(given);
  EXPECT_EQ(table.LastAutoNumber(), 101);
  given[0] = Value(-7);
  table.Insert(given);
  EXPECT_EQ(table.LastAutoNumber(), 101);
}

TEST(Table, GuidAutoNumbersAreMade) {
  World world;
  const auto database = world.Create();
  TableSpec spec;
  spec.name = "G";
  ColumnDef guid = Column("Id", ColumnType::kGuid);
  guid.autoNumber = true;
  spec.columns = {guid, Column("T", ColumnType::kText, 5)};
  Table& table = database->CreateTable(spec);
  const Value values[] = {Value(), Value("a")};
  EXPECT_NE(table.Read(table.Insert(values))->at(0), table.Read(table.Insert(values))->at(0));
}

TEST(Table, RequiredAndZeroLengthAreEnforcedByName) {
  World world;
  const auto database = world.Create();
  TableSpec spec = PeopleTable();
  spec.columns[1].required = true;
  spec.columns[1].allowZeroLength = false;
  Table& table = database->CreateTable(spec);
  auto values = Person("x");
  values[1] = Value();
  EXPECT_EQ(CodeOf([&] { table.Insert(values); }), ErrorCode::kNullNotAllowed);
  EXPECT_EQ(TextOf([&] { table.Insert(values); }), "The column \"Name\" must have a value");
  values[1] = Value("");
  EXPECT_EQ(CodeOf([&] { table.Insert(values); }), ErrorCode::kZeroLengthNotAllowed);
  values[1] = Value(std::string(51, 'x'));
  EXPECT_EQ(CodeOf([&] { table.Insert(values); }), ErrorCode::kValueTooLong);
  EXPECT_EQ(table.RowCount(), 0u);
  const RowId id = table.Insert(Person("x"));
  const Value null;
  const Assignment assignment{1, &null, nullptr};
  EXPECT_EQ(CodeOf([&] { table.Update(id, std::span(&assignment, 1)); }), ErrorCode::kNullNotAllowed);
  EXPECT_EQ(Findings(*database), "");
}

TEST(Table, ADuplicateKeyChangesNothing) {
  World world;
  const auto database = world.Create();
  TableSpec spec = PeopleTable();
  spec.indexes.push_back(Index("U", {"Amount", "Name"}, true));
  Table& table = database->CreateTable(spec);
  table.Insert(Person("Ada", std::string(5000, 'n'), false, 1));
  const RowId other = table.Insert(Person("Bob", "n", false, 2));
  const auto before = Rows(table);
  EXPECT_EQ(CodeOf([&] { table.Insert(Person("ADA", std::string(5000, 'm'), false, 1)); }), ErrorCode::kDuplicateKey);
  EXPECT_EQ(TextOf([&] { table.Insert(Person("ADA", "", false, 1)); }),
            "The index \"U\" of the table \"People\" already holds these values");
  EXPECT_EQ(CodeOf([&] { table.Update(other, Person("Ada", "x", true, 1)); }), ErrorCode::kNullNotAllowed);  // the key would become null
  const Value name("ada"), amount(1.0), note(std::string(6000, 'z'));
  const Assignment assignments[] = {{1, &name, nullptr}, {2, &note, nullptr}, {4, &amount, nullptr}};
  EXPECT_EQ(CodeOf([&] { table.Update(other, assignments); }), ErrorCode::kDuplicateKey);
  EXPECT_EQ(Rows(table), before);
  EXPECT_EQ(Findings(*database), "");
}

TEST(Table, UniqueIndexesTakeSeveralNullsAndIgnoreNullsLeavesThemOut) {
  World world;
  const auto database = world.Create();
  TableSpec spec;
  spec.name = "T";
  spec.columns = {Column("A", ColumnType::kLong), Column("B", ColumnType::kLong)};
  IndexSpec ignoring = Index("I", {"A", "B"}, true);
  ignoring.ignoreNulls = true;
  spec.indexes = {Index("U", {"A"}, true), ignoring};
  Table& table = database->CreateTable(spec);
  const Value nulls[] = {Value(), Value()};
  table.Insert(nulls);
  table.Insert(nulls);
  const Value half[] = {Value(), Value(1)};
  table.Insert(half);
  table.Insert(half);
  EXPECT_EQ(table.RowCount(), 4u);
  EXPECT_EQ(Findings(*database), "");
}

TEST(Table, RowsThatGrowMoveAndKeepTheirIdentity) {
  World world;
  const auto database = world.Create();
  TableSpec spec;
  spec.name = "T";
  spec.columns = {Column("A", ColumnType::kLong), Column("B", ColumnType::kText, 255), Column("C", ColumnType::kText, 255)};
  spec.indexes = {Index("A", {"A"})};
  Table& table = database->CreateTable(spec);
  database->Begin();
  std::vector<RowId> ids;
  for (int i = 0; i < 300; ++i) {
    const Value values[] = {Value(i), Value("short"), Value()};
    ids.push_back(table.Insert(values));
  }
  for (int round = 0; round < 4; ++round)
    for (int i = 0; i < 300; i += 2) {
      const Value text(std::string(static_cast<std::size_t>(round == 2 ? 3 : 60 + 60 * round), 'e'));
      const Assignment assignment{static_cast<std::size_t>(1 + round % 2), &text, nullptr};
      table.Update(ids[static_cast<std::size_t>(i)], std::span(&assignment, 1));
    }
  database->Commit();
  EXPECT_EQ(Findings(*database), "");
  for (int i = 0; i < 300; ++i) {
    const auto row = table.Read(ids[static_cast<std::size_t>(i)]);
    ASSERT_TRUE(row.has_value());
    EXPECT_EQ(row->at(0), Value(i));
  }
  EXPECT_EQ(Rows(table).size(), 300u);
  for (const RowId id : ids) table.Delete(id);
  EXPECT_EQ(table.RowCount(), 0u);
  EXPECT_TRUE(Rows(table).empty());
  EXPECT_FALSE(table.Read(ids[0]).has_value());
  EXPECT_EQ(CodeOf([&] { table.Delete(ids[0]); }), ErrorCode::kNotFound);
  EXPECT_EQ(Findings(*database), "");
}

TEST(Table, FreedPagesAreUsedAgain) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  std::size_t size = 0;
  for (int round = 0; round < 5; ++round) {
    database->Begin();
    std::vector<RowId> ids;
    for (int i = 0; i < 500; ++i) ids.push_back(table.Insert(Person("name" + std::to_string(i), std::string(400, 'n'))));
    database->Commit();
    database->Begin();
    for (const RowId id : ids) table.Delete(id);
    database->Commit();
    if (round == 1) size = world.files.Content("test.mdb").size();
  }
  EXPECT_LE(world.files.Content("test.mdb").size(), size + 8 * 4096);
  EXPECT_EQ(Findings(*database), "");
}

TEST(Table, ARowThatIsTooLongIsRefusedAndTheTransactionGoesOn) {
  World world;
  const auto database = world.Create();
  TableSpec spec;
  spec.name = "T";
  for (int i = 0; i < 12; ++i) spec.columns.push_back(Column("C" + std::to_string(i), ColumnType::kText, 255));
  Table& table = database->CreateTable(spec);
  database->Begin();
  std::vector<Value> values(12);
  values[0] = Value("kept");
  table.Insert(values);
  for (auto& value : values) {
    std::string wide;
    for (int i = 0; i < 255; ++i) wide += "€";
    value = Value(wide);
  }
  EXPECT_EQ(CodeOf([&] { table.Insert(values); }), ErrorCode::kLimit);
  EXPECT_EQ(database->TransactionDepth(), 1);
  database->Commit();
  EXPECT_EQ(table.RowCount(), 1u);
  EXPECT_EQ(Findings(*database), "");
}

TEST(Table, AScanGoesOnWhileItsRowsAreDeleted) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  database->Begin();
  for (int i = 0; i < 400; ++i) table.Insert(Person("n" + std::to_string(i), std::string(100, 'x')));
  int seen = 0;
  for (ScanCursor cursor = table.Scan(); cursor.Next(); ++seen) table.Delete(cursor.Id());
  database->Commit();
  EXPECT_EQ(seen, 400);
  EXPECT_EQ(table.RowCount(), 0u);
  EXPECT_EQ(Findings(*database), "");
}

TEST(Table, SeekFindsByIndexWithoutRegardToCase) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  table.Insert(Person("Élan"));
  const RowId id = table.Insert(Person("Zoé"));
  const Value key("ZOÉ");
  EXPECT_EQ(table.Seek(table.FindIndex("Name").value(), std::span(&key, 1)), id);
  const Value none("Zoe");
  EXPECT_FALSE(table.Seek(table.FindIndex("Name").value(), std::span(&none, 1)).has_value());
}

TEST(Table, RowsWithHalfSurrogatesKeepTheirIndexEntries) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  const std::string high = "a\xED\xA0\xBD", low = "\xED\xB8\x80z";
  const RowId first = table.Insert(Person(high));
  const RowId second = table.Insert(Person(low, low));
  EXPECT_EQ(table.Read(first)->at(1).AsText(), high);
  EXPECT_EQ(table.Read(second)->at(2).AsText(), low);
  const Value key(high);
  EXPECT_EQ(table.Seek(table.FindIndex("Name").value(), std::span(&key, 1)), first);
  const Value changed("b");
  const Assignment assignment{1, &changed, nullptr};
  table.Update(second, std::span(&assignment, 1));
  table.Delete(first);
  EXPECT_EQ(Findings(*database), "");
  EXPECT_EQ(table.RowCount(), 1u);
}

TEST(Table, FixedBinariesAreIndexedAsTheyReadBack) {
  World world;
  const auto database = world.Create();
  TableSpec spec;
  spec.name = "T";
  ColumnDef column = Column("B", ColumnType::kBinary, 8);
  column.fixedLength = true;
  spec.columns = {column};
  spec.indexes = {Index("B", {"B"}, true)};
  Table& table = database->CreateTable(spec);
  const Value shorter(Bytes{std::byte{1}, std::byte{2}});
  const RowId id = table.Insert(std::span(&shorter, 1));
  EXPECT_EQ(table.Read(id)->at(0).AsBytes().size(), 8u);
  EXPECT_EQ(Findings(*database), "");
  table.Delete(id);
  EXPECT_EQ(Findings(*database), "");
}

TEST(Table, TextsThatBeginWithAByteOrderMarkComeBackAndCanBeDeleted) {
  World world;
  const auto database = world.Create();
  Table& table = database->CreateTable(PeopleTable());
  const RowId id = table.Insert(Person("\uFEFFabc", "\uFEFFnote"));
  EXPECT_EQ(table.Read(id)->at(1).AsText(), "\uFEFFabc");
  EXPECT_EQ(table.Read(id)->at(2).AsText(), "\uFEFFnote");
  EXPECT_EQ(CodeOf([&] { table.Insert(Person("\uFEFF\u4E00")); }), ErrorCode::kLimit);
  EXPECT_EQ(CodeOf([&] { table.Insert(Person("x", "\uFEFF\u4E00")); }), ErrorCode::kLimit);
  EXPECT_EQ(Findings(*database), "");
  table.Delete(id);
  EXPECT_EQ(Findings(*database), "");
}

}  // namespace
}  // namespace jet::tests

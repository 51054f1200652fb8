// Rows and definitions of .accdb files, with columns that Jet 4 has not.
#include <gtest/gtest.h>

#include "jet/table/IndexCursor.h"
#include "tests/jet/storage/AceSupport.h"

namespace jet::tests {
namespace {

using namespace std::string_literals;

class AceWriting : public testing::Test {
 protected:
  std::unique_ptr<Database> Open() { return world.Open("test.accdb"); }
  World world;
};

// ----- Big Integer and extended date

/// Id (counter), Big, When; Big and When are indexed, When the other way round too.
class AceValues : public AceWriting {
 protected:
  void SetUp() override {
    PageNumber page = 0;
    {
      const auto made = world.Create();
      TableSpec spec;
      spec.name = "T";
      spec.columns = {Counter("Id"), Column("Big", ColumnType::kCurrency), Column("When", ColumnType::kBinary, 42),
                      Column("Name", ColumnType::kText, 20)};
      spec.columns[2].fixedLength = true;
      IndexSpec down = Index("Down", {"When"});
      down.columns[0].descending = true;
      spec.indexes = {PrimaryKey("Id"), Index("Big", {"Big"}), Index("When", {"When"}), down};
      page = made->CreateTable(spec).DefinitionPage();
    }
    MakeAce(world, 6);
    Retype(world, page, {{1, 19}, {2, 20}});
    database = Open();
  }
  Table& T() { return database->OpenTable("T"); }
  RowId Insert(const Value& big, const Value& when) { return T().Insert(std::vector<Value>{Value(), big, when, Value("name")}); }
  /// The Id of each row, in the order of an index.
  std::string InOrderOf(const std::string& index) {
    std::string ids;
    IndexCursor cursor(T(), T().FindIndex(index).value());
    cursor.SetRange(std::nullopt, std::nullopt);
    while (cursor.Next()) ids += (*T().Read(cursor.Id()))[0].Describe() + " ";
    return ids;
  }
  std::unique_ptr<Database> database;
};

TEST_F(AceValues, BigIntegersAreExactOrRefused) {
  const auto kept = [&](const Value& value) { return (*T().Read(Insert(value, Value())))[1].Describe(); };
  EXPECT_EQ(kept(Value("9223372036854775807")), "9223372036854775807");
  EXPECT_EQ(kept(Value(*Numeric::Parse("-9223372036854775808"))), "-9223372036854775808");
  EXPECT_EQ(kept(Value("9007199254740993")), "9007199254740993");
  EXPECT_EQ(kept(Value(*Numeric::Parse("12.00"))), "12");
  EXPECT_EQ(kept(Value(Currency{-70000})), "-7");
  EXPECT_EQ(kept(Value(9007199254740992.0)), "9007199254740992");
  EXPECT_EQ(kept(Value(std::int32_t{-5})), "-5");
  EXPECT_EQ(kept(Value(true)), "-1");
  EXPECT_EQ(kept(Value()), "NULL");
  const auto before = T().RowCount();
  for (const Value& refused :
       {Value("9223372036854775808"), Value(*Numeric::Parse("-9223372036854775809")), Value("1.5"), Value(1.5), Value(Currency{5}),
        Value(9007199254740994.0), Value(1e300), Value("one"), Value(Bytes(8)), Value(*Numeric::Parse("36893488147419103232"))})
    EXPECT_EQ(CodeOf([&] { Insert(refused, Value()); }), ErrorCode::kTypeMismatch) << refused.Describe();
  EXPECT_EQ(TextOf([&] { Insert(Value("1.5"), Value()); }), "The value \"1.5\" does not suit the column \"Big\"");
  EXPECT_EQ(T().RowCount(), before);
  EXPECT_EQ(Findings(*database), "");
}

TEST_F(AceValues, ExtendedDatesAreReadToTheLastDigitOrRefused) {
  const auto kept = [&](const Value& value) { return (*T().Read(Insert(Value(), value)))[2].Describe(); };
  EXPECT_EQ(kept(Value("2020-06-17 12:00:43.1234567")), "\"2020-06-17 12:00:43.1234567\"");
  EXPECT_EQ(kept(Value("0001-01-01")), "\"0001-01-01 00:00:00.0000000\"");
  EXPECT_EQ(kept(Value("9999-12-31 23:59:59.9999999")), "\"9999-12-31 23:59:59.9999999\"");
  EXPECT_EQ(kept(Value("2024-02-29 01:02:03.5")), "\"2024-02-29 01:02:03.5000000\"");
  EXPECT_EQ(kept(Value(Date{1.5})), "\"1899-12-31 12:00:00.0000000\"");
  EXPECT_EQ(kept(Value(Date{-1.25})), "\"1899-12-29 06:00:00.0000000\"");
  EXPECT_EQ(kept(Value()), "NULL");
  for (const char* refused : {"",
                              "2020-06-17 ",
                              "2020-06-17 12:00",
                              "2020-06-17T12:00:00",
                              "2020-02-30",
                              "2023-02-29",
                              "0000-01-01",
                              "2020-13-01",
                              "2020-00-01",
                              "2020-01-00",
                              "2020-1-1",
                              "20200617",
                              "2020-06-17 24:00:00",
                              "2020-06-17 00:60:00",
                              "2020-06-17 00:00:60",
                              "2020-06-17 00:00:00.",
                              "2020-06-17 00:00:00.12345678",
                              "2020-06-17 00:00:00,5",
                              "-001-01-01",
                              "2020-06-17 +1:00:00",
                              "no date",
                              "12020-06-17"})
    EXPECT_EQ(CodeOf([&] { Insert(Value(), Value(refused)); }), ErrorCode::kTypeMismatch) << refused;
  EXPECT_EQ(CodeOf([&] { Insert(Value(), Value(5.0)); }), ErrorCode::kTypeMismatch);
  EXPECT_EQ(CodeOf([&] { Insert(Value(), Value(Date{1.0000000579})); }), ErrorCode::kTypeMismatch) << "five thousandths of a second";
  EXPECT_EQ(TextOf([&] { Insert(Value(), Value("2020-02-30")); }), "The value \"2020-02-30\" does not suit the column \"When\"");
  EXPECT_EQ(Findings(*database), "");
}

TEST_F(AceValues, LieInTheFileAsAccessWritesThem) {
  Insert(Value("-2"), Value("2020-06-17 00:00:43.2001234"));
  database.reset();
  const auto bytes = world.files.Content("test.accdb");
  const std::string file(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  // The counter, the number, the date, as they stand in the fixed part of the row.
  const std::string row = "\4\0\1\0\0\0"s + "\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s + "0000000000000737592:0000000000432001234:7\0"s;
  EXPECT_NE(file.find(row), std::string::npos);
  // Keys: 7F and the number as Currency has it; of the date groups of eight bytes.
  EXPECT_NE(file.find("\x7F\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFE"s), std::string::npos);
  EXPECT_NE(file.find("\x7F"s
                      "00000000\t00000737\t592:0000\t00000043\t2001234:\t7\0\0\0\0\0\0\0\2"s),
            std::string::npos);
}

TEST_F(AceValues, AreOrderedAndFoundByTheirIndexes) {
  Insert(Value("5"), Value("2020-06-17"));
  Insert(Value("-9223372036854775808"), Value("9999-12-31"));
  Insert(Value("9223372036854775807"), Value("0001-01-01 00:00:00.0000001"));
  Insert(Value(), Value());
  EXPECT_EQ(InOrderOf("Big"), "4 2 1 3 ");
  EXPECT_EQ(InOrderOf("When"), "4 3 1 2 ");
  EXPECT_EQ(InOrderOf("Down"), "2 1 3 4 ");
  const auto found = [&](const char* index, const Value& value) {
    const Value key[] = {value};
    const auto id = T().Seek(T().FindIndex(index).value(), key);
    return id ? (*T().Read(*id))[0].AsLong() : 0;
  };
  EXPECT_EQ(found("Big", Value(std::int32_t{5})), 1);
  EXPECT_EQ(found("Big", Value("9223372036854775807")), 3);
  EXPECT_EQ(found("Big", Value("6")), 0);
  EXPECT_EQ(found("When", Value("2020-06-17 00:00:00.0")), 1);
  EXPECT_EQ(found("Down", Value("9999-12-31")), 2);
  EXPECT_EQ(CodeOf([&] { (void)found("Big", Value("5.5")); }), ErrorCode::kTypeMismatch);
}

TEST_F(AceValues, AreChangedAndKept) {
  const RowId id = Insert(Value("5"), Value("2020-06-17"));
  const Value name("anders"), big("6"), when("2020-06-18");
  const Assignment other[] = {{3, &name, nullptr}}, both[] = {{1, &big, nullptr}, {2, &when, nullptr}};
  T().Update(id, other);
  EXPECT_EQ(Rows(T()), (std::vector<std::string>{"1|5|\"2020-06-17 00:00:00.0000000\"|\"anders\""}));
  T().Update(id, both);
  EXPECT_EQ(Rows(T()), (std::vector<std::string>{"1|6|\"2020-06-18 00:00:00.0000000\"|\"anders\""}));
  EXPECT_EQ(Findings(*database), "");
  T().Delete(id);
  EXPECT_EQ(InOrderOf("Big") + InOrderOf("When") + InOrderOf("Down"), "");
  EXPECT_EQ(Findings(*database), "");
}

TEST_F(AceValues, StayWhatTheyAreWhileTheirTableChanges) {
  Insert(Value("5"), Value("2020-06-17"));
  const auto before = Rows(T());
  database->AddColumn("T", Column("More", ColumnType::kLong));
  database->AddColumn("T", Column("Memo", ColumnType::kMemo));
  database->DropIndex("T", "Big");
  database->CreateIndex("T", Index("Both", {"Big", "When"}, true));
  EXPECT_EQ(Rows(T()).at(0), before.at(0) + "|NULL|NULL");
  for (const char* name : {"Big", "When"})
    EXPECT_EQ(TextOf([&] { database->AlterColumn("T", Column(name, ColumnType::kDouble)); }),
              "The column \"" + std::string(name) + "\" is of a type that Access 2003 has not: it cannot become another");
  database->DropIndex("T", "Both");
  database->DropColumn("T", "Big");
  EXPECT_EQ(Rows(T()).at(0), "1|\"2020-06-17 00:00:00.0000000\"|\"name\"|NULL|NULL");
  EXPECT_EQ(Findings(*database), "");
}

/// The date is the last column of the row and nothing follows it.
TEST_F(AceWriting, ADateAloneInItsTableIsReadAndWritten) {
  PageNumber page = 0;
  {
    const auto database = world.Create();
    TableSpec spec;
    spec.name = "T";
    spec.columns = {Column("When", ColumnType::kBinary, 42)};
    spec.columns[0].fixedLength = true;
    page = database->CreateTable(spec).DefinitionPage();
  }
  MakeAce(world, 6);
  Retype(world, page, {{0, 20}});
  const auto database = Open();
  Table& table = database->OpenTable("T");
  EXPECT_EQ(table.Columns()[0].size, 27);
  table.Insert(std::vector<Value>{Value("2020-06-17")});
  EXPECT_EQ(Rows(table), (std::vector<std::string>{"\"2020-06-17 00:00:00.0000000\""}));
  EXPECT_EQ(Findings(*database), "");
}

// ----- what Access alone fills

TEST_F(AceWriting, ATableWithACalculatedColumnIsOnlyDeletedFrom) {
  PageNumber page = 0;
  {
    const auto database = world.Create();
    TableSpec spec;
    spec.name = "T";
    spec.columns = {Counter("Id"), Column("Name", ColumnType::kText, 20), Column("Sum", ColumnType::kBinary, 100),
                    Column("Long", ColumnType::kOle)};
    Table& table = database->CreateTable(spec);
    page = table.DefinitionPage();
    Bytes text(5000);
    for (std::size_t i = 20; i + 3 < text.size(); ++i) text[i] = i % 2 == 0 ? std::byte{'x'} : std::byte{0};
    Store32(text.data() + 16, 4976);
    table.Insert(std::vector<Value>{Value(), Value("a"), Value(Wrapped("\x2A\0\0\0"s)), Value(text)});
    table.Insert(std::vector<Value>{Value(), Value("b"), Value(Wrapped("")), Value(Wrapped(""))});
  }
  MakeAce(world, 3);
  Retype(world, page, {{2, 4, 0xC0}, {3, 12, 0xC0}});
  const auto database = Open();
  Table& table = database->OpenTable("T");
  const auto before = Rows(table);
  const std::string why = "its column \"Sum\" is calculated, which Access alone does";
  EXPECT_EQ(TextOf([&] {
              table.Insert(std::vector<Value>{Value(), Value("c"), Value(), Value()});
            }),
            "The table \"T\" takes no rows: " + why);
  const Value name("z");
  const Assignment assignment[] = {{1, &name, nullptr}};
  ScanCursor scan = table.Scan();
  ASSERT_TRUE(scan.Next());
  const RowId first = scan.Id();
  ASSERT_TRUE(scan.Next());
  const RowId second = scan.Id();
  scan.Rest();
  EXPECT_EQ(TextOf([&] { table.Update(first, assignment); }), "The rows of the table \"T\" cannot be changed: " + why);
  for (const auto& change : {std::function<void()>([&] { database->AddColumn("T", Column("More", ColumnType::kLong)); }),
                             std::function<void()>([&] { database->DropColumn("T", "Name"); }),
                             std::function<void()>([&] { database->AlterColumn("T", Column("Name", ColumnType::kText, 30)); })})
    EXPECT_EQ(TextOf(change), "The columns of the table \"T\" cannot be changed: " + why);
  EXPECT_EQ(CodeOf([&] { database->CreateIndex("T", Index("Sum", {"Sum"})); }), ErrorCode::kUnsupported);
  EXPECT_EQ(Rows(table), before);
  table.Delete(first);
  EXPECT_EQ(Findings(*database), "");
  table.Delete(second);
  EXPECT_EQ(Findings(*database), "") << "the long value of a null is gone too";
  database->DropTable("T");
  EXPECT_EQ(Findings(*database), "");
}

TEST_F(AceWriting, TypesThatNobodyKnowsAreKeptAndNotWritten) {
  PageNumber page = 0;
  {
    const auto database = world.Create();
    TableSpec spec;
    spec.name = "T";
    spec.columns = {Counter("Id"), Column("Odd", ColumnType::kBinary, 40), Column("Fixed", ColumnType::kGuid),
                    Column("Name", ColumnType::kText, 20)};
    Table& table = database->CreateTable(spec);
    page = table.DefinitionPage();
    table.Insert(std::vector<Value>{Value(), Value(Bytes(7, std::byte{7})), Value(Guid{{1, 2, 3}}), Value("a")});
  }
  MakeAce(world);
  Retype(world, page, {{1, 70}, {2, 71}});
  const auto database = Open();
  Table& table = database->OpenTable("T");
  auto values = Rows(table);
  ScanCursor scan = table.Scan();
  ASSERT_TRUE(scan.Next());
  const RowId first = scan.Id();
  auto row = *table.Read(first);
  scan.Rest();
  row[3] = Value("b");
  table.Update(first, row);
  values[0].replace(values[0].size() - 2, 1, "b");
  EXPECT_EQ(Rows(table), values);
  table.Insert(std::vector<Value>{Value(), Value(), Value(), Value("c")});
  EXPECT_EQ(Rows(table).at(1), "2|NULL|NULL|\"c\"");
  for (const std::size_t odd : {1, 2}) {
    auto other = row;
    other[odd] = Value(Bytes(3));
    const std::string why =
        std::string("The column \"") + (odd == 1 ? "Odd" : "Fixed") + "\" is of a type that is not known: it is not written";
    EXPECT_EQ(TextOf([&] { table.Update(first, other); }), why);
    other[3 - odd] = Value();
    EXPECT_EQ(TextOf([&] { table.Insert(other); }), why);
    other = row;
    other[odd] = Value();
    EXPECT_EQ(TextOf([&] { table.Update(first, other); }), why);
  }
  EXPECT_EQ(Findings(*database), "");
  table.Delete(first);
  EXPECT_EQ(Findings(*database), "");
}

// ----- columns whose values stand in tables of their own

/// T: Id (counter), Files and Tags (complex), Note (memo) and its history; f_Files, f_Tags and f_History hold their values.
class AceComplex : public AceWriting {
 protected:
  void SetUp() override {
    PageNumber owner = 0, lists[3] = {};
    {
      const auto made = world.Create();
      TableSpec spec;
      spec.name = "T";
      spec.columns = {Counter("Id"), Column("Files", ColumnType::kLong), Column("Tags", ColumnType::kLong),
                      Column("Note", ColumnType::kMemo), Column("History", ColumnType::kLong)};
      spec.indexes = {PrimaryKey("Id"), Index("Files_1", {"Files"}, true), Index("Tags_1", {"Tags"}, true)};
      owner = made->CreateTable(spec).DefinitionPage();
      std::size_t n = 0;
      for (const char* name : {"Files", "Tags", "History"}) {
        TableSpec flat;
        flat.name = "f_" + std::string(name);
        flat.columns = {Column("_" + std::string(name), ColumnType::kLong), Counter("T_" + std::string(name)),
                        Column(n == 2 ? "Note" : "Value", n == 2 ? ColumnType::kMemo : ColumnType::kOle)};
        flat.indexes = {Index("_" + std::string(name), {"_" + std::string(name)})};
        flat.flags = 0x800A0000;
        lists[n++] = made->CreateTable(flat).DefinitionPage();
      }
      TableSpec model = PeopleTable("MSysComplexTypeVH_0123");
      model.flags = 0x80030000;
      const auto modelPage = static_cast<std::int32_t>(made->CreateTable(model).DefinitionPage());
      TableSpec complex;
      complex.name = "MSysComplexColumns";
      complex.columns = {Column("ColumnName", ColumnType::kText, 255), Column("ComplexTypeObjectID", ColumnType::kLong),
                         Column("FlatTableID", ColumnType::kLong), Column("ConceptualTableID", ColumnType::kLong), Counter("ComplexID")};
      complex.flags = 0x80000000;
      Table& known = made->CreateTable(complex);
      for (std::int32_t i = 0; i < 3; ++i)
        known.Insert(std::vector<Value>{Value(i == 0   ? "Files"
                                              : i == 1 ? "Tags"
                                                       : "History"),
                                        Value(i == 2 ? modelPage : 0), Value(static_cast<std::int32_t>(lists[i])),
                                        Value(static_cast<std::int32_t>(owner)), Value(i + 1)});
    }
    MakeAce(world);
    Retype(world, owner, {{1, 18, 0, 1}, {2, 18, 0, 2}, {4, 18, 0x20, 3}});
    for (const PageNumber list : lists) Retype(world, list, {{0, 4, 8}});
    database = Open();
  }
  Table& T() { return database->OpenTable("T"); }
  RowId Insert() { return T().Insert(std::span<const Assignment>{}); }
  void AddValue(const char* table, std::int32_t number, std::size_t size = 5000) {
    const bool text = std::string_view(table) == "f_History";
    database->OpenTable(table).Insert(
        std::vector<Value>{Value(number), Value(), text ? Value(std::string(size, 'n')) : Value(Bytes(size, std::byte{1}))});
  }
  std::uint32_t LastNumber() {
    const auto bytes = world.files.Content("test.accdb");
    return Load32(bytes.data() + T().DefinitionPage() * std::size_t{4096} + 28);
  }
  std::string Counts() {
    std::string text;
    for (const char* name : {"f_Files", "f_Tags", "f_History"}) text += std::to_string(database->OpenTable(name).RowCount()) + " ";
    return text;
  }
  std::unique_ptr<Database> database;
};

TEST_F(AceComplex, ANewRowGetsTheNextNumberInEachOfThem) {
  Insert();
  Insert();
  EXPECT_EQ(Rows(T()), (std::vector<std::string>{"1|1|1|NULL|1", "2|2|2|NULL|2"}));
  EXPECT_EQ(LastNumber(), 2U);
  database->Begin();
  Insert();
  database->Rollback();
  EXPECT_EQ(LastNumber(), 2U);
  T().Delete(Insert());
  const Value key[] = {Value(std::int32_t{4})};
  const RowId last = Insert();
  EXPECT_EQ(Rows(T()).at(2), "4|4|4|NULL|4") << "no number is given twice";
  EXPECT_EQ(T().Seek(T().FindIndex("Files_1").value(), key), last);
  EXPECT_EQ(LastNumber(), 4U);
  EXPECT_EQ(Findings(*database), "");
}

TEST_F(AceComplex, TheirNumbersAreNotWrittenByOthers) {
  const RowId id = Insert();
  const std::string why = "The column \"Files\" holds attachments or several values: they are not written";
  const Value nine(std::int32_t{9}), one(std::int32_t{1}), none;
  const Assignment other[] = {{1, &nine, nullptr}}, same[] = {{1, &one, nullptr}, {2, &one, nullptr}}, empty[] = {{1, &none, nullptr}};
  EXPECT_EQ(TextOf([&] { T().Insert(other); }), why);
  EXPECT_EQ(TextOf([&] { T().Update(id, other); }), why);
  EXPECT_EQ(TextOf([&] { T().Update(id, empty); }), why);
  T().Update(id, same);
  EXPECT_EQ(Rows(T()), (std::vector<std::string>{"1|1|1|NULL|1"}));
}

TEST_F(AceComplex, AMemoThatKeepsItsHistoryIsNotWritten) {
  const RowId id = Insert();
  const Value text("text"), none;
  const Assignment memo[] = {{3, &text, nullptr}}, empty[] = {{3, &none, nullptr}};
  const std::string why = "The column \"Note\" keeps the history of its values: it is not written";
  EXPECT_EQ(TextOf([&] { T().Update(id, memo); }), why);
  EXPECT_EQ(TextOf([&] { T().Insert(memo); }), why);
  T().Update(id, empty);
  T().Insert(empty);
  EXPECT_EQ(T().RowCount(), 2U);
  EXPECT_EQ(Findings(*database), "");
}

TEST_F(AceComplex, ADeletedRowTakesItsValuesWithIt) {
  const RowId first = Insert();
  Insert();
  for (int i = 0; i < 3; ++i) AddValue("f_Files", 1);
  for (int i = 0; i < 2; ++i) AddValue("f_Files", 2);
  AddValue("f_Tags", 1);
  AddValue("f_History", 2);
  EXPECT_EQ(Counts(), "5 1 1 ");
  const auto before = world.files.Content("test.accdb");
  database->Begin();
  T().Delete(first);
  EXPECT_EQ(Counts(), "2 0 1 ");
  database->Rollback();
  EXPECT_EQ(Counts(), "5 1 1 ");
  EXPECT_EQ(world.files.Content("test.accdb"), before);
  T().Delete(first);
  EXPECT_EQ(Counts(), "2 0 1 ");
  EXPECT_EQ(Findings(*database), "");
}

TEST_F(AceComplex, TheirColumnsAreAccessOwn) {
  const std::string why = "\" holds attachments or several values: Access alone makes, changes and drops such columns";
  EXPECT_EQ(TextOf([&] { database->DropColumn("T", "Files"); }), "The column \"Files" + why);
  EXPECT_EQ(TextOf([&] { database->DropColumn("T", "History"); }), "The column \"History" + why);
  EXPECT_EQ(TextOf([&] { database->DropIndex("T", "Files_1"); }), "The column \"Files" + why);
  EXPECT_EQ(TextOf([&] { database->CreateIndex("T", Index("X", {"Tags"})); }), "The column \"Tags" + why);
  EXPECT_EQ(TextOf([&] { database->AlterColumn("T", Column("Tags", ColumnType::kLong)); }), "The column \"Tags" + why);
  EXPECT_EQ(TextOf([&] { database->DropColumn("T", "Note"); }),
            "The column \"Note\" is of a table that keeps the history of its memos: it is not changed");
  Insert();
  database->AddColumn("T", Column("More", ColumnType::kLong));
  EXPECT_EQ(Rows(T()), (std::vector<std::string>{"1|1|1|NULL|1|NULL"}));
  Insert();
  database->DropColumn("T", "More");
  database->AddColumn("T", Column("Else", ColumnType::kText, 10));
  database->RenameTable("T", "U");
  database->OpenTable("U").Insert(std::vector<Value>(6));
  EXPECT_EQ(Rows(database->OpenTable("U")).at(2), "3|3|3|NULL|3|NULL");
  EXPECT_EQ(Findings(*database), "");
}

TEST_F(AceComplex, ADroppedTableTakesTheTablesOfItsValuesWithIt) {
  Insert();
  AddValue("f_Files", 1);
  database->Begin();
  database->DropTable("T");
  database->Rollback();
  EXPECT_EQ(Counts(), "1 0 0 ");
  database->DropTable("T");
  EXPECT_EQ(database->OpenTable("MSysComplexColumns").RowCount(), 0U);
  for (const char* name : {"T", "f_Files", "f_Tags", "f_History", "MSysComplexTypeVH_0123"})
    EXPECT_EQ(database->FindObject(name), nullptr) << name;
  EXPECT_EQ(Findings(*database), "");
  database->CreateTable(PeopleTable("T")).Insert(Person("x"));
  EXPECT_EQ(Findings(*database), "");
}

TEST_F(AceComplex, ValuesWithoutATableAreDamage) {
  const RowId id = Insert();
  Table& known = database->OpenTable("MSysComplexColumns");
  ScanCursor scan = known.Scan();
  ASSERT_TRUE(scan.Next());
  const RowId first = scan.Id();
  scan.Rest();
  known.Delete(first);
  EXPECT_EQ(CodeOf([&] { T().Delete(id); }), ErrorCode::kDamaged);
  EXPECT_EQ(TextOf([&] { T().Delete(id); }).substr(0, 46), "The values of the column \"Files\" have no table");
  EXPECT_EQ(T().RowCount(), 1U);
}

}  // namespace
}  // namespace jet::tests

// A database described becomes an Access file, and reads back as it was described.
#include "schema/MakeAccess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Error.h"
#include "jet/sql/run/StoredParts.h"
#include "jet/table/Table.h"
#include "schema/ReadAccess.h"
#include "tests/schema/Told.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {
namespace {

using schema::Column;
using schema::Kind;
using testing::ElementsAre;
using testing::IsEmpty;

Column Of(const std::string& name, schema::Type type) {
  Column column;
  column.name = name;
  column.type = type;
  return column;
}

Column Plain(const std::string& name, Kind kind, int length = 0) { return Of(name, {.kind = kind, .length = length}); }

schema::Index On(const std::string& name, std::vector<std::string> columns, bool unique = false) {
  schema::Index index;
  index.name = name;
  index.unique = unique;
  for (auto& column : columns) index.parts.push_back({std::move(column)});
  return index;
}

schema::Table Named(const std::string& name, std::vector<Column> columns = {}) {
  schema::Table table;
  table.name = name;
  table.columns = std::move(columns);
  return table;
}

std::vector<std::string> Renamed(const schema::AccessPlan& plan) {
  std::vector<std::string> lines;
  for (const auto& renaming : plan.renamings)
    lines.push_back((renaming.table.empty() ? "" : renaming.table + ".") + renaming.from + " > " + renaming.to);
  return lines;
}

/// The plan of a database with one column of that type.
schema::AccessPlan PlanOf(Column column) {
  schema::Database database;
  database.tables.push_back(Named("T", {std::move(column)}));
  return PlanAccess(database, schema::Expressions::kForeign);
}

class MakeAccess : public testing::Test {
 protected:
  /// Makes it in a new file, with nothing between the steps, and reads it again.
  schema::Database MadeOf(const schema::AccessPlan& plan) {
    const auto file = jet::Database::Create(folder_.File("new.mdb"));
    schema::AccessTarget target(*file, plan);
    target.MakeTables();
    EXPECT_THAT(Told(target.Finish()), IsEmpty());
    EXPECT_TRUE(file->Check().empty());
    return schema::ReadAccess(*file);
  }
  TemporaryFolder folder_;
};

TEST_F(MakeAccess, EverythingThatTheDescriptionSaysComesBack) {
  using schema::Default;
  schema::Database database;
  schema::Table table = Named("Détail / \"x\"");
  table.rule = "[A]<[B]";
  table.comment = std::string(300, 'c');
  table.columns = {Plain("Id", Kind::kLong),      Plain("A", Kind::kByte),        Plain("B", Kind::kShort),  Plain("C", Kind::kSingle),
                   Plain("D", Kind::kDouble),     Plain("E", Kind::kCurrency),    Plain("F", Kind::kMoment), Plain("G", Kind::kText, 255),
                   Plain("H", Kind::kMemo),       Plain("I", Kind::kBinary, 510), Plain("J", Kind::kBlob),   Plain("K", Kind::kGuid),
                   Plain("Vrai", Kind::kBoolean), Plain("Dec", Kind::kDecimal)};
  auto& columns = table.columns;
  columns[0].counter = schema::Counter{schema::Counter::Kind::kIncrement, -41};
  columns[1].required = true;
  columns[2].initial = {Default::Kind::kNumber, "-1.5"};
  columns[6].initial = {Default::Kind::kMoment, "2020-01-31 04:05:06"};
  columns[7].initial = {Default::Kind::kText, "O\"Brien's"};
  columns[7].allowEmpty = false;
  columns[8].hyperlink = true;
  columns[8].initial = {Default::Kind::kUnknown, "Forms!x"};
  columns[10].comment = "a comment";
  columns[5].rule = ">0";
  columns[11].counter = schema::Counter{schema::Counter::Kind::kGuid, 0};
  columns[12].required = true;
  columns[12].initial = {Default::Kind::kTruth, "1"};
  columns[13].type = {.kind = Kind::kDecimal, .precision = 28, .scale = 10};
  table.indexes = {On("Bas", {"B", "G"}), On("PrimaryKey", {"Id"}, true), On("Unique", {"H"}, true)};
  table.indexes[0].parts[0].descending = true;
  table.indexes[0].ignoreNulls = true;
  table.indexes[1].primary = table.indexes[1].required = true;
  database.tables.push_back(table);
  // Circles: of two tables, and of one.
  schema::Table other = Named("Other", {Plain("Id", Kind::kLong)});
  other.columns[0].counter = schema::Counter{schema::Counter::Kind::kRandom, 0};
  other.indexes = {On("Key", {"Id"}, true)};
  database.tables.push_back(other);
  database.relations = {
      {"There", "Détail / \"x\"", "Other", {{"Id", "Id"}}, true, true, true, false},
      {"back", "Other", "Détail / \"x\"", {{"Id", "Id"}}, true, false, false, true},
      {"itself", "Other", "Other", {{"Id", "Id"}}, true, false, true, true},
      {"loose", "Other", "Other", {{"Id", "Id"}}, false, false, false, false},
  };
  database.queries = {{"Q", jet::sql::StatementOf(jet::sql::DesignOf("SELECT Id FROM Other").parts, "Q", false), {}, {}}};
  database.links = {{"L", "/tmp/other.MDB", "T"}};
  std::swap(database.relations[0], database.relations[1]);  // by their names without regard to case, as they are read
  std::swap(database.relations[1], database.relations[2]);
  std::swap(database.relations[2], database.relations[3]);
  const auto plan = PlanAccess(database, schema::Expressions::kAccess);
  EXPECT_THAT(Told(plan.findings), IsEmpty());
  EXPECT_EQ(Told(plan.there), Told(database));
  auto made = MadeOf(plan);
  EXPECT_EQ(Told(made), Told(database));
}

TEST_F(MakeAccess, NamesThatAccessCannotHoldAreChangedAndTold) {
  schema::Database database;
  const std::string longName(70, 'n');
  const std::string emoji = "\U0001F600";
  std::string emojis;
  for (int i = 0; i < 40; ++i) emojis += emoji;
  schema::Table table = Named("a.b!c[d]");
  table.columns = {Plain(longName, Kind::kLong),
                   Plain(longName + "x", Kind::kLong),
                   Plain("é", Kind::kLong),
                   Plain("É", Kind::kLong),
                   Plain(" x", Kind::kLong),
                   Plain("", Kind::kLong),
                   Plain("ok / 'x' \"y\"", Kind::kLong),
                   Plain(emojis, Kind::kLong)};
  table.indexes = {On("i.1", {"É", longName + "x"}), On("rel", {"é"})};
  database.tables = {table, Named("~t", {Plain("A", Kind::kLong)}), Named("A_B_C_D_", {Plain("A", Kind::kLong)}),
                     Named("msysobjects", {Plain("A", Kind::kLong)})};
  database.tables[1].indexes = {On("k", {"A"}, true)};
  database.relations = {{"REL", "a.b!c[d]", "~T", {{" x", "a"}}}};
  const auto plan = PlanAccess(database, schema::Expressions::kForeign);
  const std::string cut(64, 'n');
  std::string cutEmojis;
  for (int i = 0; i < 32; ++i) cutEmojis += emoji;
  EXPECT_THAT(Renamed(plan),
              ElementsAre("a.b!c[d] > a_b_c_d_", "~t > _t", "A_B_C_D_ > A_B_C_D__2", "msysobjects > msysobjects_2",
                          "a.b!c[d]." + longName + " > " + cut, "a.b!c[d]." + longName + "x > " + std::string(62, 'n') + "_2",
                          "a.b!c[d].É > É_2", "a.b!c[d]. x > _ x", "a.b!c[d]. > _", "a.b!c[d]." + emojis + " > " + cutEmojis,
                          "a.b!c[d].i.1 > i_1", "a.b!c[d].rel > rel_2"));
  EXPECT_THAT(Told(plan.findings), IsEmpty());
  auto made = MadeOf(plan);
  ASSERT_EQ(made.tables.size(), 4u);
  const auto& back = *std::find_if(made.tables.begin(), made.tables.end(), [](const auto& held) { return held.name == "a_b_c_d_"; });
  EXPECT_EQ(back.indexes[0].parts[0].column, "É_2");
  EXPECT_EQ(back.indexes[0].parts[1].column, std::string(62, 'n') + "_2");
  ASSERT_EQ(made.relations.size(), 1u);
  EXPECT_EQ(made.relations[0].columns[0], (std::pair<std::string, std::string>("_ x", "A")));
  EXPECT_EQ(made.relations[0].referenced, "_t");
}

struct TypeCase {
  schema::Type from;
  schema::Type to;
  std::string finding;
};

TEST(AccessPlan, TypesThatAccessHasNotBecomeWiderOnesAndAreTold) {
  const std::vector<TypeCase> cases = {
      {{Kind::kBig}, {Kind::kDecimal, 0, 19, 0}, "has 64 bits: becomes a Decimal of 19 digits"},
      {{Kind::kBoolean}, {Kind::kShort}, "may be null, which Yes/No cannot: becomes an Integer"},
      {{Kind::kText, 256}, {Kind::kMemo}, "is longer than 255 characters: becomes a Memo"},
      {{Kind::kText, 0}, {Kind::kMemo}, "is longer than 255 characters: becomes a Memo"},
      {{Kind::kText, 255}, {Kind::kText, 255}, ""},
      {{Kind::kBinary, 511}, {Kind::kBlob}, "is longer than 510 bytes: becomes an OLE object"},
      {{Kind::kDecimal, 0, 28, 28}, {Kind::kDecimal, 0, 28, 28}, ""},
      {{Kind::kDecimal, 0, 38, 4}, {Kind::kDecimal, 0, 28, 4}, "has 38 digits: becomes a Decimal of 28, and longer numbers are refused"},
      {{Kind::kDecimal, 0, 0, 0}, {Kind::kText, 255}, "has no digits of a Decimal: its numbers become texts"},
      {{Kind::kDecimal, 0, 38, 30}, {Kind::kText, 255}, "has no digits of a Decimal: its numbers become texts"},
  };
  for (const auto& one : cases) {
    const auto plan = PlanOf(Of("C", one.from));
    EXPECT_EQ(plan.there.tables[0].columns[0].type, one.to) << one.finding;
    const std::vector<std::string> expected = one.finding.empty() ? std::vector<std::string>() : std::vector{"T.C: " + one.finding};
    EXPECT_EQ(Told(plan.findings), expected);
  }
}

TEST(AccessPlan, CountersAreLongsOrPlainNumbers) {
  const auto counting = [](Kind kind, std::int64_t next, schema::Counter::Kind counter = schema::Counter::Kind::kIncrement) {
    Column column = Plain("C", kind);
    column.counter = schema::Counter{counter, next};
    return PlanOf(column);
  };
  const auto big = counting(Kind::kBig, 42);
  EXPECT_EQ(big.there.tables[0].columns[0].type.kind, Kind::kLong);
  EXPECT_EQ(big.there.tables[0].columns[0].counter->next, 42);
  EXPECT_THAT(Told(big.findings), ElementsAre("T.C: counts, which only a Long does: becomes one"));
  EXPECT_TRUE(counting(Kind::kLong, 2147483648).there.tables[0].columns[0].counter)
      << "the last number is given: the next would be refused";
  const auto beyond = counting(Kind::kBig, 2147483649);
  EXPECT_FALSE(beyond.there.tables[0].columns[0].counter);
  EXPECT_EQ(beyond.there.tables[0].columns[0].type, (schema::Type{Kind::kDecimal, 0, 19, 0}));
  EXPECT_THAT(Told(counting(Kind::kText, 0, schema::Counter::Kind::kGuid).findings),
              testing::Contains("T.C: makes no GUIDs in Access, for it is none"));
}

TEST(AccessPlan, WhatIsWrittenInAnotherLanguageIsLeftOffAndTold) {
  schema::Database database;
  database.tables.push_back(Named("T", {Plain("C", Kind::kLong)}));
  database.tables[0].rule = "a <> b";
  database.tables[0].columns[0].rule = "c::int > 0";
  database.tables[0].columns[0].initial = {schema::Default::Kind::kUnknown, "nextval('x')"};
  database.queries = {{"Q", "SELECT 1", {}, {}}};
  const auto plan = PlanAccess(database, schema::Expressions::kForeign);
  EXPECT_THAT(Told(plan.findings),
              ElementsAre("T.C: the default nextval('x') has no equivalent in Access and is left off", "T: the rule a <> b is left off",
                          "T.C: the rule c::int > 0 is left off", ": the query Q is left off: is no statement of Access"));
  EXPECT_EQ(plan.there.tables[0].columns[0].initial, schema::Default{});
  EXPECT_EQ(plan.there.tables[0].rule + plan.there.tables[0].columns[0].rule, "");
  EXPECT_TRUE(plan.there.queries.empty());
}

TEST(AccessPlan, LimitsAreKnownBeforeAnythingIsMade) {
  schema::Database database;
  schema::Table wide = Named("Wide");
  for (int i = 0; i < 256; ++i) wide.columns.push_back(Plain("C" + std::to_string(i), Kind::kText, 1));
  schema::Table heavy = Named("Heavy");
  for (int i = 0; i < 240; ++i) heavy.columns.push_back(Of("C" + std::to_string(i), {Kind::kDecimal, 0, 28, 0}));
  schema::Table many = Named("Many", {Plain("C", Kind::kLong)});
  many.rows = 300'000'000;
  schema::Table keys = Named("Keys", {Plain("C", Kind::kLong)});
  for (int i = 0; i < 33; ++i) keys.indexes.push_back(On("U" + std::to_string(i), {"C"}, true));
  database.tables = {wide, heavy, many, keys, Named("None")};
  const auto plan = PlanAccess(database, schema::Expressions::kForeign);
  EXPECT_THAT(Told(plan.refusals), ElementsAre("Wide: has 256 columns; a table in Access has at most 255",
                                               "Heavy: has numbers and dates of 4080 bytes in a row, of which Access holds 4000",
                                               "Many: has 300000000 rows, which are more than 2 GB: no Access file holds them",
                                               "None: has no columns, which no table in Access is without",
                                               "Keys: needs 33 indexes with those of its relations; Access has 32"));
  const TemporaryFolder folder;
  const auto file = jet::Database::Create(folder.File("x.mdb"));
  EXPECT_THROW(schema::AccessTarget(*file, plan), base::Error);
}

TEST_F(MakeAccess, KeysThatAccessCannotHoldAreToldOneByOne) {
  schema::Database database;
  schema::Table table = Named("T");
  std::vector<std::string> eleven;
  for (int i = 0; i < 11; ++i) {
    table.columns.push_back(Plain("C" + std::to_string(i), Kind::kLong));
    eleven.push_back("C" + std::to_string(i));
  }
  table.columns.push_back(Plain("B", Kind::kBlob));
  table.columns.push_back(Plain("Txt", Kind::kText, 5));
  table.indexes = {On("eleven", eleven), On("bytes", {"B"}), On("gone", {"lower(x)"}), On("twice", {"C1", "c1"}),
                   On("pair", {"C2", "C1"}, true)};
  for (int i = 0; i < 40; ++i) table.indexes.push_back(On("n" + std::to_string(i), {"C3"}));
  table.indexes.push_back(On("r1", {"C0"}));
  database.tables.push_back(table);
  database.relations = {{"r1", "T", "T", {{"C0", "C1"}}},
                        {"r2", "T", "T", {{"C3", "C1"}, {"C4", "C2"}}},
                        {"r3", "T", "T", {{"Txt", "C2"}}},
                        {"r4", "T", "Elsewhere", {{"Txt", "C2"}}}};
  const auto plan = PlanAccess(database, schema::Expressions::kForeign);
  const auto told = Told(plan.findings);
  const std::vector<std::string> first(told.begin(), told.begin() + 8);
  EXPECT_THAT(first, ElementsAre("T: the index eleven has 11 columns; Access takes 1 to 10, and is left off",
                                 "T: the index bytes is on \"B\", an OLE object, which Access does not index, and is left off",
                                 "T: the index gone is on something else than columns of the table, and is left off",
                                 "T: the index twice has the column \"C1\" twice, and is left off",
                                 "T: the relation r1 is kept but not enforced: \"T\" has no unique index on exactly what it refers to",
                                 "T: the relation r2 has its columns in the order of the index that it refers to",
                                 "T: the relation r3 is kept but not enforced: \"Txt\" and \"C2\" are of different types in Access",
                                 "T: the relation r4 to Elsewhere is left off: not both are tables with its columns"));
  EXPECT_EQ(told.back(), "T: the index n30 is left off: a table in Access has 32 with those of its relations");
  const auto made = MadeOf(plan);
  EXPECT_EQ(Told(made), Told(plan.there));
  EXPECT_EQ(made.relations[1].columns, (std::vector<std::pair<std::string, std::string>>{{"C4", "C2"}, {"C3", "C1"}}));
}

TEST_F(MakeAccess, WhatTheRowsDoNotAllowIsToldAndTheOthersAreMade) {
  schema::Database database;
  schema::Table parent = Named("P");
  parent.columns = {Plain("Id", Kind::kLong), Plain("N", Kind::kText, 5)};
  parent.columns[1].required = true;
  parent.columns[1].allowEmpty = false;
  parent.indexes = {On("key", {"Id"}, true), On("names", {"N"}, true)};
  parent.indexes[0].primary = true;
  database.tables = {parent, Named("C", {Plain("Id", Kind::kLong)})};
  database.relations = {{"r", "C", "P", {{"Id", "Id"}}, true, false, true, true}, {"s", "P", "C", {{"Id", "Id"}}, false}};
  const auto plan = PlanAccess(database, schema::Expressions::kForeign);
  ASSERT_THAT(Told(plan.findings), IsEmpty());
  const auto file = jet::Database::Create(folder_.File("new.mdb"));
  schema::AccessTarget target(*file, plan);
  target.MakeTables();
  // The source's rows are older than its rules: they come in all the same.
  auto& rows = file->OpenTable("P");
  rows.Insert(std::vector<jet::Value>{jet::Value(std::int32_t{1}), jet::Value("")});
  rows.Insert(std::vector<jet::Value>{jet::Value(std::int32_t{2}), jet::Value("")});
  rows.Insert(std::vector<jet::Value>{jet::Value(std::int32_t{3}), jet::Value()});
  file->OpenTable("C").Insert(std::vector<jet::Value>{jet::Value(std::int32_t{9})});
  EXPECT_THAT(
      Told(target.Finish()),
      ElementsAre("P: the index names is left off: The table \"P\" has rows with equal values: no unique index can be made",
                  "C: the relation r is kept but not enforced: The table \"C\" has rows without the row of \"P\" that they refer to"));
  const auto made = schema::ReadAccess(*file);
  ASSERT_EQ(made.relations.size(), 2u);
  EXPECT_FALSE(made.relations[0].enforced);
  ASSERT_EQ(made.tables[1].indexes.size(), 1u);
  EXPECT_EQ(made.tables[1].rows, 3u);
  // From here on the rules hold.
  EXPECT_THROW(rows.Insert(std::vector<jet::Value>{jet::Value(std::int32_t{4}), jet::Value("")}), jet::Error);
  EXPECT_THROW(rows.Insert(std::vector<jet::Value>{jet::Value(std::int32_t{4}), jet::Value()}), jet::Error);
  // A step that was broken off is done again.
  target.MakeTables();
  (void)target.Finish();
  EXPECT_EQ(Told(schema::ReadAccess(*file)), Told(made));
  target.Drop(0);
  EXPECT_FALSE(target.IsThere(0));
  EXPECT_TRUE(target.IsThere(1));
  EXPECT_TRUE(file->Relationships().empty());
  EXPECT_TRUE(file->Check().empty());
}

}  // namespace
}  // namespace tamlo::tests

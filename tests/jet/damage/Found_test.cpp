// What changed files have brought to light, each made by hand.

#include <gtest/gtest.h>

#include "jet/schema/Engine.h"
#include "jet/table/TableDefinition.h"
#include "tests/jet/damage/Exercise.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

/// Changes a table's definition in the file behind the engine's back.
template <typename Change>
void ChangeDefinition(World& world, const std::string& table, Change change) {
  const auto database = world.Open();
  Pager& pager = *database->Internals().pager;
  database->Begin();
  TableDefinition definition = TableDefinition::Read(pager, database->OpenTable(table).DefinitionPage(), 0);
  change(definition);
  definition.Write(pager);
  database->Commit();
}

TEST(FoundDamage, CounterFlagsOnColumnsOfOtherTypesCountNothing) {
  World world;
  world.Create()->CreateTable(PeopleTable());
  ChangeDefinition(world, "People", [](TableDefinition& definition) {
    for (auto& column : definition.columns) {
      if (column.name != "Id") column.flags |= TableDefinition::Column::kAutoLong | TableDefinition::Column::kAutoGuid;
    }
  });
  const auto database = world.Open();
  Table& people = database->OpenTable("People");
  const Value note("only the note");
  const Assignment assignment{2, &note, nullptr};
  const RowId id = people.Insert(std::span(&assignment, 1));
  people.Update(id, std::span(&assignment, 1));
  people.Insert(Person("Ada"));
  EXPECT_EQ(Rows(people), (std::vector<std::string>{"1|NULL|\"only the note\"|False|NULL", "2|\"Ada\"|\"note\"|False|0"}));
  EXPECT_EQ(Findings(*database), "");
}

/// Columns whose type is said to be another one, one after the other.
void WithEveryColumnOfEveryType(const std::string& table) {
  World world;
  {
    const auto database = world.Create();
    Table& people = database->CreateTable(PeopleTable());
    for (int i = 0; i < 5; ++i) people.Insert(Person("person " + std::to_string(i), std::string(i == 3 ? 5000 : 20, 'n'), true, i));
  }
  const std::vector<std::byte> sound = world.files.Content("test.mdb");
  const std::size_t columns = world.Open()->OpenTable(table).Columns().size();
  std::size_t errors = 0;
  for (std::size_t column = 0; column < columns; ++column) {
    for (std::uint8_t type = 1; type <= 17; ++type) {
      SCOPED_TRACE("column " + std::to_string(column) + " of type " + std::to_string(type));
      World damaged;
      damaged.files.SetContent("test.mdb", sound);
      ChangeDefinition(damaged, table,
                       [&](TableDefinition& definition) { definition.columns[column].type = static_cast<ColumnType>(type); });
      const Outcome outcome = UseEverything(damaged.files.Content("test.mdb"));
      EXPECT_EQ(outcome.unplaced, "");
      errors += outcome.errors;
    }
  }
  EXPECT_GT(errors, 100u);
}

TEST(FoundDamage, ColumnsOfTheCatalogOfAnyTypeEndInErrors) { WithEveryColumnOfEveryType("MSysObjects"); }

TEST(FoundDamage, ColumnsOfATableOfAnyTypeEndInErrors) { WithEveryColumnOfEveryType("People"); }

}  // namespace
}  // namespace jet::tests

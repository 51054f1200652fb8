#include "jet/table/PropertyMap.h"

#include <gtest/gtest.h>

#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

TEST(PropertyMap, EncodesWhatItDecodes) {
  PropertyMap map;
  map.Set("", {"Description", ColumnType::kMemo, Value("Les clients"), false});
  map.Set("Nom", {"Required", ColumnType::kBoolean, Value(true), true});
  map.Set("Nom", {"ColumnWidth", ColumnType::kInteger, Value(std::int16_t{-1}), false});
  map.Set("Été", {"Required", ColumnType::kBoolean, Value(false), true});
  const PropertyMap back = PropertyMap::Decode(map.Encode(), 0);
  EXPECT_EQ(back.Encode(), map.Encode());
  EXPECT_EQ(back.Find("", "description")->value, Value("Les clients"));
  EXPECT_TRUE(back.Truth("NOM", "REQUIRED"));
  EXPECT_FALSE(back.Truth("été", "Required"));
  EXPECT_EQ(back.Of("Nom").size(), 2u);
  EXPECT_TRUE(PropertyMap().Encode().empty());
}

TEST(PropertyMap, DamagedMapsAreErrorsAtEveryLength) {
  PropertyMap map;
  map.Set("Nom", {"Required", ColumnType::kBoolean, Value(true), true});
  const Bytes whole = map.Encode();
  int damaged = 0;
  for (std::size_t size = 1; size < whole.size(); ++size)
    if (CodeOf([&] { (void)PropertyMap::Decode(std::span(whole).first(size), 0); }) == ErrorCode::kDamaged) ++damaged;
  EXPECT_GT(damaged, 20);
}

TEST(PropertyMap, IsKeptWithTheObject) {
  World world;
  world.Create()->CreateTable(PeopleTable());
  {
    const auto database = world.Open();
    database->SetProperty("people", "name", {"Caption", ColumnType::kMemo, Value("Nom"), false});
    database->SetProperty("people", "", {"Description", ColumnType::kMemo, Value(std::string(9000, 'd')), false});
    database->SetProperty("people", "Name", {"Required", ColumnType::kBoolean, Value(true), true});
  }
  const auto database = world.Open();
  EXPECT_EQ(database->Properties("People", "Name")[1].value, Value("Nom"));
  EXPECT_EQ(database->Properties("People")[0].value, Value(std::string(9000, 'd')));
  EXPECT_TRUE(database->OpenTable("People").Columns()[1].required);
  database->RemoveProperty("People", "Name", "required");
  EXPECT_FALSE(database->OpenTable("People").Columns()[1].required);
  EXPECT_EQ(Findings(*database), "");
}

}  // namespace
}  // namespace jet::tests

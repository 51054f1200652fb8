#include "ui/Growth.h"

#include <gtest/gtest.h>

namespace tamlo::ui {
namespace {

TEST(FindGrowth, IsNoneWhereEverythingFits) {
  const Growth growth = FindGrowth(3, [](const Growth&) { return true; });
  EXPECT_EQ(growth.places, 1);
  EXPECT_EQ(growth.texts, 1);
}

TEST(FindGrowth, IsTheSmallestThatFits) {
  const Growth growth = FindGrowth(3, [](const Growth& tried) { return tried.places >= 1.5; });
  EXPECT_EQ(growth.places, 1.5);
  EXPECT_EQ(growth.texts, 1);
}

TEST(FindGrowth, WhereTheScreenEndsTheTextsShrink) {
  const Growth growth = FindGrowth(2, [](const Growth& tried) { return tried.places / tried.texts >= 4; });
  EXPECT_EQ(growth.places, 2);
  EXPECT_EQ(growth.texts, 0.5);
}

TEST(FindGrowth, EndsWhereNothingHelpsAndNeverMakesPlacesSmaller) {
  const Growth growth = FindGrowth(0.5, [](const Growth&) { return false; });
  EXPECT_EQ(growth.places, 1);
  EXPECT_EQ(growth.texts, 0.25);
}

}  // namespace
}  // namespace tamlo::ui

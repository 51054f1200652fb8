#include "base/Captured.h"

#include <gtest/gtest.h>

namespace tamlo::base {
namespace {

using Parts = std::vector<std::string_view>;

TEST(Captured, EachMarkGivesTheShortestText) {
  EXPECT_EQ(Captured("a of b of c", "* of *"), (Parts{"a", "b of c"}));
  EXPECT_EQ(Captured("\"T\" has 3 rows", "\"*\" has * rows"), (Parts{"T", "3"}));
  EXPECT_EQ(Captured("\"\" has  rows", "\"*\" has * rows"), (Parts{"", ""}));
  EXPECT_EQ(Captured("1-2", "@-~", "@~"), (Parts{"1", "2"}));
  EXPECT_EQ(Captured("plain", "plain"), Parts{});
}

TEST(Captured, WhatDoesNotFitIsNothing) {
  EXPECT_EQ(Captured("a of b", "* or *"), std::nullopt);
  EXPECT_EQ(Captured("plain text", "plain"), std::nullopt);
  EXPECT_EQ(Captured("x rows!", "* rows"), std::nullopt);
  EXPECT_EQ(Captured("", "*x"), std::nullopt);
  EXPECT_EQ(Captured("a*b", "a*b", "@"), Parts{});
}

}  // namespace
}  // namespace tamlo::base

#include "jet/page/PagesInUse.h"

#include <gtest/gtest.h>

namespace jet::tests {
namespace {

TEST(PagesInUse, NamesTheOwnerAndASecondOne) {
  PagesInUse pages(10);
  const auto table = pages.AddOwner("the table \"A\"");
  const auto other = pages.AddOwner("the table \"B\"");
  EXPECT_EQ(pages.OwnerOf(3), nullptr);
  pages.Claim(3, table);
  ASSERT_NE(pages.OwnerOf(3), nullptr);
  EXPECT_EQ(*pages.OwnerOf(3), "the table \"A\"");
  EXPECT_EQ(pages.SecondOwnerOf(3), nullptr);
  pages.Claim(3, other);
  EXPECT_EQ(*pages.OwnerOf(3), "the table \"A\"") << "who came first";
  ASSERT_NE(pages.SecondOwnerOf(3), nullptr);
  EXPECT_EQ(*pages.SecondOwnerOf(3), "the table \"B\"");
}

TEST(PagesInUse, APageThatOneOwnerNamesTwiceIsAQuarrelButForPagesOfMaps) {
  PagesInUse pages(10);
  const auto table = pages.AddOwner("the table \"A\"");
  pages.Claim(1, PagesInUse::kUsageMaps);
  pages.Claim(1, PagesInUse::kUsageMaps);
  EXPECT_EQ(pages.SecondOwnerOf(1), nullptr);
  pages.Claim(2, table);
  pages.Claim(2, table);
  EXPECT_NE(pages.SecondOwnerOf(2), nullptr);
}

TEST(PagesInUse, KnowsTheLowestPageBehindTheEnd) {
  PagesInUse pages(10);
  EXPECT_EQ(pages.FirstOutside(), 0u);
  pages.Claim(14, PagesInUse::kUsageMaps);
  pages.Claim(10, PagesInUse::kUsageMaps);
  pages.Claim(12, PagesInUse::kUsageMaps);
  EXPECT_EQ(pages.FirstOutside(), 10u);
  EXPECT_TRUE(pages.Complete());
}

TEST(PagesInUse, WhatCouldNotBeReadMakesItIncomplete) {
  PagesInUse pages(10);
  pages.NoteUnread(4);
  EXPECT_FALSE(pages.Complete());
  EXPECT_EQ(pages.FirstOutside(), 0u);
  pages.NoteUnread(11);
  EXPECT_EQ(pages.FirstOutside(), 11u);
}

TEST(PagesInUse, FollowsPagesThatAreTakenAndGivenBack) {
  PagesInUse pages(2);
  pages.Take(5);
  ASSERT_NE(pages.OwnerOf(5), nullptr);
  EXPECT_EQ(*pages.OwnerOf(5), "what was written since");
  EXPECT_EQ(pages.OwnerOf(4), nullptr);
  EXPECT_EQ(pages.PageCount(), 6u);
  pages.Release(5);
  EXPECT_EQ(pages.OwnerOf(5), nullptr);
}

}  // namespace
}  // namespace jet::tests

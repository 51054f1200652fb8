#include "jet/page/UsageMap.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

#include "jet/page/DataPage.h"
#include "jet/schema/Engine.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

class UsageMapTest : public testing::Test {
 protected:
  UsageMapTest() : database_(world_.Create()), pager_(*database_->Internals().pager) {
    database_->Begin();
    const PageRef page = pager_.Allocate();
    where_ = Pack({page.Number(), static_cast<std::uint8_t>(DataPageEditor::Format(page, 0).AddZeros(69))});
  }
  ~UsageMapTest() override { database_->Rollback(); }
  void Grow(PageNumber pages) {
    while (pager_.PageCount() < pages) (void)pager_.Allocate();
  }

  World world_;
  std::unique_ptr<Database> database_;
  Pager& pager_;
  PackedPointer where_ = 0;
};

TEST_F(UsageMapTest, HoldsWhatWasAddedInline) {
  UsageMap map(pager_, where_);
  EXPECT_FALSE(map.Contains(3));
  map.Add(3);
  map.Add(511);
  EXPECT_TRUE(map.Contains(3));
  EXPECT_EQ(map.Pages(10000), (std::vector<PageNumber>{3, 511}));
  map.Remove(3);
  EXPECT_EQ(map.NextFrom(0, 10000), 511u);
  EXPECT_TRUE(map.BitmapPages().empty());
}

TEST_F(UsageMapTest, MovesItsStartWhileTheSpanFits) {
  UsageMap map(pager_, where_);
  map.Add(1003);
  map.Add(1400);
  EXPECT_EQ(map.Pages(10000), (std::vector<PageNumber>{1003, 1400}));
  map.Add(950);
  EXPECT_EQ(map.Pages(10000), (std::vector<PageNumber>{950, 1003, 1400}));
  EXPECT_TRUE(map.BitmapPages().empty());
}

TEST_F(UsageMapTest, TurnsToReferencesWhenTheSpanDoesNotFit) {
  UsageMap map(pager_, where_);
  map.Add(10);
  map.Add(2000);
  map.Add(70000);
  EXPECT_EQ(map.BitmapPages().size(), 2u);
  EXPECT_EQ(map.Pages(100000), (std::vector<PageNumber>{10, 2000, 70000}));
  EXPECT_EQ(map.NextFrom(2001, 100000), 70000u);
  EXPECT_EQ(map.NextMissingFrom(10, 100000), 11u);
}

TEST_F(UsageMapTest, BehavesLikeASetUnderRandomWork) {
  UsageMap map(pager_, where_);
  std::set<PageNumber> model;
  std::mt19937 random(1234);
  for (int i = 0; i < 4000; ++i) {
    const PageNumber page = static_cast<PageNumber>(random() % (i < 1000 ? 400 : 100000));
    if (random() % 3 == 0) {
      map.Remove(page);
      model.erase(page);
    } else {
      map.Add(page);
      model.insert(page);
    }
  }
  EXPECT_EQ(map.Pages(200000), std::vector<PageNumber>(model.begin(), model.end()));
  map.Clear();
  EXPECT_TRUE(map.Pages(200000).empty());
}

TEST_F(UsageMapTest, TheFreePageMapOutgrowsItsRow) {
  Grow(1300);
  UsageMap map(pager_, pager_.FreePageMap(), UsageMap::Kind::kFreePages);
  EXPECT_EQ(map.BitmapPages().size(), 1u);
  EXPECT_FALSE(map.Contains(1200));
  EXPECT_FALSE(map.Contains(map.BitmapPages()[0]));
  EXPECT_TRUE(map.Contains(pager_.PageCount()));
  EXPECT_TRUE(map.Contains(1000000));
  pager_.Free(700);
  EXPECT_EQ(map.NextFrom(0, pager_.PageCount()), 700u);
  EXPECT_EQ(pager_.Allocate().Number(), 700u);
}

}  // namespace
}  // namespace jet::tests

#include "jet/table/IndexCursor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <utility>

#include "jet/schema/Engine.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

class IndexCursorTest : public testing::Test {
 protected:
  IndexCursorTest() : database_(world_.Create()) {
    TableSpec spec;
    spec.name = "T";
    spec.columns = {Column("A", ColumnType::kLong), Column("B", ColumnType::kText, 20)};
    IndexSpec descending = Index("Down", {"A"});
    descending.columns[0].descending = true;
    spec.indexes = {Index("AB", {"A", "B"}), descending};
    table_ = &database_->CreateTable(spec);
    database_->Begin();
    for (int i = 0; i < 2000; ++i) {
      const int a = i * 7919 % 2000 / 10;  // ten rows for each of 0..199
      const Value values[] = {a == 5 ? Value() : Value(a), Value("b" + std::to_string(i % 3))};
      table_->Insert(values);
    }
    database_->Commit();
  }
  std::vector<int> Walk(std::size_t index, std::optional<KeyBound> lower, std::optional<KeyBound> upper, bool backward = false) {
    IndexCursor cursor(*table_, index);
    cursor.SetRange(lower, upper, backward);
    std::vector<int> found;
    while (cursor.Next()) {
      const auto row = table_->Read(cursor.Id());
      found.push_back(row->at(0).IsNull() ? -1 : row->at(0).AsLong());
    }
    return found;
  }
  static KeyBound Bound(int a, bool inclusive = true) { return {{Value(a)}, inclusive}; }

  World world_;
  std::unique_ptr<Database> database_;
  Table* table_ = nullptr;
};

TEST_F(IndexCursorTest, WalksAllInOrderWithNullsFirst) {
  const auto all = Walk(0, {}, {});
  ASSERT_EQ(all.size(), 2000u);
  EXPECT_TRUE(std::is_sorted(all.begin(), all.end()));
  EXPECT_EQ(all[9], -1);
  EXPECT_EQ(all[10], 0);
  auto back = Walk(0, {}, {}, true);
  std::reverse(back.begin(), back.end());
  EXPECT_EQ(back, all);
}

TEST_F(IndexCursorTest, BoundsIncludeOrExclude) {
  EXPECT_EQ(Walk(0, Bound(7), Bound(8)).size(), 20u);
  EXPECT_EQ(Walk(0, Bound(7, false), Bound(9, false)), std::vector<int>(10, 8));
  EXPECT_EQ(Walk(0, Bound(7, false), Bound(9, false), true), std::vector<int>(10, 8));
  EXPECT_EQ(Walk(0, Bound(198), {}).size(), 20u);
  EXPECT_EQ(Walk(0, {}, Bound(0)).size(), 20u);  // the nulls too
  EXPECT_EQ(Walk(0, KeyBound{{Value()}, false}, Bound(0)).size(), 10u);
  EXPECT_TRUE(Walk(0, Bound(9), Bound(8)).empty());
  EXPECT_TRUE(Walk(0, Bound(5), Bound(5)).empty());
}

TEST_F(IndexCursorTest, WholeKeysAreBoundsToo) {
  const KeyBound key{{Value(8), Value("B1")}, true};
  const auto equal = Walk(0, key, key);
  EXPECT_FALSE(equal.empty());
  EXPECT_LT(equal.size(), 10u);
  EXPECT_EQ(Walk(0, key, key, true).size(), equal.size());
  KeyBound open = key;
  open.inclusive = false;
  EXPECT_TRUE(Walk(0, open, key).empty());
}

TEST_F(IndexCursorTest, DescendingIndexesCountDown) {
  const auto down = Walk(1, {}, {});
  EXPECT_TRUE(std::is_sorted(down.begin(), down.end(), std::greater<>()));
  EXPECT_EQ(Walk(1, Bound(10), Bound(8, false)), [] {
    std::vector<int> expected(10, 10);
    expected.insert(expected.end(), 10, 9);
    return expected;
  }());
}

TEST_F(IndexCursorTest, TheWalkGoesOnWhileRowsAreDeletedAndRolledBack) {
  IndexCursor cursor(*table_, 0);
  cursor.SetRange({}, {});
  int seen = 0;
  database_->Begin();
  while (cursor.Next()) {
    if (++seen % 2 == 0) table_->Delete(cursor.Id());
    if (seen == 1000) database_->Rollback(), database_->Begin();
  }
  database_->Commit();
  EXPECT_GE(seen, 2000);
  EXPECT_EQ(Findings(*database_), "");
}

TEST_F(IndexCursorTest, EqualKeysAreAllMetWhenTheDefinitionIsReadAgain) {
  for (const bool backward : {false, true}) {
    IndexCursor cursor(*table_, 1);  // ten rows for each key
    cursor.SetRange({}, {}, backward);
    std::set<std::pair<PageNumber, unsigned>> met;
    int steps = 0;
    for (; cursor.Next(); ++steps) {
      met.insert({cursor.Id().page, cursor.Id().slot});
      if (steps % 7 == 3) database_->Internals().pager->ChangeGeneration();
    }
    EXPECT_EQ(steps, 2000);
    EXPECT_EQ(met.size(), 2000u);
  }
}

TEST_F(IndexCursorTest, ANewRangeAfterAChangeOfTheDefinitionBeginsAtItsStart) {
  IndexCursor cursor(*table_, 0);
  cursor.SetRange(Bound(9), {});
  ASSERT_TRUE(cursor.Next());
  cursor.SetRange(Bound(7), Bound(7));
  database_->Internals().pager->ChangeGeneration();
  int steps = 0;
  while (cursor.Next()) ++steps;
  EXPECT_EQ(steps, 10);
}

TEST_F(IndexCursorTest, ABoundOfTheWrongTypeIsAMismatch) {
  EXPECT_EQ(CodeOf([&] { Walk(0, KeyBound{{Value("x")}, true}, {}); }), ErrorCode::kTypeMismatch);
  EXPECT_EQ(CodeOf([&] { Walk(0, KeyBound{{Value(1.5)}, true}, {}); }), ErrorCode::kTypeMismatch);
}

}  // namespace
}  // namespace jet::tests

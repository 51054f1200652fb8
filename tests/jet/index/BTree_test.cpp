#include "jet/index/BTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "jet/index/BTreeCheck.h"
#include "jet/value/Error.h"
#include "jet/index/IndexBuilder.h"
#include "jet/index/KeyCodec.h"
#include "tests/jet/index/KeyText.h"
#include "tests/jet/index/MemoryPages.h"

namespace jet {
namespace {

using tests::Hex;
using tests::MemoryPages;
using tests::PageSet;

constexpr PageNumber kTable = 77;

struct Entry {
  Bytes key;
  RowId row;
  friend auto operator<=>(const Entry&, const Entry&) = default;
};

Bytes LongKey(std::int32_t value, bool descending = false) {
  Bytes key;
  AppendLongKey(value, descending, key);
  return key;
}

Bytes KeyOf(const std::string& bytes) {
  Bytes key;
  for (const char c : bytes) key.push_back(static_cast<std::byte>(c));
  return key;
}

RowId RowNumber(std::uint32_t n) { return {100 + n / 200, static_cast<std::uint8_t>(n % 200)}; }

/// A tree in memory beside the set that it must equal.
class BTreeTest : public testing::Test {
 protected:
  BTreeTest() { pages.pages.insert(tree.Root()); }

  void Insert(const Bytes& key, RowId row) {
    ASSERT_FALSE(tree.Insert(key, row, false));
    ASSERT_TRUE(model.insert({key, row}).second);
  }
  void Erase(const Bytes& key, RowId row) {
    ASSERT_TRUE(tree.Erase(key, row));
    model.erase({key, row});
  }
  void InsertLong(std::int32_t value) { Insert(LongKey(value), RowNumber(static_cast<std::uint32_t>(value))); }
  void EraseLong(std::int32_t value) { Erase(LongKey(value), RowNumber(static_cast<std::uint32_t>(value))); }

  /// Compares everything with the model: the structure, the entries both ways, the pages with those that are in use.
  void Verify() {
    std::vector<Entry> seen;
    const TreeFacts facts = CheckTree(store, tree.Root(), kTable, [&](std::span<const std::byte> key, RowId row) {
      seen.push_back({{key.begin(), key.end()}, row});
    });
    for (const Finding& finding : facts.findings)
      ADD_FAILURE() << "page " << finding.page << " at " << finding.offset << ": " << finding.text;
    ASSERT_TRUE(std::equal(seen.begin(), seen.end(), model.begin(), model.end()));
    ASSERT_EQ(facts.entries, model.size());
    ASSERT_EQ(std::set<PageNumber>(facts.pages.begin(), facts.pages.end()), pages.pages);
    ASSERT_EQ(store.UsedPages(), pages.pages.size());

    BTreeCursor cursor(tree);
    for (const Entry& entry : model) {
      ASSERT_TRUE(cursor.Next());
      ASSERT_TRUE(StandsOn(cursor, entry));
    }
    ASSERT_FALSE(cursor.Next());
    for (auto entry = model.rbegin(); entry != model.rend(); ++entry) {
      ASSERT_TRUE(cursor.Previous());
      ASSERT_TRUE(StandsOn(cursor, *entry));
    }
    ASSERT_FALSE(cursor.Previous());
  }

  static testing::AssertionResult StandsOn(const BTreeCursor& cursor, const Entry& entry) {
    if (std::ranges::equal(cursor.Key(), entry.key) && cursor.Row() == entry.row) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "key " << Hex(cursor.Key()) << " instead of " << Hex(entry.key);
  }

  std::size_t Depth() {
    std::size_t depth = 1;
    for (PageNumber page = tree.Root();; ++depth) {
      const PageRef read = store.Read(page);
      const IndexPageView view(read);
      if (view.IsLeaf()) return depth;
      page = view.Tail();
    }
  }

  MemoryPages store;
  PageSet pages;
  BTree tree{store, BTree::Create(store, kTable), kTable, &pages};
  std::set<Entry> model;
};

TEST_F(BTreeTest, AnEmptyTreeIsOneLeaf) {
  EXPECT_FALSE(tree.Find(LongKey(1)));
  EXPECT_FALSE(tree.Erase(LongKey(1), RowNumber(1)));
  Verify();
  EXPECT_EQ(store.UsedPages(), 1u);
  const std::byte* root = store.Bytes(tree.Root());
  EXPECT_EQ(Hex({root, 8}), "04 01 20 0E 4D 00 00 00");
}

TEST_F(BTreeTest, OneEntryLooksAsTheFormatSaysItDoes) {
  tree.Insert(LongKey(5), {0x123456, 7}, false);
  const std::byte* root = store.Bytes(tree.Root());
  EXPECT_EQ(Hex({root + 480, 9}), "7F 80 00 00 05 12 34 56 07");
  EXPECT_EQ(Hex({root + 27, 3}), "00 02 00");  // one bit at 9
  EXPECT_EQ(Hex({root + 2, 2}), "17 0E");      // 3616 - 9
  EXPECT_EQ(Hex({root + 24, 3}), "00 00 00");
}

TEST_F(BTreeTest, AscendingInsertsLeaveFullPagesBehind) {
  for (int i = 0; i < 20000; ++i) InsertLong(i);
  Verify();
  EXPECT_EQ(Depth(), 2u);
  // 601 entries of 9 bytes fit a page once the first three bytes of all but the first are left out.
  EXPECT_LE(store.UsedPages(), 20000u / 590 + 3);
}

TEST_F(BTreeTest, DescendingInsertsLeaveFullPagesBehind) {
  for (int i = 6000; i > 0; --i) InsertLong(i);
  Verify();
  EXPECT_LE(store.UsedPages(), 6000u / 590 + 3);
}

TEST_F(BTreeTest, ThreeLevelsGrowAndShrinkAgain) {
  // Keys of 60 bytes without anything in common at their front: about 50 to a page.
  std::mt19937 random(7);
  std::vector<Entry> entries;
  for (std::uint32_t i = 0; i < 9000; ++i) {
    Bytes key;
    for (int k = 0; k < 60; ++k) key.push_back(static_cast<std::byte>(random()));
    entries.push_back({key, RowNumber(i)});
  }
  for (const Entry& entry : entries) Insert(entry.key, entry.row);
  EXPECT_EQ(Depth(), 3u);
  Verify();
  std::shuffle(entries.begin(), entries.end(), random);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    Erase(entries[i].key, entries[i].row);
    if (i % 500 == 0 || i + 50 > entries.size()) Verify();
  }
  EXPECT_EQ(store.UsedPages(), 1u);
  EXPECT_EQ(Depth(), 1u);
}

TEST_F(BTreeTest, FourLevelsOfLongKeysStayInOrder) {
  std::mt19937 random(8);
  std::vector<Entry> entries;
  for (std::uint32_t i = 0; i < 900; ++i) {
    Bytes key;
    for (int k = 0; k < 700; ++k) key.push_back(static_cast<std::byte>(random()));
    entries.push_back({key, RowNumber(i)});
  }
  for (const Entry& entry : entries) Insert(entry.key, entry.row);
  EXPECT_GE(Depth(), 4u);
  Verify();
  for (const bool front : {true, false}) {
    for (int i = 0; i < 400; ++i) {
      const Entry entry = front ? *model.begin() : *model.rbegin();
      Erase(entry.key, entry.row);
      if (i % 20 == 0) Verify();
    }
  }
  Verify();
}

TEST_F(BTreeTest, ErasingFromTheFrontFreesPages) {
  for (int i = 0; i < 5000; ++i) InsertLong(i);
  for (int i = 0; i < 5000; ++i) {
    EraseLong(i);
    if (i % 250 == 0) Verify();
  }
  Verify();
  EXPECT_EQ(store.UsedPages(), 1u);
}

TEST_F(BTreeTest, ErasingFromTheBackFreesPages) {
  for (int i = 0; i < 5000; ++i) InsertLong(i);
  for (int i = 4999; i >= 0; --i) {
    EraseLong(i);
    if (i % 250 == 0) Verify();
  }
  EXPECT_EQ(store.UsedPages(), 1u);
}

TEST_F(BTreeTest, EqualKeysAreOrderedByRow) {
  std::vector<std::uint32_t> rows(3000);
  for (std::uint32_t i = 0; i < rows.size(); ++i) rows[i] = i;
  std::shuffle(rows.begin(), rows.end(), std::mt19937(3));
  for (const std::uint32_t row : rows) Insert(LongKey(42), RowNumber(row));
  Verify();
  EXPECT_EQ(tree.Find(LongKey(42)), RowNumber(0));
  EXPECT_FALSE(tree.Find(LongKey(41)));
  EXPECT_TRUE(tree.Contains(LongKey(42), RowNumber(2999)));
  EXPECT_FALSE(tree.Contains(LongKey(42), RowNumber(3000)));
  for (const std::uint32_t row : rows) Erase(LongKey(42), RowNumber(row));
  Verify();
}

TEST_F(BTreeTest, TheSameEntryTwiceIsDamage) {
  tree.Insert(LongKey(1), RowNumber(1), false);
  tree.Insert(LongKey(2), RowNumber(2), false);
  try {
    tree.Insert(LongKey(1), RowNumber(1), false);
    FAIL() << "no error";
  } catch (const Error& error) {
    EXPECT_EQ(error.Code(), ErrorCode::kDamaged);
    EXPECT_STREQ(error.what(), "the index has an entry for this row already (page 1, offset 480)");
  }
}

TEST_F(BTreeTest, UniqueInsertGivesTheRowThatHasTheKey) {
  for (int i = 0; i < 3000; ++i) ASSERT_FALSE(tree.Insert(LongKey(2 * i), RowNumber(static_cast<std::uint32_t>(i)), true));
  const std::uint64_t changes = tree.Changes();
  for (int i = 0; i < 3000; ++i) ASSERT_EQ(tree.Insert(LongKey(2 * i), {9, 9}, true), RowNumber(static_cast<std::uint32_t>(i)));
  EXPECT_EQ(tree.Changes(), changes);
  for (int i = 0; i < 3000; ++i) ASSERT_FALSE(tree.Insert(LongKey(2 * i + 1), {10, 10}, true));
}

TEST_F(BTreeTest, AnotherKeyThatOnlyBeginsAlikeIsNoDuplicate) {
  // The key of the empty binary value is the beginning of all others.
  ASSERT_FALSE(tree.Insert(KeyOf("\x7F"
                                 "abc"),
                           {5, 0}, true));
  ASSERT_FALSE(tree.Insert(KeyOf("\x7F"), {6, 0}, true));
  ASSERT_FALSE(tree.Insert(KeyOf("\x7F"
                                 "a"),
                           {7, 0}, true));
  EXPECT_EQ(tree.Insert(KeyOf("\x7F"), {8, 0}, true), (RowId{6, 0}));
  EXPECT_EQ(tree.Find(KeyOf("\x7F"
                            "a")),
            (RowId{7, 0}));
  model = {{KeyOf("\x7F"), {6, 0}},
           {KeyOf("\x7F"
                  "a"),
            {7, 0}},
           {KeyOf("\x7F"
                  "abc"),
            {5, 0}}};
  Verify();
}

TEST_F(BTreeTest, RightEdgeInsertsTouchOnlyTheLastLeaf) {
  for (int i = 0; i < 1000; ++i) InsertLong(i);
  store.reads = 0;
  store.edited.clear();
  InsertLong(1000);
  EXPECT_EQ(store.reads, 1u);
  EXPECT_EQ(store.edited.size(), 1u);
}

TEST_F(BTreeTest, KeysWithACommonBeginningAreStoredShort) {
  for (int i = 0; i < 2000; ++i)
    Insert(KeyOf(std::string(100, 'x') + std::to_string(100000 + i)), RowNumber(static_cast<std::uint32_t>(i)));
  Verify();
  EXPECT_LE(store.UsedPages(), 20u);  // 110 bytes each without the prefix would be 62 pages
}

TEST_F(BTreeTest, AKeyThatDoesNotShareThePrefixSplitsThePage) {
  for (int i = 0; i < 200; ++i) Insert(KeyOf(std::string(100, 'x') + std::to_string(100000 + i)), RowNumber(static_cast<std::uint32_t>(i)));
  ASSERT_EQ(store.UsedPages(), 1u);
  Insert(KeyOf("a"), {1, 1});
  Verify();
  Insert(KeyOf("z"), {1, 2});
  Insert(KeyOf(std::string(50, 'x') + "a"), {1, 3});
  Verify();
}

TEST_F(BTreeTest, AKeyThatIsTooLongIsRefusedByItsLength) {
  Insert(Bytes(IndexLayout::Of(4096).MostKeyBytes(), std::byte{1}), {1, 1});
  Insert(Bytes(IndexLayout::Of(4096).MostKeyBytes(), std::byte{2}), {1, 2});
  Insert(Bytes(IndexLayout::Of(4096).MostKeyBytes(), std::byte{3}), {1, 3});
  try {
    tree.Insert(Bytes(IndexLayout::Of(4096).MostKeyBytes() + 1, std::byte{1}), {2, 2}, false);
    FAIL() << "no error";
  } catch (const Error& error) {
    EXPECT_EQ(error.Code(), ErrorCode::kLimit);
    EXPECT_STREQ(error.what(), "an index key has 1801 bytes, at most 1800 can be stored");
  }
  Verify();
}

TEST_F(BTreeTest, CursorsSeekByBeginningsOfKeys) {
  const auto two = [](std::int32_t a, std::int32_t b) {
    Bytes key = LongKey(a);
    AppendLongKey(b, false, key);
    return key;
  };
  for (int a = 0; a < 50; ++a) {
    for (int b = 0; b < 40; ++b) Insert(two(2 * a, b), RowNumber(static_cast<std::uint32_t>(40 * a + b)));
  }
  BTreeCursor cursor(tree);
  cursor.SeekBefore(LongKey(20));
  for (int b = 0; b < 40; ++b) {
    ASSERT_TRUE(cursor.Next());
    ASSERT_EQ(Hex(cursor.Key()), Hex(two(20, b)));
  }
  ASSERT_TRUE(cursor.Next());
  EXPECT_EQ(Hex(cursor.Key()), Hex(two(22, 0)));
  cursor.SeekAfter(LongKey(20));
  ASSERT_TRUE(cursor.Previous());
  EXPECT_EQ(Hex(cursor.Key()), Hex(two(20, 39)));
  cursor.SeekBefore(LongKey(21));
  ASSERT_TRUE(cursor.Previous());
  EXPECT_EQ(Hex(cursor.Key()), Hex(two(20, 39)));
  cursor.SeekAfter(LongKey(21));
  ASSERT_TRUE(cursor.Next());
  EXPECT_EQ(Hex(cursor.Key()), Hex(two(22, 0)));
  cursor.SeekAfter(LongKey(98));
  EXPECT_FALSE(cursor.Next());
  cursor.SeekBefore(LongKey(0));
  EXPECT_FALSE(cursor.Previous());
  cursor.SeekLast();
  ASSERT_TRUE(cursor.Previous());
  EXPECT_EQ(Hex(cursor.Key()), Hex(two(98, 39)));
}

TEST_F(BTreeTest, TurningRoundGivesTheSameEntryAgain) {
  for (int i = 0; i < 10; ++i) InsertLong(i);
  BTreeCursor cursor(tree);
  ASSERT_TRUE(cursor.Next());
  ASSERT_TRUE(cursor.Next());
  EXPECT_EQ(Hex(cursor.Key()), Hex(LongKey(1)));
  ASSERT_TRUE(cursor.Previous());
  EXPECT_EQ(Hex(cursor.Key()), Hex(LongKey(1)));
}

TEST_F(BTreeTest, CursorsSeekTheEntryOfARowAmongEqualKeys) {
  for (std::uint32_t i = 0; i < 10; ++i) Insert(LongKey(1), RowNumber(2 * i));
  BTreeCursor cursor(tree);
  cursor.SeekEntry(LongKey(1), RowNumber(6), true);
  ASSERT_TRUE(cursor.Next());
  EXPECT_EQ(cursor.Row(), RowNumber(8));
  cursor.SeekEntry(cursor.Key(), RowNumber(6), false);
  ASSERT_TRUE(cursor.Next());
  EXPECT_EQ(cursor.Row(), RowNumber(6));
  cursor.SeekEntry(cursor.Key(), RowNumber(7), true);
  ASSERT_TRUE(cursor.Next());
  EXPECT_EQ(cursor.Row(), RowNumber(8));
  cursor.SeekEntry(cursor.Key(), RowNumber(7), false);
  ASSERT_TRUE(cursor.Previous());
  EXPECT_EQ(cursor.Row(), RowNumber(6));
}

TEST_F(BTreeTest, CursorsKeepTheirPlaceWhileTheTreeChanges) {
  for (int i = 0; i < 4000; i += 2) InsertLong(i);
  BTreeCursor cursor(tree);
  int expected = 0;
  while (cursor.Next()) {
    ASSERT_EQ(Hex(cursor.Key()), Hex(LongKey(expected)));
    EraseLong(expected);
    if (expected > 100) InsertLong(expected - 51);    // behind the cursor
    if (expected % 8 == 0) InsertLong(expected + 1);  // before the cursor: met next
    expected += expected % 8 == 0 || expected % 2 == 1 ? 1 : 2;
  }
  EXPECT_GE(expected, 3999);
  Verify();
}

TEST_F(BTreeTest, ForgetMakesCursorsLookAgain) {
  for (int i = 0; i < 100; ++i) InsertLong(i);
  const std::vector<std::byte> before(store.Bytes(tree.Root()), store.Bytes(tree.Root()) + 4096);
  InsertLong(1000);
  BTreeCursor cursor(tree);
  cursor.SeekLast();
  ASSERT_TRUE(cursor.Previous());
  std::copy(before.begin(), before.end(), store.Bytes(tree.Root()));  // as a rollback does
  tree.Forget();
  EXPECT_FALSE(cursor.Next());
  ASSERT_TRUE(cursor.Previous());
  EXPECT_EQ(Hex(cursor.Key()), Hex(LongKey(99)));
}

TEST_F(BTreeTest, ClearLeavesAnEmptyRoot) {
  for (int i = 0; i < 5000; ++i) InsertLong(i);
  tree.Clear();
  model.clear();
  Verify();
  EXPECT_EQ(store.UsedPages(), 1u);
  for (int i = 0; i < 5000; ++i) InsertLong(i);
  Verify();
}

TEST_F(BTreeTest, BuilderPutsEntriesInInSortedPortions) {
  std::vector<int> values(20000);
  for (int i = 0; i < 20000; ++i) values[static_cast<std::size_t>(i)] = i;
  std::shuffle(values.begin(), values.end(), std::mt19937(5));
  IndexBuilder builder(tree, 100000);
  for (const int value : values) {
    const RowId row = RowNumber(static_cast<std::uint32_t>(value));
    ASSERT_FALSE(builder.Add(LongKey(value), row, true));
    model.insert({LongKey(value), row});
  }
  ASSERT_FALSE(builder.Finish());
  Verify();
}

TEST_F(BTreeTest, BuilderTellsBothRowsOfADuplicate) {
  IndexBuilder builder(tree);
  ASSERT_FALSE(builder.Add(LongKey(2), {10, 0}, true));
  ASSERT_FALSE(builder.Add(LongKey(1), {10, 1}, true));
  ASSERT_FALSE(builder.Add(LongKey(2), {10, 2}, true));
  const std::optional<IndexBuilder::Duplicate> duplicate = builder.Finish();
  ASSERT_TRUE(duplicate);
  EXPECT_EQ(duplicate->first, (RowId{10, 0}));
  EXPECT_EQ(duplicate->second, (RowId{10, 2}));
}

/// Random inserts and deletes of keys of a certain shape, with a growing and a shrinking phase.
struct Shape {
  const char* name;
  unsigned shortest, longest, letters, commonFront;
  int steps;
};

class BTreeHistory : public BTreeTest, public testing::WithParamInterface<std::tuple<Shape, unsigned>> {};

TEST_P(BTreeHistory, EqualsASetAfterEveryChange) {
  const auto& [shape, seed] = GetParam();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  std::vector<Entry> entries;
  for (int step = 0; step < shape.steps; ++step) {
    const bool growing = step < shape.steps / 2;
    if (entries.empty() || random() % 10 < (growing ? 7u : 3u)) {
      Bytes key(random() % 3 == 0 ? shape.commonFront / 2 : shape.commonFront, std::byte{'q'});
      for (auto k = shape.shortest + random() % (shape.longest - shape.shortest + 1); k != 0; --k) {
        key.push_back(static_cast<std::byte>(random() % shape.letters));
      }
      const Entry entry{key, {static_cast<PageNumber>(1 + random() % 5000), static_cast<std::uint8_t>(random())}};
      if (model.contains(entry)) continue;
      Insert(entry.key, entry.row);
      entries.push_back(entry);
    } else {
      const std::size_t i = random() % entries.size();
      Erase(entries[i].key, entries[i].row);
      entries[i] = entries.back();
      entries.pop_back();
    }
    if (step % (shape.steps / 40) == 0) Verify();
  }
  Verify();
  while (!entries.empty()) {
    Erase(entries.back().key, entries.back().row);
    entries.pop_back();
    if (entries.size() % (1 + model.size() / 10) == 0) Verify();
  }
  EXPECT_EQ(store.UsedPages(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Shapes, BTreeHistory,
                         testing::Combine(testing::Values(Shape{"short", 1, 4, 4, 0, 6000}, Shape{"longs", 5, 5, 256, 0, 20000},
                                                          Shape{"texts", 3, 60, 30, 5, 6000}, Shape{"long", 200, 700, 256, 0, 1500},
                                                          Shape{"alike", 0, 12, 3, 300, 6000}, Shape{"huge", 1, 1700, 4, 60, 1200}),
                                          testing::Values(1u, 2u, 3u)),
                         [](const auto& test) {
                           return std::string(std::get<0>(test.param).name) + "_" + std::to_string(std::get<1>(test.param));
                         });

}  // namespace
}  // namespace jet

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "jet/index/BTree.h"
#include "jet/index/BTreeCheck.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"
#include "jet/index/KeyCodec.h"
#include "tests/jet/index/MemoryPages.h"

namespace jet {
namespace {

constexpr std::uint32_t kIndexEntriesOffset = 480;

using tests::MemoryPages;

constexpr PageNumber kTable = 77;

/// A sound tree of three levels, with random keys and a few of a kind.
class BTreeDamage : public testing::Test {
 protected:
  BTreeDamage() {
    std::mt19937 random(11);
    for (std::uint32_t i = 0; i < 2500; ++i) {
      Bytes key(10, std::byte{'k'});
      for (int k = 0; k < 90; ++k) key.push_back(static_cast<std::byte>(random()));
      tree.Insert(key, {i + 1, 3}, false);
    }
    const PageRef root = store.Read(tree.Root());
    const IndexPageView view(root);
    firstNode = view.ChildOf(0);
    lastNode = view.Tail();
    const PageRef node = store.Read(firstNode);
    firstLeaf = IndexPageView(node).ChildOf(0);
    secondLeaf = IndexPageView(node).ChildOf(IndexPageView(node).EndOf(0));
  }

  std::vector<std::string> Findings() {
    std::vector<std::string> texts;
    for (const Finding& finding : CheckTree(store, tree.Root(), kTable).findings) {
      texts.push_back(finding.text + " @" + std::to_string(finding.page == firstLeaf ? 0 : finding.page) + ":" +
                      std::to_string(finding.offset));
    }
    return texts;
  }
  std::string At(PageNumber page, std::size_t offset) {
    return " @" + std::to_string(page == firstLeaf ? 0 : page) + ":" + std::to_string(offset);
  }

  MemoryPages store;
  BTree tree{store, BTree::Create(store, kTable), kTable, nullptr};
  PageNumber firstNode = 0, lastNode = 0, firstLeaf = 0, secondLeaf = 0;
};

using testing::Test;
using Texts = std::vector<std::string>;

TEST_F(BTreeDamage, ASoundTreeHasNoFindings) {
  EXPECT_EQ(Findings(), Texts());
  EXPECT_FALSE(IndexPageView(store.Read(firstNode)).IsLeaf());
}

TEST_F(BTreeDamage, CheckSeesAWrongOwner) {
  Store32(store.Bytes(firstLeaf) + 4, 78);
  EXPECT_EQ(Findings(), Texts{"an index page names table 78 as its owner, not 77" + At(firstLeaf, 4)});
}

TEST_F(BTreeDamage, CheckSeesWrongFreeBytes) {
  const std::uint16_t free = Load16(store.Bytes(firstLeaf) + 2);
  Store16(store.Bytes(firstLeaf) + 2, static_cast<std::uint16_t>(free + 1));
  EXPECT_EQ(Findings(), Texts{"an index page says it has " + std::to_string(free + 1) + " free bytes, it has " + std::to_string(free) +
                              At(firstLeaf, 2)});
}

TEST_F(BTreeDamage, CheckSeesWrongLinksOfLeaves) {
  Store32(store.Bytes(firstLeaf) + 16, 0);
  Store32(store.Bytes(secondLeaf) + 12, 5);
  EXPECT_EQ(Findings(), (Texts{"an index leaf names a wrong next leaf" + At(firstLeaf, 16),
                               "an index leaf names a wrong previous leaf" + At(secondLeaf, 12)}));
}

TEST_F(BTreeDamage, CheckSeesWrongLinksOfNodes) {
  Store32(store.Bytes(firstNode) + 16, 0);
  EXPECT_EQ(Findings(), Texts{"an index node names a wrong next node" + At(firstNode, 16)});
}

TEST_F(BTreeDamage, CheckSeesEntriesOutOfOrder) {
  const PageRef leaf = store.Read(firstLeaf);
  const IndexPageView view(leaf);
  const std::size_t second = view.EndOf(0);
  ASSERT_EQ(view.Prefix(), 0u);
  std::byte* const area = store.Bytes(firstLeaf) + kIndexEntriesOffset;
  std::swap_ranges(area, area + second, area + second);
  EXPECT_EQ(Findings(), Texts{"index entries are not in order" + At(firstLeaf, kIndexEntriesOffset + second)});
}

TEST_F(BTreeDamage, CheckSeesACopyInTheParentThatLiesBeforeTheLastEntry) {
  std::fill_n(store.Bytes(firstNode) + kIndexEntriesOffset + 100, 4, std::byte{0});  // page and slot of the row
  EXPECT_EQ(Findings(), Texts{"an index node's copy lies before the last entry of the child" + At(firstNode, kIndexEntriesOffset)});
}

TEST_F(BTreeDamage, ACopyOfAnEntryThatIsNoLongerThereIsNoDamage) {
  store.Bytes(firstNode)[kIndexEntriesOffset + 103] = std::byte{0xFF};  // Access leaves it when the child loses its last entry
  EXPECT_EQ(Findings(), Texts{});
}

TEST_F(BTreeDamage, CheckSeesALeafThatBeginsBeforeWhatItsParentSays) {
  const PageRef leaf = store.Read(firstLeaf);
  const PageRef next = store.Read(IndexPageView(leaf).Next());
  Bytes entry;
  IndexPageView(next).CopyEntry(0, entry);
  ASSERT_EQ(entry.size(), 104u);
  std::copy(entry.begin(), entry.end(), store.Bytes(firstNode) + kIndexEntriesOffset);
  EXPECT_EQ(Findings(), Texts{"an index leaf begins before what its parent says" + At(next.Number(), kIndexEntriesOffset)});
}

TEST_F(BTreeDamage, CheckSeesAPageWithTwoParents) {
  const std::size_t used = IndexPageView(store.Read(firstNode)).EndOf(0);
  std::byte* const child = store.Bytes(firstNode) + kIndexEntriesOffset + used - 4;
  for (int i = 0; i < 4; ++i) child[i] = static_cast<std::byte>(tree.Root() >> (24 - 8 * i));
  const Texts findings = Findings();
  ASSERT_FALSE(findings.empty());
  EXPECT_EQ(findings[0], "an index page has two parents" + At(tree.Root(), 0));
}

TEST_F(BTreeDamage, CheckSeesAChildOutsideTheFile) {
  Store32(store.Bytes(lastNode) + 20, 1000000);
  const Texts findings = Findings();
  ASSERT_FALSE(findings.empty());
  EXPECT_EQ(findings[0], "an index names a page outside the file" + At(1000000, 0));
}

TEST_F(BTreeDamage, CheckSeesAnEmptyLeaf) {
  IndexPageEditor(store.Edit(firstLeaf).Writable()).Write({}, 0);
  const Texts findings = Findings();
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0], "an index leaf below the root is empty" + At(firstLeaf, 2));
}

TEST_F(BTreeDamage, CheckSeesAPageOfAnotherKind) {
  store.Bytes(firstLeaf)[0] = std::byte{1};
  const Texts findings = Findings();
  ASSERT_FALSE(findings.empty());
  EXPECT_EQ(findings[0], "this is no index page (page " + std::to_string(firstLeaf) + ", offset 0)" + At(firstLeaf, 0));
}

TEST_F(BTreeDamage, AWayDownInACircleIsRefused) {
  Store32(store.Bytes(lastNode) + 20, lastNode);
  try {
    (void)tree.Find(Bytes(3, std::byte{0xFF}));
    FAIL() << "no error";
  } catch (const Error& error) {
    EXPECT_EQ(error.Code(), ErrorCode::kDamaged);
    EXPECT_EQ(std::string(error.what()), "the index has too many levels (page " + std::to_string(lastNode) + ", offset 480)");
  }
}

TEST_F(BTreeDamage, AChainOfLeavesInACircleIsRefused) {
  Store32(store.Bytes(secondLeaf) + 16, firstLeaf);
  BTreeCursor cursor(tree);
  try {
    while (cursor.Next()) {
    }
    FAIL() << "no error";
  } catch (const Error& error) {
    EXPECT_EQ(error.Code(), ErrorCode::kDamaged);
    EXPECT_EQ(std::string(error.what()), "index leaves are not in order (page " + std::to_string(firstLeaf) + ", offset 480)");
  }
}

TEST_F(BTreeDamage, ALinkToAPageOfAnotherKindIsNotWrittenTo) {
  // The leaf's neighbour claims to be page 0, which is no index page: taking the leaf out must not write there.
  Store32(store.Bytes(firstLeaf) + 16, 0xFFFFFF);
  std::vector<std::pair<Bytes, RowId>> entries;
  const IndexEntries leaf = IndexPageView(store.Read(firstLeaf)).Decode();
  for (std::size_t i = 0; i < leaf.Count(); ++i) entries.push_back({{leaf[i].begin(), leaf[i].end() - 4}, Unpack(TargetOf(leaf[i]).row)});
  EXPECT_THROW(
      {
        for (const auto& [key, row] : entries) tree.Erase(key, row);
      },
      Error);
}

/// Nodes whose last child has an ordinary entry, as other writers leave them, are read, walked and changed.
TEST(BTreeOfOthers, NodesWithoutTailWork) {
  MemoryPages store;
  store.tolerant = true;
  const PageNumber root = BTree::Create(store, kTable);
  BTree tree(store, root, kTable, nullptr);
  std::set<Bytes> keys;
  const auto key = [](std::int32_t n) {
    Bytes bytes;
    AppendLongKey(n, false, bytes);
    return bytes;
  };
  for (int i = 0; i < 4000; i += 2) tree.Insert(key(i), {1000, 1}, false);
  {
    const PageRef page = store.Edit(root);
    IndexEntries entries = IndexPageView(page).Decode();
    Bytes entry = key(3998);
    for (const int byte : {0, 3, 0xE8, 1, 0, 0, 0, 0}) entry.push_back(static_cast<std::byte>(byte));
    const PageNumber tail = IndexPageView(page).Tail();
    entry.back() = static_cast<std::byte>(tail);
    entries.Append(entry);
    IndexPageEditor(page.Writable()).Write(entries, 0);
    IndexPageEditor(page.Writable()).SetTail(0);
  }
  ASSERT_TRUE(CheckTree(store, root, kTable).findings.empty());
  EXPECT_EQ(tree.Find(key(3998)), (RowId{1000, 1}));
  EXPECT_FALSE(tree.Find(key(5000)));
  tree.Forget();
  for (int i = 4000; i < 6000; i += 2) tree.Insert(key(i), {1000, 1}, false);
  EXPECT_TRUE(CheckTree(store, root, kTable).findings.empty());
  for (int i = 0; i < 6000; i += 2) ASSERT_TRUE(tree.Erase(key(i), {1000, 1}));
  EXPECT_EQ(store.UsedPages(), 1u);
}

/// Any operation on a tree with changed bytes ends, with success or with kDamaged; the check too.
class BTreeMutation : public testing::TestWithParam<unsigned> {};

TEST_P(BTreeMutation, EndsWithSuccessOrDamage) {
  SCOPED_TRACE("seed " + std::to_string(GetParam()));
  std::mt19937 random(GetParam());
  for (int round = 0; round < 60; ++round) {
    MemoryPages store;
    store.tolerant = true;
    BTree tree(store, BTree::Create(store, kTable), kTable, nullptr);
    const unsigned letters = round % 2 == 0 ? 256 : 2;
    const auto key = [&] {
      Bytes bytes(round % 3 == 0 ? 50 : 0, std::byte{'k'});
      for (auto k = 1 + random() % 40; k != 0; --k) bytes.push_back(static_cast<std::byte>(random() % letters));
      return bytes;
    };
    std::vector<std::pair<Bytes, RowId>> entries;
    for (std::uint32_t i = 0; i < 600; ++i) {
      entries.emplace_back(key(), RowId{1 + i, 0});
      tree.Insert(entries.back().first, entries.back().second, false);
    }
    for (auto changes = 1 + random() % 8; changes != 0; --changes) {
      const PageNumber page = static_cast<PageNumber>(1 + random() % (store.PageCount() - 1));
      const std::size_t offset = random() % 4 == 0 ? random() % 28 : random() % 4096;
      store.Bytes(page)[offset] = static_cast<std::byte>(random() % 3 == 0 ? random() : random() % 8);
    }
    (void)CheckTree(store, tree.Root(), kTable);
    const auto attempt = [](auto&& operation) {
      try {
        operation();
      } catch (const Error& error) {
        ASSERT_TRUE(error.Code() == ErrorCode::kDamaged || error.Code() == ErrorCode::kLimit) << error.what();
      }
    };
    attempt([&] {
      BTreeCursor cursor(tree);
      std::size_t steps = 0;
      while (cursor.Next()) ASSERT_LT(++steps, 100000u);
      while (cursor.Previous()) ASSERT_LT(++steps, 200000u);
    });
    for (int i = 0; i < 150; ++i) {
      const auto& [oldKey, row] = entries[random() % entries.size()];
      attempt([&, &oldKey = oldKey, &row = row] { (void)tree.Erase(oldKey, row); });
      attempt([&] { (void)tree.Insert(key(), {static_cast<PageNumber>(random() % 1000 + 5000), 1}, i % 2 == 0); });
      attempt([&] { (void)tree.Find(key()); });
    }
    attempt([&] { tree.Clear(); });
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, BTreeMutation, testing::Range(1u, 6u));

}  // namespace
}  // namespace jet

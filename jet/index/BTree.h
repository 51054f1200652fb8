#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "jet/index/IndexPage.h"
#include "jet/page/PageStore.h"
#include "jet/value/Value.h"

namespace jet {

/// Learns which pages a tree takes and gives back, so that the usage map of the index says the same.
class TreePages {
 public:
  virtual ~TreePages() = default;
  /// The tree uses this page from now on (its root is never reported here).
  virtual void PageAdded(PageNumber page) = 0;
  /// The tree has just given this page back to the store.
  virtual void PageRemoved(PageNumber page) = 0;
};

/// The tree of one index: entries (key, row) in order, unique as a pair. The root page number never changes.
///
/// There is one object for each tree of an open table; cursors belong to it. It changes pages through the store, in whatever transaction
/// is open there; when pages change behind it (a rollback, another process), Forget must be called.
/// Errors of all operations: kDamaged with page and offset when a page contradicts the layout; the tree's pages may then have been
/// changed in part, and the transaction around must be rolled back.
class BTree {
 public:
  /// A tree that is there already. `table` is the definition page that new pages name as their owner; `pages` may be null, else it
  /// must outlive the tree.
  BTree(PageStore& store, PageNumber root, PageNumber table, TreePages* pages) noexcept
      : store_(store), pages_(pages), root_(root), table_(table) {}
  BTree(const BTree&) = delete;
  BTree& operator=(const BTree&) = delete;

  /// Makes an empty tree and gives its root, which the caller enters into the usage map itself.
  [[nodiscard]] static PageNumber Create(PageStore& store, PageNumber table);

  /// Longest key that it takes.
  [[nodiscard]] std::size_t MostKeyBytes() const noexcept { return Layout().MostKeyBytes(); }
  [[nodiscard]] PageNumber Root() const noexcept { return root_; }

  /// Puts an entry in. When `unique` is set and there is an entry with the same key, nothing changes and that entry's row is given.
  /// (Rows with a null in the key are never duplicates: the caller asks for no uniqueness then.)
  /// Errors: kLimit for a key longer than MostKeyBytes(); kDamaged when this very entry is there.
  std::optional<RowId> Insert(std::span<const std::byte> key, RowId row, bool unique);
  /// Takes the entry out; false when it is not there.
  bool Erase(std::span<const std::byte> key, RowId row);
  /// The first row with exactly this key; nothing when there is none.
  [[nodiscard]] std::optional<RowId> Find(std::span<const std::byte> key);
  /// True when exactly this entry is there.
  [[nodiscard]] bool Contains(std::span<const std::byte> key, RowId row);
  /// Takes all entries out; only the root stays.
  void Clear();

  /// To be called when pages may have changed behind the tree. Cursors find their place again.
  void Forget() noexcept {
    ++changes_;
    lastLeaf_ = 0;
  }
  /// Changes with every change of the tree.
  [[nodiscard]] std::uint64_t Changes() const noexcept { return changes_; }

 private:
  friend class BTreeCursor;

  [[nodiscard]] const IndexLayout& Layout() const noexcept { return IndexLayout::Of(store_.PageSize()); }

  /// One node on the way from the root to a leaf, and which of its children the way takes.
  struct Step {
    PageNumber page;
    std::size_t begin;  ///< of the child's entry; Used() of the node for the tail
    bool tail;
  };
  /// A page that takes a child's place in its parent.
  struct Child {
    Bytes last;  ///< the last entry below it (key and row); empty: what the parent says of it stays true
    PageNumber page = 0;
  };
  /// A node read for being written anew.
  struct Node {
    IndexEntries entries;
    PageNumber tail = 0;
    std::uint8_t level = 1;
  };
  /// At which edge of the whole tree a page that must be split grows: the new page on that side gets as little as possible, so that
  /// keys that come in order leave full pages behind.
  enum class Growth : std::uint8_t { kInside, kAtBegin, kAtEnd };

  // Ways down (BTree.cpp)
  /// Goes down to the leaf where the target belongs, noting the way in path_.
  [[nodiscard]] PageRef Descend(const IndexTarget& target);
  /// Goes down to the first or the last leaf.
  [[nodiscard]] PageRef DescendToEnd(bool last);
  [[nodiscard]] PageRef TakeStep(const IndexPageView& node, std::size_t begin);
  /// True when the way goes through nothing but tails: the leaf's last entry is named nowhere above.
  [[nodiscard]] bool OnRightEdge() const noexcept;
  /// The row of the entry with this key at the place that was looked up for it.
  [[nodiscard]] std::optional<RowId> RowWithKey(const IndexPageView& leaf, std::size_t begin, std::span<const std::byte> key);
  /// Tries the leaf at the right end without going down. False when the entry does not belong there or does not fit.
  [[nodiscard]] bool Append(const IndexTarget& target);
  void InsertIntoLeaf(PageNumber page, std::size_t begin);
  void EraseFromLeaf(PageNumber page, std::size_t begin);

  // Changes of the tree's shape (BTreeShape.cpp). Depth counts from the root = 0 along path_.
  /// Writes a leaf's entries anew, splitting it when they do not fit, and tells its parent.
  void StoreLeaf(PageNumber page, const IndexEntries& entries, Growth growth, bool lastChanged);
  void SplitLeaf(PageNumber page, const IndexEntries& entries, Growth growth, bool lastChanged);
  /// A leaf has lost its last entry.
  void RemoveLeaf(PageNumber page);
  /// The child that the step of that depth leads to has become these pages (none: it is gone).
  void ReplaceChild(std::size_t depth, const std::vector<Child>& children);
  [[nodiscard]] Growth GrowthAt(std::size_t depth) const noexcept;
  /// Writes a node whose children have changed. `last`: the last entry below it when that has changed, else empty.
  void StoreNode(std::size_t depth, Node node, const Bytes& last, Growth growth);
  void SplitNode(std::size_t depth, const Node& node, const Bytes& last, Growth growth);
  /// Two pages take the place of one that was too full: links them into their level and gives them for the parent. One of them is
  /// `page` itself unless that is the root, which keeps its number and becomes their parent.
  struct Halves {
    PageRef left, right;
  };
  [[nodiscard]] Halves MakeHalves(PageNumber page, bool leaf, std::uint8_t level, Growth growth);
  void AdoptHalves(std::size_t depth, const Halves& halves, Bytes lastOfLeft, const Bytes& lastOfRight, std::uint8_t level);
  /// The root has one child left: its content moves up.
  void PullUpIntoRoot(PageNumber child);
  /// A node that is not the root has one child left: the child goes to a neighbour of the node, or gets company from there.
  void GiveAwayLastChild(std::size_t depth, PageNumber child, const Bytes& last);
  void JoinLeft(std::size_t depth, Node parent, std::size_t slot, PageNumber child, const Bytes& last);
  void JoinRight(std::size_t depth, Node parent, PageNumber child, const Bytes& last);
  [[nodiscard]] Node ReadNode(PageNumber page);
  void WriteNode(PageNumber page, const Node& node);
  [[nodiscard]] bool ChildrenAreLeaves(std::size_t depth) const noexcept { return depth + 1 == path_.size(); }

  [[nodiscard]] PageRef NewPage(bool leaf, std::uint8_t level);
  [[nodiscard]] PageRef EditMine(PageNumber page);
  void ReleasePage(PageNumber page);
  /// Takes a page out of the chain of its level.
  void Unlink(PageNumber page);
  /// Makes two pages neighbours; 0 = none.
  void Link(PageNumber left, PageNumber right);
  /// As Link for children of nodes, which are chained under the same parent only; leaves are chained along the whole level.
  void LinkNodes(std::size_t parentDepth, PageNumber left, PageNumber right);

  PageStore& store_;
  TreePages* pages_;
  PageNumber root_;
  PageNumber table_;
  PageNumber lastLeaf_ = 0;  ///< leaf at the right end as far as known, 0 = not known
  std::uint64_t changes_ = 0;
  std::vector<Step> path_;  ///< the last way down, from the root on; leaves are no part of it
  Bytes entry_;             ///< the entry being put in
};

/// Walks the entries of a tree. It stands between two entries, so that each way begins with the one next to it.
/// Changing the tree meanwhile is allowed: the cursor keeps its place in the order. Errors: kDamaged.
class BTreeCursor {
 public:
  /// Stands before the first entry.
  explicit BTreeCursor(BTree& tree) noexcept : tree_(&tree) {}

  void SeekFirst();
  void SeekLast();
  /// Stands before the first entry whose key begins with these bytes, or where it would be.
  void SeekBefore(std::span<const std::byte> key);
  /// Stands after the last entry whose key begins with these bytes, or where it would be.
  void SeekAfter(std::span<const std::byte> key);
  /// Stands before or after exactly this entry, or where it would be.
  void SeekEntry(std::span<const std::byte> key, RowId row, bool after);

  /// Passes over the entry after the place; false at the end.
  bool Next();
  /// Passes over the entry before the place; false at the beginning.
  bool Previous();
  /// The entry passed over last.
  [[nodiscard]] std::span<const std::byte> Key() const noexcept { return {entry_.data(), entry_.size() - kRowPointerSize}; }
  [[nodiscard]] RowId Row() const noexcept;

 private:
  /// What the place is in terms of entries, for finding it again.
  enum class Place : std::uint8_t { kFirst, kLast, kBeforeKey, kAfterKey, kBeforeEntry, kAfterEntry };

  void Seek(Place place, std::span<const std::byte> key);
  /// Looks the place up when it has not been, or when the tree has changed since.
  void Settle();
  /// Goes on to the next neighbouring leaf that has entries; false when there is none.
  [[nodiscard]] bool MoveToNeighbour(bool forward);

  BTree* tree_;
  PageRef leaf_;               ///< null: to be looked up
  std::size_t at_ = 0;         ///< offset in the leaf: entries before it lie before the place
  std::uint64_t changes_ = 0;  ///< of the tree when leaf_ and at_ were right
  Place place_ = Place::kFirst;
  Bytes entry_;   ///< key and row of the entry passed over last
  Bytes sought_;  ///< key that was sought
};

}  // namespace jet

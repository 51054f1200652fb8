#include "jet/index/BTree.h"

#include <algorithm>
#include <string>

#include "jet/value/Error.h"

namespace jet {
namespace {

/// More levels than any file of 2 GiB can need: a way down that is longer runs in a circle.
constexpr std::size_t kMaxDepth = 32;

}  // namespace

PageNumber BTree::Create(PageStore& store, PageNumber table) {
  const PageRef root = store.Allocate();
  IndexPageEditor(root.Writable()).Format(true, table, 0);
  return root.Number();
}

// ----- Ways down

PageRef BTree::TakeStep(const IndexPageView& node, std::size_t begin) {
  if (path_.size() >= kMaxDepth) node.Refuse("the index has too many levels", 0);
  bool tail = begin == node.Used();
  if (tail && node.Tail() == 0) {
    if (node.Empty()) node.Refuse("an index node has no children", 0);
    begin = node.BeginBefore(begin);
    tail = false;
  }
  const PageNumber child = tail ? node.Tail() : node.ChildOf(begin);
  path_.push_back({node.Number(), begin, tail});
  if (child == 0) node.Refuse("an index node has a child without page", begin);
  return store_.Read(child);
}

PageRef BTree::Descend(const IndexTarget& target) {
  path_.clear();
  PageRef page = store_.Read(root_);
  for (IndexPageView view(page); !view.IsLeaf(); view = IndexPageView(page)) page = TakeStep(view, view.LowerBound(target));
  return page;
}

PageRef BTree::DescendToEnd(bool last) {
  path_.clear();
  PageRef page = store_.Read(root_);
  for (IndexPageView view(page); !view.IsLeaf(); view = IndexPageView(page)) page = TakeStep(view, last ? view.Used() : 0);
  return page;
}

bool BTree::OnRightEdge() const noexcept {
  return std::all_of(path_.begin(), path_.end(), [](const Step& step) { return step.tail; });
}

std::optional<RowId> BTree::RowWithKey(const IndexPageView& leaf, std::size_t begin, std::span<const std::byte> key) {
  if (begin != leaf.Used()) {
    if (leaf.KeyEquals(begin, key)) return Unpack(leaf.RowOf(begin));
    return std::nullopt;
  }
  // Where parents name an entry that is no longer there, the way down ends one leaf too early.
  if (leaf.Next() == 0) return std::nullopt;
  const PageRef next = store_.Read(leaf.Next());
  const IndexPageView view(next);
  if (view.IsLeaf() && !view.Empty() && view.KeyEquals(0, key)) return Unpack(view.RowOf(0));
  return std::nullopt;
}

std::optional<RowId> BTree::Find(std::span<const std::byte> key) {
  const IndexTarget target{key, 0, IndexTarget::Side::kBefore};
  const PageRef page = Descend(target);
  const IndexPageView leaf(page);
  return RowWithKey(leaf, leaf.LowerBound(target), key);
}

bool BTree::Contains(std::span<const std::byte> key, RowId row) {
  const IndexTarget target{key, Pack(row), IndexTarget::Side::kExact};
  const PageRef page = Descend(target);
  const IndexPageView leaf(page);
  const std::size_t begin = leaf.LowerBound(target);
  return begin != leaf.Used() && leaf.EntryEquals(begin, key, Pack(row));
}

// ----- Changes

std::optional<RowId> BTree::Insert(std::span<const std::byte> key, RowId row, bool unique) {
  if (key.size() > MostKeyBytes()) {
    throw Error(ErrorCode::kLimit,
                "an index key has " + std::to_string(key.size()) + " bytes, at most " + std::to_string(MostKeyBytes()) + " can be stored");
  }
  entry_.assign(key.begin(), key.end());
  AppendRowPointer(row, entry_);
  const IndexTarget target =
      unique ? IndexTarget{key, 0, IndexTarget::Side::kBefore} : IndexTarget{key, Pack(row), IndexTarget::Side::kExact};
  if (lastLeaf_ != 0 && Append(target)) return std::nullopt;

  const PageRef page = Descend(target);
  const IndexPageView leaf(page);
  const std::size_t begin = leaf.LowerBound(target);
  if (unique) {
    if (const std::optional<RowId> other = RowWithKey(leaf, begin, key)) return other;
  } else if (begin != leaf.Used() && leaf.EntryEquals(begin, key, Pack(row))) {
    leaf.Refuse("the index has an entry for this row already", begin);
  }
  ++changes_;
  lastLeaf_ = OnRightEdge() && leaf.Next() == 0 ? page.Number() : 0;
  InsertIntoLeaf(page.Number(), begin);
  return std::nullopt;
}

bool BTree::Append(const IndexTarget& target) {
  {
    const PageRef page = store_.Read(lastLeaf_);
    const IndexPageView leaf(page);
    if (leaf.Empty() || leaf.Compare(leaf.BeginBefore(leaf.Used()), target) >= 0) return false;
  }
  const PageRef page = EditMine(lastLeaf_);
  const IndexPageView leaf(page);
  if (!IndexPageEditor(page.Writable()).Insert(leaf, leaf.Used(), entry_)) return false;
  ++changes_;
  return true;
}

void BTree::InsertIntoLeaf(PageNumber page, std::size_t begin) {
  const PageRef edited = EditMine(page);
  const IndexPageView leaf(edited);
  const bool last = begin == leaf.Used();
  const bool namedAbove = last && !OnRightEdge();
  if (IndexPageEditor(edited.Writable()).Insert(leaf, begin, entry_)) {
    if (namedAbove) ReplaceChild(path_.size() - 1, {{entry_, page}});
    return;
  }
  IndexEntries entries = leaf.Decode();
  entries.Insert(leaf.CountBefore(begin), entry_);
  const Growth growth = last && leaf.Next() == 0 ? Growth::kAtEnd : begin == 0 && leaf.Previous() == 0 ? Growth::kAtBegin : Growth::kInside;
  StoreLeaf(page, entries, growth, namedAbove);
}

bool BTree::Erase(std::span<const std::byte> key, RowId row) {
  const IndexTarget target{key, Pack(row), IndexTarget::Side::kExact};
  PageRef page = Descend(target);
  const IndexPageView leaf(page);
  const std::size_t begin = leaf.LowerBound(target);
  if (begin == leaf.Used() || !leaf.EntryEquals(begin, key, Pack(row))) return false;
  ++changes_;
  const PageNumber number = page.Number();
  const bool only = begin == 0 && leaf.EndOf(0) == leaf.Used();
  page = PageRef();  // a page that is given back must not be held
  if (only && !path_.empty()) {
    RemoveLeaf(number);
  } else {
    EraseFromLeaf(number, begin);
  }
  return true;
}

void BTree::EraseFromLeaf(PageNumber page, std::size_t begin) {
  const PageRef edited = EditMine(page);
  const IndexPageView leaf(edited);
  const bool last = leaf.EndOf(begin) == leaf.Used();
  IndexPageEditor(edited.Writable()).Remove(leaf, begin);
  if (!last || OnRightEdge()) return;
  const IndexPageView changed(edited);  // not empty: that is RemoveLeaf's case
  Child child{{}, page};
  changed.CopyEntry(changed.BeginBefore(changed.Used()), child.last);
  ReplaceChild(path_.size() - 1, {std::move(child)});
}

}  // namespace jet

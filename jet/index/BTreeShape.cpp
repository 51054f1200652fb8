// Splits, growth and shrinking of the tree: what happens when a change does not stay within one page.

#include <algorithm>
#include <utility>

#include "jet/index/BTree.h"
#include "jet/value/Error.h"

namespace jet {
namespace {

std::span<const std::byte> KeyAndRow(std::span<const std::byte> nodeEntry) { return nodeEntry.first(nodeEntry.size() - kChildSize); }

Bytes CopyKeyAndRow(std::span<const std::byte> nodeEntry) {
  const std::span<const std::byte> part = KeyAndRow(nodeEntry);
  return {part.begin(), part.end()};
}

PageNumber ChildIn(std::span<const std::byte> nodeEntry) {
  PageNumber child = 0;
  for (const std::byte byte : nodeEntry.last(kChildSize)) child = child << 8 | std::to_integer<PageNumber>(byte);
  return child;
}

Bytes NodeEntry(std::span<const std::byte> keyAndRow, PageNumber child) {
  Bytes entry(keyAndRow.begin(), keyAndRow.end());
  for (int shift = 24; shift >= 0; shift -= 8) entry.push_back(static_cast<std::byte>(child >> shift));
  return entry;
}

/// Where to cut the entries of a page that is too full: the left page gets those before the cut, the right page those from the cut on,
/// in a node without the first of them, whose child becomes the left page's tail.
std::size_t FindCut(const IndexEntries& entries, const IndexLayout& layout, bool leaf, bool atBegin, bool atEnd) {
  const std::size_t dropped = leaf ? 0 : 1;
  const std::size_t lowest = 1;
  if (entries.Count() < 2 + dropped) throw Error(ErrorCode::kLimit, "the keys of an index page are too long to split it");
  const std::size_t highest = entries.Count() - 1 - dropped;
  const auto fits = [&](std::size_t cut) {
    return entries.Slice(0, cut).FittingPrefix(leaf, layout) &&
           entries.Slice(cut + dropped, entries.Count() - cut - dropped).FittingPrefix(leaf, layout);
  };
  std::size_t wanted = atEnd ? highest : lowest;
  if (!atEnd && !atBegin) {
    std::size_t size = 0;
    for (std::size_t i = 0; i < highest && size < entries.Size() / 2; ++i) {
      size += entries[i].size();
      wanted = i + 1;
    }
  }
  for (std::size_t distance = 0; distance < entries.Count(); ++distance) {
    if (wanted >= lowest + distance && fits(wanted - distance)) return wanted - distance;
    if (distance != 0 && wanted + distance <= highest && fits(wanted + distance)) return wanted + distance;
  }
  throw Error(ErrorCode::kLimit, "the keys of an index page are too long to split it");
}

}  // namespace

// ----- Leaves

void BTree::StoreLeaf(PageNumber page, const IndexEntries& entries, Growth growth, bool lastChanged) {
  const std::optional<std::size_t> prefix = entries.FittingPrefix(true, Layout());
  if (!prefix) return SplitLeaf(page, entries, growth, lastChanged);
  IndexPageEditor(EditMine(page).Writable()).Write(entries, *prefix);
  if (!lastChanged) return;
  const std::span<const std::byte> last = entries[entries.Count() - 1];
  ReplaceChild(path_.size() - 1, {{{last.begin(), last.end()}, page}});
}

void BTree::SplitLeaf(PageNumber page, const IndexEntries& entries, Growth growth, bool lastChanged) {
  const std::size_t cut = FindCut(entries, Layout(), true, growth == Growth::kAtBegin, growth == Growth::kAtEnd);
  const IndexEntries left = entries.Slice(0, cut);
  const IndexEntries right = entries.Slice(cut, entries.Count() - cut);
  const Halves halves = MakeHalves(page, true, 0, growth);
  IndexPageEditor(halves.left.Writable()).Write(left, left.FittingPrefix(true, Layout()).value());
  IndexPageEditor(halves.right.Writable()).Write(right, right.FittingPrefix(true, Layout()).value());
  if (lastLeaf_ == page) lastLeaf_ = halves.right.Number();
  const std::span<const std::byte> lastOfLeft = left[left.Count() - 1];
  const std::span<const std::byte> lastOfRight = right[right.Count() - 1];
  AdoptHalves(path_.size(), halves, {lastOfLeft.begin(), lastOfLeft.end()},
              lastChanged ? Bytes(lastOfRight.begin(), lastOfRight.end()) : Bytes(), 0);
}

void BTree::RemoveLeaf(PageNumber page) {
  lastLeaf_ = 0;
  Unlink(page);
  ReleasePage(page);
  ReplaceChild(path_.size() - 1, {});
}

// ----- Nodes

BTree::Node BTree::ReadNode(PageNumber page) {
  const PageRef read = store_.Read(page);
  const IndexPageView view(read);
  if (view.IsLeaf()) view.Refuse("an index leaf stands among nodes", 0);
  Node node{view.Decode(), view.Tail(), view.Level()};
  if (node.tail == 0) {  // as other writers leave it: the last child gets its usual place
    if (node.entries.Empty()) view.Refuse("an index node has no children", 0);
    const std::size_t last = node.entries.Count() - 1;
    node.tail = ChildIn(node.entries[last]);
    node.entries.Erase(last);
  }
  return node;
}

void BTree::WriteNode(PageNumber page, const Node& node) {
  const PageRef edited = EditMine(page);
  IndexPageEditor editor(edited.Writable());
  editor.Write(node.entries, node.entries.FittingPrefix(false, Layout()).value());
  editor.SetTail(node.tail);
}

BTree::Growth BTree::GrowthAt(std::size_t depth) const noexcept {
  const std::span<const Step> way(path_.data(), depth + 1);
  if (std::ranges::all_of(way, [](const Step& step) { return step.tail; })) return Growth::kAtEnd;
  if (std::ranges::all_of(way, [](const Step& step) { return !step.tail && step.begin == 0; })) return Growth::kAtBegin;
  return Growth::kInside;
}

void BTree::ReplaceChild(std::size_t depth, const std::vector<Child>& children) {
  const Step step = path_[depth];
  if (step.tail && children.size() == 1) {  // the tail's last entry is not named in the node, but perhaps further above
    if (depth != 0) ReplaceChild(depth - 1, {{children[0].last, step.page}});
    return;
  }
  Node node = ReadNode(step.page);
  IndexEntries& entries = node.entries;
  const std::size_t slot = step.tail ? entries.Count() : IndexPageView(store_.Read(step.page)).CountBefore(step.begin);
  Bytes last;  // below this node, when it changes
  if (slot < entries.Count()) {
    const Bytes before = CopyKeyAndRow(entries[slot]);
    entries.Erase(slot);
    for (std::size_t i = 0; i < children.size(); ++i) {
      const Child& child = children[i];
      entries.Insert(slot + i, NodeEntry(child.last.empty() ? before : child.last, child.page));
    }
  } else if (!children.empty()) {
    for (std::size_t i = 0; i + 1 < children.size(); ++i) entries.Append(NodeEntry(children[i].last, children[i].page));
    node.tail = children.back().page;
    last = children.back().last;
  } else if (!entries.Empty()) {
    const std::size_t moved = entries.Count() - 1;
    node.tail = ChildIn(entries[moved]);
    last = CopyKeyAndRow(entries[moved]);
    entries.Erase(moved);
  } else {
    node.tail = 0;
  }
  StoreNode(depth, std::move(node), last, GrowthAt(depth));
}

void BTree::StoreNode(std::size_t depth, Node node, const Bytes& last, Growth growth) {
  const PageNumber page = path_[depth].page;
  if (node.tail == 0) {  // no child is left
    if (depth == 0) return IndexPageEditor(EditMine(page).Writable()).Format(true, table_, 0);
    Unlink(page);
    ReleasePage(page);
    return ReplaceChild(depth - 1, {});
  }
  if (node.entries.Empty()) return depth == 0 ? PullUpIntoRoot(node.tail) : GiveAwayLastChild(depth, node.tail, last);
  if (!node.entries.FittingPrefix(false, Layout())) return SplitNode(depth, node, last, growth);
  WriteNode(page, node);
  if (!last.empty() && depth != 0) ReplaceChild(depth - 1, {{last, page}});
}

void BTree::SplitNode(std::size_t depth, const Node& node, const Bytes& last, Growth growth) {
  const std::size_t cut = FindCut(node.entries, Layout(), false, growth == Growth::kAtBegin, growth == Growth::kAtEnd);
  const std::span<const std::byte> middle = node.entries[cut];
  const Node left{node.entries.Slice(0, cut), ChildIn(middle), node.level};
  const Node right{node.entries.Slice(cut + 1, node.entries.Count() - cut - 1), node.tail, node.level};
  LinkNodes(depth, left.tail, 0);
  LinkNodes(depth, 0, ChildIn(right.entries[0]));
  const Halves halves = MakeHalves(path_[depth].page, false, node.level, growth);
  WriteNode(halves.left.Number(), left);
  WriteNode(halves.right.Number(), right);
  AdoptHalves(depth, halves, CopyKeyAndRow(middle), last, node.level);
}

BTree::Halves BTree::MakeHalves(PageNumber page, bool leaf, std::uint8_t level, Growth growth) {
  Halves halves;
  if (page == root_) {
    halves = {NewPage(leaf, level), NewPage(leaf, level)};
  } else {
    PageRef old = EditMine(page);
    PageRef fresh = NewPage(leaf, level);
    const IndexPageView view(old);
    if (growth == Growth::kAtBegin) {
      Link(view.Previous(), fresh.Number());
      halves = {std::move(fresh), std::move(old)};
    } else {
      Link(fresh.Number(), view.Next());
      halves = {std::move(old), std::move(fresh)};
    }
  }
  Link(halves.left.Number(), halves.right.Number());
  return halves;
}

void BTree::AdoptHalves(std::size_t depth, const Halves& halves, Bytes lastOfLeft, const Bytes& lastOfRight, std::uint8_t level) {
  if (depth != 0) {
    return ReplaceChild(depth - 1, {{std::move(lastOfLeft), halves.left.Number()}, {lastOfRight, halves.right.Number()}});
  }
  IndexPageEditor(EditMine(root_).Writable()).Format(false, table_, static_cast<std::uint8_t>(level + 1));
  Node root;
  root.entries.Append(NodeEntry(lastOfLeft, halves.left.Number()));
  root.tail = halves.right.Number();
  WriteNode(root_, root);
}

// ----- Shrinking

void BTree::PullUpIntoRoot(PageNumber child) {
  {
    const PageRef from = store_.Read(child);
    const IndexPageView view(from);  // nothing but an index page may become the root
    const PageRef root = EditMine(root_);
    std::ranges::copy(from.Bytes(), root.Writable().begin());
    IndexPageEditor editor(root.Writable());
    editor.SetPrevious(0);
    editor.SetNext(0);
  }
  lastLeaf_ = 0;
  ReleasePage(child);
}

void BTree::GiveAwayLastChild(std::size_t depth, PageNumber child, const Bytes& last) {
  Node parent = ReadNode(path_[depth - 1].page);
  std::size_t slot = 0;
  while (slot < parent.entries.Count() && ChildIn(parent.entries[slot]) != path_[depth].page) ++slot;
  if (slot != 0) return JoinLeft(depth, std::move(parent), slot, child, last);
  if (!parent.entries.Empty()) return JoinRight(depth, std::move(parent), child, last);
  // A parent with this one node only, as no writer should leave it: the node keeps its child.
  WriteNode(path_[depth].page, {{}, child, 1});
  if (!last.empty()) ReplaceChild(depth - 1, {{last, path_[depth].page}});
}

void BTree::JoinLeft(std::size_t depth, Node parent, std::size_t slot, PageNumber child, const Bytes& last) {
  const PageNumber page = path_[depth].page;
  const bool isTail = slot == parent.entries.Count();
  const PageNumber neighbour = ChildIn(parent.entries[slot - 1]);
  const Bytes lastOfNeighbour = CopyKeyAndRow(parent.entries[slot - 1]);
  Node left = ReadNode(neighbour);
  left.entries.Append(NodeEntry(lastOfNeighbour, left.tail));
  const Bytes lastOfChild = !last.empty() || isTail ? last : CopyKeyAndRow(parent.entries[slot]);
  if (left.entries.FittingPrefix(false, Layout())) {
    LinkNodes(depth, left.tail, child);
    left.tail = child;
    WriteNode(neighbour, left);
    Unlink(page);
    ReleasePage(page);
    parent.entries.Erase(slot - 1);
    if (isTail) {
      parent.tail = neighbour;
    } else {
      parent.entries.Erase(slot - 1);
      parent.entries.Insert(slot - 1, NodeEntry(lastOfChild, neighbour));
    }
  } else {
    Node own{{}, child, left.level};
    own.entries.Append(left.entries[left.entries.Count() - 1]);
    left.entries.Erase(left.entries.Count() - 1);
    LinkNodes(depth, left.tail, child);
    const std::size_t moved = left.entries.Count() - 1;
    left.tail = ChildIn(left.entries[moved]);
    LinkNodes(depth, left.tail, 0);
    LinkNodes(depth, 0, ChildIn(own.entries[0]));
    const Bytes newLast = CopyKeyAndRow(left.entries[moved]);
    left.entries.Erase(moved);
    WriteNode(neighbour, left);
    WriteNode(page, own);
    parent.entries.Erase(slot - 1);
    parent.entries.Insert(slot - 1, NodeEntry(newLast, neighbour));
    if (!isTail) {
      parent.entries.Erase(slot);
      parent.entries.Insert(slot, NodeEntry(lastOfChild, page));
    }
  }
  StoreNode(depth - 1, std::move(parent), isTail ? last : Bytes(), Growth::kInside);
}

void BTree::JoinRight(std::size_t depth, Node parent, PageNumber child, const Bytes& last) {
  const PageNumber page = path_[depth].page;
  const Bytes lastOfChild = last.empty() ? CopyKeyAndRow(parent.entries[0]) : last;
  const PageNumber neighbour = parent.entries.Count() > 1 ? ChildIn(parent.entries[1]) : parent.tail;
  Node right = ReadNode(neighbour);
  if (right.entries.Empty()) throw Error(ErrorCode::kDamaged, "an index node has no entries", neighbour, 0);
  const Bytes first(right.entries[0].begin(), right.entries[0].end());
  right.entries.Insert(0, NodeEntry(lastOfChild, child));
  parent.entries.Erase(0);
  LinkNodes(depth, child, ChildIn(first));
  if (right.entries.FittingPrefix(false, Layout())) {
    WriteNode(neighbour, right);
    Unlink(page);
    ReleasePage(page);
  } else {
    Node own{{}, ChildIn(first), right.level};
    own.entries.Append(right.entries[0]);
    right.entries.Erase(0);
    right.entries.Erase(0);
    LinkNodes(depth, own.tail, 0);
    LinkNodes(depth, 0, right.entries.Empty() ? right.tail : ChildIn(right.entries[0]));
    WriteNode(page, own);
    WriteNode(neighbour, right);
    parent.entries.Insert(0, NodeEntry(KeyAndRow(first), page));
  }
  StoreNode(depth - 1, std::move(parent), {}, Growth::kInside);
}

// ----- Pages

PageRef BTree::NewPage(bool leaf, std::uint8_t level) {
  PageRef page = store_.Allocate();
  IndexPageEditor(page.Writable()).Format(leaf, table_, level);
  if (pages_ != nullptr) pages_->PageAdded(page.Number());
  return page;
}

/// A wrong link must not lead to a page of another kind, or of another table, being written.
PageRef BTree::EditMine(PageNumber page) {
  PageRef edited = store_.Edit(page);
  const IndexPageView view(edited);
  if (view.Table() != table_) view.Refuse("an index page belongs to another table", 0);
  return edited;
}

void BTree::ReleasePage(PageNumber page) {
  (void)EditMine(page);
  store_.Free(page);
  if (pages_ != nullptr) pages_->PageRemoved(page);
}

void BTree::Link(PageNumber left, PageNumber right) {
  const auto editor = [this](PageNumber page) {
    const PageRef edited = EditMine(page);
    return IndexPageEditor(edited.Writable());
  };
  if (left != 0) editor(left).SetNext(right);
  if (right != 0) editor(right).SetPrevious(left);
}

void BTree::LinkNodes(std::size_t parentDepth, PageNumber left, PageNumber right) {
  if (!ChildrenAreLeaves(parentDepth)) Link(left, right);
}

void BTree::Unlink(PageNumber page) {
  PageNumber previous = 0;
  PageNumber next = 0;
  {
    const PageRef read = store_.Read(page);
    const IndexPageView view(read);
    previous = view.Previous();
    next = view.Next();
  }
  Link(previous, next);
}

void BTree::Clear() {
  Forget();
  // First all pages, then their release: a tree that runs in circles is noticed before anything has changed.
  std::vector<PageNumber> pages;
  std::vector<bool> seen(store_.PageCount());
  std::vector<PageNumber> open{root_};
  while (!open.empty()) {
    const PageNumber page = open.back();
    open.pop_back();
    const PageRef read = store_.Read(page);
    const IndexPageView view(read);
    if (seen[page]) view.Refuse("an index page has two parents", 0);
    seen[page] = true;
    if (page != root_) pages.push_back(page);
    if (view.IsLeaf()) continue;
    for (std::size_t begin = 0; begin < view.Used(); begin = view.EndOf(begin)) open.push_back(view.ChildOf(begin));
    if (view.Tail() != 0) open.push_back(view.Tail());
  }
  for (const PageNumber page : pages) ReleasePage(page);
  IndexPageEditor(EditMine(root_).Writable()).Format(true, table_, 0);
}

}  // namespace jet

#include "jet/index/BTree.h"
#include "jet/value/Error.h"

namespace jet {

void BTreeCursor::Seek(Place place, std::span<const std::byte> key) {
  place_ = place;
  sought_.assign(key.begin(), key.end());
  leaf_ = PageRef();
}

void BTreeCursor::SeekFirst() { Seek(Place::kFirst, {}); }
void BTreeCursor::SeekLast() { Seek(Place::kLast, {}); }
void BTreeCursor::SeekBefore(std::span<const std::byte> key) { Seek(Place::kBeforeKey, key); }
void BTreeCursor::SeekAfter(std::span<const std::byte> key) { Seek(Place::kAfterKey, key); }

void BTreeCursor::SeekEntry(std::span<const std::byte> key, RowId row, bool after) {
  Seek(after ? Place::kAfterEntry : Place::kBeforeEntry, {});
  Bytes entry(key.begin(), key.end());  // the key may be this cursor's own
  AppendRowPointer(row, entry);
  entry_.swap(entry);
}

RowId BTreeCursor::Row() const noexcept { return Unpack(TargetOf(entry_).row); }

void BTreeCursor::Settle() {
  if (leaf_ && changes_ == tree_->Changes()) return;
  leaf_ = PageRef();
  changes_ = tree_->Changes();
  if (place_ == Place::kFirst || place_ == Place::kLast) {
    leaf_ = tree_->DescendToEnd(place_ == Place::kLast);
    at_ = place_ == Place::kLast ? IndexPageView(leaf_).Used() : 0;
    return;
  }
  IndexTarget target;
  if (place_ == Place::kBeforeKey || place_ == Place::kAfterKey) {
    target = {sought_, 0, place_ == Place::kBeforeKey ? IndexTarget::Side::kBefore : IndexTarget::Side::kAfter};
  } else {
    target = TargetOf(entry_);
  }
  PageRef found = tree_->Descend(target);
  const IndexPageView view(found);
  at_ = view.LowerBound(target);
  if (place_ == Place::kAfterEntry && at_ != view.Used() && view.EntryEquals(at_, target.key, target.row)) at_ = view.EndOf(at_);
  leaf_ = std::move(found);
}

namespace {

/// The entry of a leaf that is met last on the way; the edge stays as it is when there is none.
void CopyEdge(const IndexPageView& leaf, bool forward, Bytes& edge) {
  if (!leaf.Empty()) leaf.CopyEntry(forward ? leaf.BeginBefore(leaf.Used()) : 0, edge);
}

/// The first entry met lies behind the edge of the leaves before. Errors: kDamaged.
void RequireBehind(const IndexPageView& leaf, bool forward, const Bytes& edge) {
  if (!leaf.IsLeaf()) leaf.Refuse("an index node stands among leaves", 0);
  if (leaf.Empty() || edge.empty()) return;
  const std::size_t border = forward ? 0 : leaf.BeginBefore(leaf.Used());
  const int order = leaf.Compare(border, TargetOf(edge));
  if (forward ? order <= 0 : order >= 0) leaf.Refuse("index leaves are not in order", border);
}

}  // namespace

bool BTreeCursor::MoveToNeighbour(bool forward) {
  Bytes edge;  // entry next to the border that is passed: the order of entries shows chains that run in circles
  for (PageNumber passed = 0;; ++passed) {
    const IndexPageView from(leaf_);
    CopyEdge(from, forward, edge);
    const PageNumber number = forward ? from.Next() : from.Previous();
    if (number == 0) return false;
    if (passed > tree_->store_.PageCount()) from.Refuse("the chain of index leaves runs in a circle", 0);
    PageRef page = tree_->store_.Read(number);
    const IndexPageView to(page);
    RequireBehind(to, forward, edge);
    leaf_ = std::move(page);
    at_ = forward ? 0 : to.Used();
    if (!to.Empty()) return true;
  }
}

bool BTreeCursor::Next() {
  Settle();
  if (at_ == IndexPageView(leaf_).Used() && !MoveToNeighbour(true)) return false;
  const IndexPageView leaf(leaf_);
  leaf.CopyEntry(at_, entry_);
  at_ = leaf.EndOf(at_);
  place_ = Place::kAfterEntry;
  return true;
}

bool BTreeCursor::Previous() {
  Settle();
  if (at_ == 0 && !MoveToNeighbour(false)) return false;
  const IndexPageView leaf(leaf_);
  at_ = leaf.BeginBefore(at_);
  leaf.CopyEntry(at_, entry_);
  place_ = Place::kBeforeEntry;
  return true;
}

}  // namespace jet

#include "jet/index/BTreeCheck.h"

#include <algorithm>
#include <optional>
#include <string>

#include "jet/value/Error.h"
#include "jet/index/IndexPage.h"

namespace jet {
namespace {

constexpr std::size_t kMaxDepth = 32;
constexpr std::uint32_t kFreeOffset = 2;
constexpr std::uint32_t kTableOffset = 4;
constexpr std::uint32_t kPreviousOffset = 12;
constexpr std::uint32_t kNextOffset = 16;
constexpr std::uint32_t kTailOffset = 20;
constexpr std::uint32_t kPrefixOffset = 24;

/// A page's neighbours as it names them.
struct Links {
  PageNumber page;
  PageNumber previous;
  PageNumber next;
};

class Walk {
 public:
  Walk(PageStore& store, PageNumber table, const TreeVisitor& visit)
      : store_(store), table_(table), visit_(visit), seen_(store.PageCount()) {}

  TreeFacts Run(PageNumber root) {
    Visit(root, 0);
    if (facts_.findings.empty()) CheckLeafChain();
    return std::move(facts_);
  }

 private:
  void Report(PageNumber page, std::size_t offset, std::string text) {
    facts_.findings.push_back({page, static_cast<std::uint32_t>(offset), std::move(text)});
  }

  /// Last entry (key and row) below the page; empty when there is none or the page could not be read.
  Bytes Visit(PageNumber page, std::size_t depth) {
    if (page >= seen_.size()) {
      Report(page, 0, "an index names a page outside the file");
      return {};
    }
    if (seen_[page]) {
      Report(page, 0, "an index page has two parents");
      return {};
    }
    seen_[page] = true;
    try {
      const PageRef read = store_.Read(page);
      const IndexPageView view(read);
      facts_.pages.push_back(page);
      CheckHeader(view, depth);
      return view.IsLeaf() ? VisitLeaf(view, depth) : VisitNode(view, depth);
    } catch (const Error& error) {
      Report(error.Page(), error.Offset(), error.what());
      return {};
    }
  }

  void CheckHeader(const IndexPageView& view, std::size_t depth) {
    const PageNumber page = view.Number();
    if (view.Table() != table_) {
      Report(page, kTableOffset,
             "an index page names table " + std::to_string(view.Table()) + " as its owner, not " + std::to_string(table_));
    }
    if (view.FreeBytes() != view.Room() - view.Used()) {
      Report(page, kFreeOffset,
             "an index page says it has " + std::to_string(view.FreeBytes()) + " free bytes, it has " +
                 std::to_string(view.Room() - view.Used()));
    }
    if (depth == 0 && (view.Previous() != 0 || view.Next() != 0)) Report(page, kPreviousOffset, "the root of an index has neighbours");
    if (view.IsLeaf() && view.Tail() != 0) Report(page, kTailOffset, "an index leaf has a child");
    if (view.IsLeaf() && depth != 0 && view.Empty()) Report(page, kFreeOffset, "an index leaf below the root is empty");
  }

  /// Checks order and prefix of one entry after another; `entry` becomes the last one.
  void CheckEntry(const IndexPageView& view, std::size_t begin, const Bytes& current, Bytes& before) {
    const std::size_t kept = view.IsLeaf() ? 1 : 1 + kChildSize;
    if (view.Used() != view.EndOf(0) && current.size() < view.Prefix() + kept) {
      Report(view.Number(), kPrefixOffset, "the prefix of an index page covers the slot of a row");
    }
    const std::span<const std::byte> keyAndRow(current.data(), current.size() - (view.IsLeaf() ? 0 : kChildSize));
    if (!before.empty()) {
      const IndexTarget target = TargetOf(before);
      if (view.Compare(begin, target) <= 0) {
        Report(view.Number(), view.EntriesOffset() + begin, "index entries are not in order");
      }
    }
    before.assign(keyAndRow.begin(), keyAndRow.end());
  }

  Bytes VisitLeaf(const IndexPageView& view, std::size_t depth) {
    if (!leafDepth_) leafDepth_ = depth;
    if (*leafDepth_ != depth) Report(view.Number(), 0, "the leaves of an index are not all on one level");
    leaves_.push_back({view.Number(), view.Previous(), view.Next()});
    Bytes entry;
    for (std::size_t begin = 0; begin < view.Used(); begin = view.EndOf(begin)) {
      view.CopyEntry(begin, entry);
      CheckEntry(view, begin, entry, lastEntry_);
      if (begin == 0 && !border_.empty() && view.Compare(begin, TargetOf(border_)) <= 0)
        Report(view.Number(), view.EntriesOffset(), "an index leaf begins before what its parent says");
      ++facts_.entries;
      const IndexTarget target = TargetOf(entry);
      if (visit_) visit_(target.key, Unpack(target.row));
    }
    return view.Empty() ? Bytes() : lastEntry_;
  }

  Bytes VisitNode(const IndexPageView& view, std::size_t depth) {
    if (depth >= kMaxDepth) view.Refuse("the index has too many levels", 0);
    if (view.Empty()) Report(view.Number(), view.EntriesOffset(), "an index node has no entries");
    std::vector<Links> children;
    const auto visitChild = [&](PageNumber child) {
      const Bytes last = Visit(child, depth + 1);
      if (child < seen_.size()) children.push_back(LinksOf(child));
      return last;
    };
    Bytes entry;
    Bytes before;
    Bytes last;
    for (std::size_t begin = 0; begin < view.Used(); begin = view.EndOf(begin)) {
      view.CopyEntry(begin, entry);
      CheckEntry(view, begin, entry, before);
      last = visitChild(view.ChildOf(begin));
      // Access leaves the copy as it was when the child loses its last entry: it must only lie between this child and the next.
      if (!last.empty() && view.Compare(begin, TargetOf(last)) < 0)
        Report(view.Number(), view.EntriesOffset() + begin, "an index node's copy lies before the last entry of the child");
      if (!last.empty()) border_ = before;
    }
    if (view.Tail() != 0) last = visitChild(view.Tail());
    CheckNodeChain(children);
    return last;
  }

  Links LinksOf(PageNumber page) {
    try {
      const PageRef read = store_.Read(page);
      const IndexPageView view(read);
      return {view.IsLeaf() ? 0 : page, view.Previous(), view.Next()};
    } catch (const Error&) {
      return {};  // reported already
    }
  }

  /// Nodes under one parent are chained; at both ends the chain may end or go on under the next parent.
  void CheckNodeChain(const std::vector<Links>& nodes) {
    for (std::size_t i = 0; i + 1 < nodes.size(); ++i) {
      if (nodes[i].page == 0 || nodes[i + 1].page == 0) continue;  // leaves have their own check
      if (nodes[i].next != nodes[i + 1].page) Report(nodes[i].page, kNextOffset, "an index node names a wrong next node");
      if (nodes[i + 1].previous != nodes[i].page) Report(nodes[i + 1].page, kPreviousOffset, "an index node names a wrong previous node");
    }
  }

  void CheckLeafChain() {
    for (std::size_t i = 0; i < leaves_.size(); ++i) {
      const PageNumber previous = i == 0 ? 0 : leaves_[i - 1].page;
      const PageNumber next = i + 1 == leaves_.size() ? 0 : leaves_[i + 1].page;
      if (leaves_[i].previous != previous) Report(leaves_[i].page, kPreviousOffset, "an index leaf names a wrong previous leaf");
      if (leaves_[i].next != next) Report(leaves_[i].page, kNextOffset, "an index leaf names a wrong next leaf");
    }
  }

  PageStore& store_;
  PageNumber table_;
  const TreeVisitor& visit_;
  std::vector<bool> seen_;
  std::vector<Links> leaves_;
  std::optional<std::size_t> leafDepth_;
  Bytes lastEntry_;
  Bytes border_;  ///< the copy in a node that the leaf before this one lies below; the next leaf lies behind it
  TreeFacts facts_;
};

}  // namespace

TreeFacts CheckTree(PageStore& store, PageNumber root, PageNumber table, const TreeVisitor& visit) {
  return Walk(store, table, visit).Run(root);
}

}  // namespace jet

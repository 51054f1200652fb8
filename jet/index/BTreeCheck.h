#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "jet/page/Finding.h"
#include "jet/page/PageStore.h"

namespace jet {

/// What a walk over a whole tree has found.
struct TreeFacts {
  std::vector<Finding> findings;  ///< empty: sound
  std::vector<PageNumber> pages;  ///< every page of the tree once, the root first
  std::uint64_t entries = 0;
};

/// Called with each entry of the leaves, in order.
using TreeVisitor = std::function<void(std::span<const std::byte> key, RowId row)>;

/// Walks every page of an index from its root and compares everything with everything: page headers and owner, free bytes, where entries
/// end, prefix rules, strict order within and across pages, the parents' copies of their children's last entries, one depth for all
/// leaves, the chains of leaves and of nodes. Reads only; damage becomes findings, never an exception, and ends the walk below it.
[[nodiscard]] TreeFacts CheckTree(PageStore& store, PageNumber root, PageNumber table, const TreeVisitor& visit = {});

}  // namespace jet

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "jet/index/BTree.h"

namespace jet {

/// Fills a tree with the entries of many rows that come in any order, for making an index of a table that has rows already.
/// Entries are gathered and put in sorted, as many at a time as the memory allowed holds, so that pages fill up one after the other.
class IndexBuilder {
 public:
  explicit IndexBuilder(BTree& tree, std::size_t memory = std::size_t{32} << 20) : tree_(tree), memory_(memory) {}

  /// Takes one row. `unique` as in BTree::Insert. A duplicate, which may be one of an earlier row, gives the two rows.
  struct Duplicate {
    RowId first;
    RowId second;
  };
  [[nodiscard]] std::optional<Duplicate> Add(std::span<const std::byte> key, RowId row, bool unique);
  /// Puts in what is still waiting. Without this call the tree is incomplete.
  [[nodiscard]] std::optional<Duplicate> Finish();

 private:
  struct Waiting {
    std::size_t begin;  ///< of the key in keys_
    std::uint32_t size;
    RowId row;
    bool unique;
  };

  BTree& tree_;
  std::size_t memory_;
  Bytes keys_;
  std::vector<Waiting> waiting_;
};

}  // namespace jet

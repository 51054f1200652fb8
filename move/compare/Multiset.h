#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "move/compare/Digest.h"

namespace tamlo::move {

/// A row that one side has more often than the other.
struct Odd {
  Digest digest;
  bool alsoThere = false;  ///< the other side has it too, less often
};

/// How the digests of two tables differ.
struct OddRows {
  std::uint64_t rowsA = 0;
  std::uint64_t rowsB = 0;
  std::uint64_t onlyA = 0;
  std::uint64_t onlyB = 0;
  std::vector<Odd> a;  ///< in order; the first that were found where there are very many
  std::vector<Odd> b;
};

/// Gives the digest of each row of one side to a function.
using Walk = std::function<void(const std::function<void(const Digest&)>&)>;

/// Finds the rows that differ in memory that does not grow with the tables: sums over parts of the space of digests first, the digests of
/// the parts that differ then, at most about that many at a time. The walks have to give the same rows each time.
[[nodiscard]] OddRows FindOddRows(const Walk& walkA, const Walk& walkB, std::uint64_t held = 4'000'000);

}  // namespace tamlo::move

#include "move/compare/Multiset.h"

#include <algorithm>

namespace tamlo::move {
namespace {

constexpr std::size_t kParts = 4096;
constexpr unsigned kShift = 64 - 12;
constexpr std::size_t kKept = 100'000;  ///< odd rows that are told apart

/// A sum sees a row that is there twice, which an exclusive or would not.
struct Part {
  std::uint64_t count = 0;
  Digest sum;
  friend bool operator==(const Part&, const Part&) = default;
};

std::size_t PartOf(const Digest& digest) { return digest.high >> kShift; }

std::vector<Part> Sums(const Walk& walk, std::uint64_t& rows) {
  std::vector<Part> parts(kParts);
  walk([&](const Digest& digest) {
    ++rows;
    Part& part = parts[PartOf(digest)];
    ++part.count;
    part.sum.high += digest.high;
    part.sum.low += digest.low;
  });
  return parts;
}

std::vector<Digest> DigestsOf(const Walk& walk, const std::vector<bool>& wanted) {
  std::vector<Digest> digests;
  walk([&](const Digest& digest) {
    if (wanted[PartOf(digest)]) digests.push_back(digest);
  });
  std::sort(digests.begin(), digests.end());
  return digests;
}

/// Those of the first that the second has not, or not as often. Both are in order.
std::uint64_t AddOdd(const std::vector<Digest>& digests, const std::vector<Digest>& others, std::vector<Odd>& odd) {
  std::uint64_t count = 0;
  for (auto at = digests.begin(), other = others.begin(); at != digests.end();) {
    const auto end = std::upper_bound(at, digests.end(), *at);
    other = std::lower_bound(other, others.end(), *at);
    const auto otherEnd = std::upper_bound(other, others.end(), *at);
    const std::ptrdiff_t more = (end - at) - (otherEnd - other);
    if (more > 0) {
      count += static_cast<std::uint64_t>(more);
      if (odd.size() < kKept) odd.push_back({*at, otherEnd != other});
    }
    at = end;
    other = otherEnd;
  }
  return count;
}

}  // namespace

OddRows FindOddRows(const Walk& walkA, const Walk& walkB, std::uint64_t held) {
  OddRows found;
  const auto a = Sums(walkA, found.rowsA);
  const auto b = Sums(walkB, found.rowsB);
  for (std::size_t part = 0; part < kParts;) {
    std::vector<bool> wanted(kParts, false);
    std::uint64_t rows = 0;
    for (; part < kParts && rows < held; ++part) {
      if (a[part] == b[part]) continue;
      wanted[part] = true;
      rows += a[part].count + b[part].count;
    }
    if (rows == 0) continue;
    const auto inA = DigestsOf(walkA, wanted);
    const auto inB = DigestsOf(walkB, wanted);
    found.onlyA += AddOdd(inA, inB, found.a);
    found.onlyB += AddOdd(inB, inA, found.b);
  }
  return found;
}

}  // namespace tamlo::move

#include "jet/index/IndexBuilder.h"

#include <algorithm>

namespace jet {

std::optional<IndexBuilder::Duplicate> IndexBuilder::Add(std::span<const std::byte> key, RowId row, bool unique) {
  waiting_.push_back({keys_.size(), static_cast<std::uint32_t>(key.size()), row, unique});
  keys_.insert(keys_.end(), key.begin(), key.end());
  if (keys_.size() + waiting_.size() * sizeof(Waiting) < memory_) return std::nullopt;
  return Finish();
}

std::optional<IndexBuilder::Duplicate> IndexBuilder::Finish() {
  const auto keyOf = [this](const Waiting& entry) { return std::span<const std::byte>(keys_).subspan(entry.begin, entry.size); };
  std::sort(waiting_.begin(), waiting_.end(), [&](const Waiting& left, const Waiting& right) {
    const std::span<const std::byte> a = keyOf(left);
    const std::span<const std::byte> b = keyOf(right);
    const auto [x, y] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    if (y == b.end()) return x == a.end() && left.row < right.row;
    return x == a.end() || *x < *y;
  });
  std::optional<Duplicate> duplicate;
  for (const Waiting& entry : waiting_) {
    if (const std::optional<RowId> other = tree_.Insert(keyOf(entry), entry.row, entry.unique)) {
      duplicate = Duplicate{*other, entry.row};
      break;
    }
  }
  keys_.clear();
  waiting_.clear();
  return duplicate;
}

}  // namespace jet

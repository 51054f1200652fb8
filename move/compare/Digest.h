#pragma once

#include <compare>
#include <cstdint>
#include <string_view>

namespace tamlo::move {

/// What stands for a row: equal rows have equal digests, different ones differ but for one case in 2^128.
struct Digest {
  std::uint64_t high = 0;
  std::uint64_t low = 0;
  friend auto operator<=>(const Digest&, const Digest&) = default;
};

/// MurmurHash3 of 128 bits. Not against somebody who looks for collisions: rows are compared, not trusted.
[[nodiscard]] Digest DigestOf(std::string_view bytes);

}  // namespace tamlo::move

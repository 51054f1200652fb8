#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "jet/value/ByteOrder.h"

namespace jet {

/// A number that tells bytes from other bytes: torn, stale or changed ones. Not meant against an adversary.
[[nodiscard]] inline std::uint64_t Mix(std::uint64_t state, std::span<const std::byte> bytes) noexcept {
  std::size_t i = 0;
  for (; i + 8 <= bytes.size(); i += 8) {
    state = (state ^ Load64(bytes.data() + i)) * 0x9E3779B97F4A7C15ull;
    state ^= state >> 29;
  }
  for (; i < bytes.size(); ++i) state = (state ^ static_cast<std::uint64_t>(bytes[i])) * 0x100000001B3ull;
  state ^= state >> 32;
  return state * 0xD6E8FEB86659FD93ull;
}

}  // namespace jet

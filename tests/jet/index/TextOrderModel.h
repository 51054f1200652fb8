#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace jet::tests {

/// The key of a text over its whole length, without its flag and its last byte: written for being read, straight from the order table.
[[nodiscard]] std::vector<std::uint8_t> ModelKey(std::string_view text);

/// Compares the keys of two texts: -1, 0 or 1.
[[nodiscard]] int ModelCompare(std::string_view left, std::string_view right);

}  // namespace jet::tests

#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tamlo::tests {

/// A value between two commas: nothing for an empty place without quotes.
using Cell = std::optional<std::string>;

/// Reads comma separated values as RFC 4180 has them, line ends inside of quotes included.
std::vector<std::vector<Cell>> ReadCsv(const std::string& text);

}  // namespace tamlo::tests

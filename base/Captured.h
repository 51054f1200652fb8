#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace tamlo::base {

/// What the marks of a pattern stand for in a text, in their order; nothing when it does not fit. A mark is any one character of `marks` and stands
/// for any text, the shortest that what follows it in the pattern allows.
[[nodiscard]] std::optional<std::vector<std::string_view>> Captured(std::string_view text, std::string_view pattern,
                                                                    std::string_view marks = "*");

}  // namespace tamlo::base

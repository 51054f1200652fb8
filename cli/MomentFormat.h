#pragma once

#include <optional>
#include <string>

namespace tamlo::cli {

/// A moment in the format of Reading::dateFormat; nothing where reading it back would give another moment: a format without hours for a moment
/// that has some, years in two digits beyond 1930 to 2029. What is no day of Access's calendar is its number, as everywhere.
[[nodiscard]] std::optional<std::string> MomentIn(const std::string& format, double serial);

}  // namespace tamlo::cli

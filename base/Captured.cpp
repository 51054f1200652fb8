#include "base/Captured.h"

#include <cstddef>

namespace tamlo::base {

std::optional<std::vector<std::string_view>> Captured(std::string_view text, std::string_view pattern, std::string_view marks) {
  std::vector<std::string_view> captured;
  for (std::size_t mark = pattern.find_first_of(marks); mark != std::string_view::npos; mark = pattern.find_first_of(marks)) {
    if (text.substr(0, mark) != pattern.substr(0, mark)) return std::nullopt;
    text.remove_prefix(mark);
    pattern.remove_prefix(mark + 1);
    const std::string_view behind = pattern.substr(0, pattern.find_first_of(marks));
    const bool last = behind.size() == pattern.size();
    if (last && !text.ends_with(behind)) return std::nullopt;
    const std::size_t end = last ? text.size() - behind.size() : text.find(behind);
    if (end == std::string_view::npos) return std::nullopt;
    captured.push_back(text.substr(0, end));
    text.remove_prefix(end);
  }
  return text == pattern ? std::optional(captured) : std::nullopt;
}

}  // namespace tamlo::base

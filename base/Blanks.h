#pragma once

#include <string_view>

namespace base {

/// Without leading and trailing blanks (U+0020 only), without trailing ones.
[[nodiscard]] constexpr std::string_view TrimRight(std::string_view text) noexcept {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}
[[nodiscard]] constexpr std::string_view Trim(std::string_view text) noexcept {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  return TrimRight(text);
}

}  // namespace base

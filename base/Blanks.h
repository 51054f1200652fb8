#pragma once

#include <algorithm>
#include <string_view>

namespace base {

/// Without trailing blanks (U+0020 only), without leading ones, without both.
[[nodiscard]] constexpr std::string_view TrimRight(std::string_view text) noexcept {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}
[[nodiscard]] constexpr std::string_view TrimLeft(std::string_view text) noexcept {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  return text;
}
[[nodiscard]] constexpr std::string_view Trim(std::string_view text) noexcept { return TrimRight(TrimLeft(text)); }

/// Without any of the given characters at both ends.
[[nodiscard]] constexpr std::string_view TrimOf(std::string_view text, std::string_view characters) noexcept {
  text.remove_prefix(std::min(text.find_first_not_of(characters), text.size()));
  return text.substr(0, text.find_last_not_of(characters) + 1);
}

/// White space as the C locale has it, whatever the locale of the program: bytes of other letters are none.
[[nodiscard]] constexpr bool IsWhite(char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }

}  // namespace base

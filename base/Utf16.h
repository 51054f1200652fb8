#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/Utf8.h"

namespace base {

/// UTF-16: characters beyond U+FFFF are two units, the halves of a pair.
[[nodiscard]] constexpr bool IsFirstHalf(char32_t unit) noexcept { return (unit & 0xFFFFFC00U) == 0xD800U; }
[[nodiscard]] constexpr bool IsSecondHalf(char32_t unit) noexcept { return (unit & 0xFFFFFC00U) == 0xDC00U; }
/// The halves of a character beyond U+FFFF.
[[nodiscard]] constexpr char16_t FirstHalf(char32_t code) noexcept { return static_cast<char16_t>(0xD7C0U + (code >> 10U)); }
[[nodiscard]] constexpr char16_t SecondHalf(char32_t code) noexcept { return static_cast<char16_t>(0xDC00U | (code & 0x3FFU)); }

/// Reads the character that begins at unit i of count units, which at(i) gives, and moves i behind it. A half without its other half is
/// given as it stands.
template <typename UnitAt>
[[nodiscard]] constexpr char32_t TakeUtf16(const UnitAt& at, std::size_t count, std::size_t& i) {
  const char32_t unit = at(i++);
  if (!IsFirstHalf(unit) || i == count) return unit;
  const char32_t next = at(i);
  if (!IsSecondHalf(next)) return unit;
  ++i;
  return 0x10000U + ((unit - 0xD800U) << 10U) + (next - 0xDC00U);
}

/// Gives the units of a UTF-8 text to put, one by one; U+FFFD for what is no character.
template <typename Put>
constexpr void EachUtf16Unit(std::string_view text, Halves halves, const Put& put) {
  while (!text.empty()) {
    const char32_t code = TakeCharacter(text, halves);
    if (code < 0x10000) {
      put(static_cast<char16_t>(code));
    } else if (IsStrayByte(code)) {
      put(static_cast<char16_t>(kReplacement));
    } else {
      put(FirstHalf(code));
      put(SecondHalf(code));
    }
  }
}

/// Whole texts, for the native edges. What is no character becomes U+FFFD, a half without its other half too.
[[nodiscard]] std::u16string ToUtf16(std::string_view text);
[[nodiscard]] std::string FromUtf16(std::u16string_view units);

}  // namespace base

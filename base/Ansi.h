#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace base {

/// Windows-1252. Its five codes without a letter (0x81, 0x8D, 0x8F, 0x90, 0x9D) are the control characters of the same number.

/// The code of a character (0 to 255), or '?' (63) for one that has none; and the character of a code.
[[nodiscard]] std::uint8_t AnsiCode(char32_t character) noexcept;
[[nodiscard]] char32_t AnsiCharacter(std::uint8_t code) noexcept;
/// Whole texts: UTF-8 to ANSI bytes and back.
[[nodiscard]] std::string ToAnsi(std::string_view text);
[[nodiscard]] std::string FromAnsi(std::string_view bytes);

}  // namespace base

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tamlo::runtime {

/// Text operations on UTF-8. A character is a code point. Bytes that are no valid UTF-8 pass through as they are, one character each.

/// Upper and lower case of every letter that Unicode pairs one to one (e with acute accent included), whatever the locale.
[[nodiscard]] std::string UpperCase(std::string_view text);
[[nodiscard]] std::string LowerCase(std::string_view text);
/// Appends the upper case of text to out (no other allocation).
void AppendUpperCase(std::string& out, std::string_view text);

/// Without leading and trailing blanks (U+0020 only), without trailing ones.
[[nodiscard]] std::string_view Trim(std::string_view text) noexcept;
[[nodiscard]] std::string_view TrimRight(std::string_view text) noexcept;

/// Number of characters.
[[nodiscard]] std::size_t Length(std::string_view text) noexcept;
/// The first count characters (all when there are fewer).
[[nodiscard]] std::string_view Left(std::string_view text, std::size_t count) noexcept;

/// Conversions for the native edges. Invalid input becomes U+FFFD.
[[nodiscard]] std::u16string ToUtf16(std::string_view text);
[[nodiscard]] std::string FromUtf16(std::u16string_view text);

/// Windows-1252: the ANSI code of a character (0 to 255), or '?' (63) for one that has none; and the character of a code.
[[nodiscard]] std::uint8_t AnsiCode(char32_t character) noexcept;
[[nodiscard]] char32_t AnsiCharacter(std::uint8_t code) noexcept;
/// Whole texts: UTF-8 to ANSI bytes and back.
[[nodiscard]] std::string ToAnsi(std::string_view text);
[[nodiscard]] std::string FromAnsi(std::string_view bytes);

/// Appends one code point as UTF-8.
void AppendCharacter(std::string& out, char32_t character);
/// Takes the next code point off the front of text (which must not be empty).
[[nodiscard]] char32_t NextCharacter(std::string_view& text) noexcept;

}  // namespace tamlo::runtime

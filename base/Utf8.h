#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace base {

/// UTF-8, read so that nothing is lost: a byte that belongs to no character is taken alone, travels as kStrayByte plus itself, and is
/// written as the byte that it was.
inline constexpr char32_t kReplacement = 0xFFFD;  ///< stands for what could not be read
inline constexpr char32_t kLastCharacter = 0x10FFFF;
inline constexpr char32_t kStrayByte = 0x110000;  ///< plus 0x80 to 0xFF: a code that no text gives

[[nodiscard]] constexpr bool IsStrayByte(char32_t code) noexcept { return code >= kStrayByte; }
/// A code of UTF-16's surrogates.
[[nodiscard]] constexpr bool IsHalf(char32_t code) noexcept { return code >= 0xD800 && code <= 0xDFFF; }
/// True for a byte behind the first one of a character.
[[nodiscard]] constexpr bool IsInsideCharacter(char byte) noexcept { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

/// Whether the three bytes that a half of a pair would have are a character. Valid text has none, Access files hold some and keep them.
enum class Halves { kStray, kKept };

/// Takes the next character off the front of text, which must not be empty.
[[nodiscard]] constexpr char32_t TakeCharacter(std::string_view& text, Halves halves = Halves::kStray) noexcept;
/// Appends a character, a half of a pair included, or the byte of a stray one.
void AppendCharacter(std::string& out, char32_t code);

/// Number of characters; the first count of them (all when there are fewer).
[[nodiscard]] std::size_t CountCharacters(std::string_view text) noexcept;
[[nodiscard]] std::string_view FirstCharacters(std::string_view text, std::size_t count) noexcept;
/// Number of ASCII bytes at the front of text.
[[nodiscard]] std::size_t AsciiRun(std::string_view text) noexcept;

/// Pieces of texts never end inside of a character. The bytes, at most limit, of the longest beginning of text that ends between two
/// characters; 0 when the first one is longer than limit.
[[nodiscard]] std::size_t WholeCharacters(std::string_view text, std::size_t limit) noexcept;
/// The bytes at the end of a piece (0 to 3) that begin a character whose rest is still to come.
[[nodiscard]] std::size_t BegunCharacter(std::string_view piece) noexcept;

constexpr char32_t TakeCharacter(std::string_view& text, Halves halves) noexcept {
  const char32_t lead = static_cast<unsigned char>(text.front());
  const auto stray = [&] {
    text.remove_prefix(1);
    return kStrayByte + lead;
  };
  if (lead < 0x80) {
    text.remove_prefix(1);
    return lead;
  }
  if (lead < 0xC2 || lead > 0xF4) return stray();
  const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (text.size() < length) return stray();
  char32_t code = lead & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if (!IsInsideCharacter(text[i])) return stray();
    code = code << 6U | (static_cast<unsigned char>(text[i]) & 0x3FU);
  }
  const bool longerThanNeeded = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
  if (longerThanNeeded || code > kLastCharacter || (halves == Halves::kStray && IsHalf(code))) return stray();
  text.remove_prefix(length);
  return code;
}

}  // namespace base

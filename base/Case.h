#pragma once

#include <string>
#include <string_view>

namespace base {

/// Upper and lower case of every letter that Unicode pairs one to one (accents, Greek, Cyrillic and the rest), whatever the locale. Letters
/// whose capital is several letters (sharp s) or is shared (final sigma, dotless i) have none. CaseTable.inc holds the pairs.
[[nodiscard]] char32_t UpperOf(char32_t letter) noexcept;
[[nodiscard]] char32_t LowerOf(char32_t letter) noexcept;

/// The same of ASCII alone.
[[nodiscard]] constexpr char AsciiUpper(char letter) noexcept {
  return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 32) : letter;
}
[[nodiscard]] constexpr char AsciiLower(char letter) noexcept {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
}

/// Whole texts in UTF-8. Bytes that are no valid UTF-8 stay as they are.
[[nodiscard]] std::string UpperCase(std::string_view text);
[[nodiscard]] std::string LowerCase(std::string_view text);
/// Appends the upper case of text to out (no other allocation).
void AppendUpperCase(std::string& out, std::string_view text);

/// The one rule by which names are found: two names are the same when their letters differ in case alone. A byte that is no valid UTF-8
/// counts as U+FFFD, which is what a file would hold for it.
[[nodiscard]] bool SameName(std::string_view left, std::string_view right) noexcept;
/// The form in capitals and the form in small letters that same names share, for maps and for orders.
[[nodiscard]] std::string UpperName(std::string_view name);
[[nodiscard]] std::string LowerName(std::string_view name);

}  // namespace base

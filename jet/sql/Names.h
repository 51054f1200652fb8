#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace jet::sql {

/// The form in which names compare equal: upper case of the letters that Unicode pairs one to one (Latin, Greek, Cyrillic).
/// Bytes that are no valid UTF-8 stay as they are.
[[nodiscard]] std::string FoldName(std::string_view name);
[[nodiscard]] bool SameName(std::string_view a, std::string_view b);

/// Upper and lower case of a text, letter by letter as FoldName does it.
[[nodiscard]] std::string UpperCase(std::string_view text);
[[nodiscard]] std::string LowerCase(std::string_view text);
[[nodiscard]] char32_t UpperLetter(char32_t letter) noexcept;
[[nodiscard]] char32_t LowerLetter(char32_t letter) noexcept;

/// Takes the next code point off the front of text (which must not be empty); a byte that starts nothing valid stands for itself.
[[nodiscard]] char32_t TakeLetter(std::string_view& text) noexcept;
void AppendLetter(std::string& out, char32_t letter);
[[nodiscard]] std::u32string Letters(std::string_view text);
[[nodiscard]] std::string FromLetters(std::u32string_view letters);

}  // namespace jet::sql

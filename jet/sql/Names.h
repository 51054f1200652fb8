#pragma once

#include <string>
#include <string_view>

#include "base/Case.h"
#include "base/Utf8.h"

namespace jet::sql {

/// Names are found as base/Case.h says; this is the form in capitals, which is also that of keywords.
[[nodiscard]] inline std::string FoldName(std::string_view name) { return base::UpperName(name); }
using base::SameName;

/// Upper and lower case of texts and of letters.
using base::LowerCase;
using base::UpperCase;
[[nodiscard]] inline char32_t UpperLetter(char32_t letter) noexcept { return base::UpperOf(letter); }

/// Takes the next code point off the front of text (which must not be empty), a half of a pair included, as files hold them; a byte that
/// starts nothing valid stands for itself.
[[nodiscard]] inline char32_t TakeLetter(std::string_view& text) noexcept { return base::TakeCharacter(text, base::Halves::kKept); }
inline void AppendLetter(std::string& out, char32_t letter) { base::AppendCharacter(out, letter); }
[[nodiscard]] std::u32string Letters(std::string_view text);
[[nodiscard]] std::string FromLetters(std::u32string_view letters);

}  // namespace jet::sql

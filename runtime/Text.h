#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/Ansi.h"
#include "base/Case.h"
#include "base/Utf16.h"
#include "base/Utf8.h"

namespace tamlo::runtime {

/// Text operations on UTF-8. A character is a code point. Bytes that are no valid UTF-8 pass through as they are, one character each.
/// Most are those of base, where they are described.
using base::AppendUpperCase;
using base::LowerCase;
using base::UpperCase;

using base::FromUtf16;
using base::ToUtf16;

using base::AnsiCharacter;
using base::AnsiCode;
using base::FromAnsi;
using base::ToAnsi;

using base::AppendCharacter;

/// Takes the next character off the front of text (which must not be empty).
[[nodiscard]] inline char32_t NextCharacter(std::string_view& text) noexcept { return base::TakeCharacter(text); }

/// Without leading and trailing blanks (U+0020 only), without trailing ones.
[[nodiscard]] std::string_view Trim(std::string_view text) noexcept;
[[nodiscard]] std::string_view TrimRight(std::string_view text) noexcept;

/// Number of characters.
[[nodiscard]] inline std::size_t Length(std::string_view text) noexcept { return base::CountCharacters(text); }
/// The first count characters (all when there are fewer).
[[nodiscard]] inline std::string_view Left(std::string_view text, std::size_t count) noexcept { return base::FirstCharacters(text, count); }

}  // namespace tamlo::runtime

#pragma once

#include <string>

/// The password code table and the encoding that it gives: reversible, made to keep passwords out of plain sight, not
/// to protect them. Codes are ANSI codes. The table is process-wide and exists only between InitTableCode and
/// LibereTableCode.
namespace tamlo::app {

/// Builds the table: 256 entries, all 0 but those of 32 (space) to 125 (right brace).
void InitTableCode();
/// Erases it; nothing when there is none.
void LibereTableCode() noexcept;
[[nodiscard]] bool TableCodePresente() noexcept;

/// Clear text to stored text. A character whose code is outside 32 to 125, and one that has no ANSI code, becomes the
/// character of code 0: it cannot be decoded again. Error 9 without the table (an empty text needs none).
[[nodiscard]] std::string CodePwd(const std::string& clair);
/// Whether every character of a clear text counts: whether CodePwd tells it from every other one.
[[nodiscard]] bool ToutCompte(const std::string& clair);
/// Stored text, its trailing spaces left out, to clear text. A character that is in none of the entries 0 to 127, or has
/// no ANSI code, gives the one of code 128. Error 9 without the table (an empty text needs none).
[[nodiscard]] std::string DecodePwd(const std::string& code);

}  // namespace tamlo::app

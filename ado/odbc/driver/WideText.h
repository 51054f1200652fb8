#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tamlo::ado::odbc {

/// UTF-16 units as UTF-8; a surrogate without its pair becomes U+FFFD. Plain ASCII costs one copy.
[[nodiscard]] std::string ToUtf8(const char16_t* units, std::size_t count);
/// Replaces out by the text; its memory is used again.
void AssignUtf16(std::u16string& out, std::string_view text);
[[nodiscard]] std::u16string ToUtf16(std::string_view text);
/// Appends the text's UTF-16 units.
void AppendUtf16(std::vector<std::byte>& out, std::string_view text);
/// Appends the text; what is no valid UTF-8 in it becomes U+FFFD. Plain ASCII costs one copy.
void AppendUtf8(std::vector<std::byte>& out, std::string_view text);

}  // namespace tamlo::ado::odbc

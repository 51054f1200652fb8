#pragma once

#include <string_view>

#include "jet/Value.h"

namespace jet {

/// Number of UTF-16 units of a text that its index key looks at.
inline constexpr std::size_t kTextKeyUnits = 255;

/// Appends the index key of a text in the "General" order (language 0x0409, version 0), its flag byte included.
///
/// Two different texts may have equal keys: upper and lower case have, and so do texts that differ in ignored characters, in blanks at
/// the end or after 255 UTF-16 units. Bytes that are no UTF-8 count as U+FFFD.
void AppendTextKey(std::string_view text, bool descending, Bytes& key);
void AppendTextKey(std::u16string_view text, bool descending, Bytes& key);

/// Compares two texts as an ascending index orders them, but over their whole length: negative, 0 or positive.
[[nodiscard]] int CompareText(std::string_view left, std::string_view right);

}  // namespace jet

#pragma once

#include <cstdint>
#include <string_view>

#include "jet/value/Value.h"

namespace jet {

/// Number of UTF-16 units of a text that its index key looks at.
inline constexpr std::size_t kTextKeyUnits = 255;

/// The order of texts in an index, as the language and version of its column name it. Of those after kFrench only a part of the characters
/// has a known place; a text with another one is refused.
enum class TextOrder : std::uint8_t {
  kUnknown,
  kGeneral,             ///< language 0x0409, version 0
  kFrench,              ///< as General, accents compared from the end of the text
  kTurkish,             ///< I without dot is a letter before H's successor; without the letters that Turkish adds
  kSwedish,             ///< W is a V with an accent; without the letters that Swedish adds
  kSpanish,             ///< modern; ASCII
  kTraditionalSpanish,  ///< CH is one letter; ASCII without LL
  kPolish,              ///< ASCII
  kKorean,              ///< Latin letters behind the others; ASCII
  kChinese,             ///< of both countries; ASCII
  kGeneral2010,         ///< language 0x0409, version 1; ASCII and characters beyond U+FFFF
  kAnsiGeneral,         ///< Access 97, language 0x0409 and code page 1252
  kGeneralOnce,         ///< as General, but characters that sort as several letters take one position: keys that some programs have written
};

/// The order of a column of Jet 4.
[[nodiscard]] TextOrder TextOrderOf(std::uint16_t language, std::uint8_t version) noexcept;
/// True when texts that CompareText finds equal have equal keys, so that an index can be searched for them.
[[nodiscard]] bool FindsEqualTexts(TextOrder order) noexcept;
/// True when keys are ordered as CompareText orders.
[[nodiscard]] bool OrdersAsCompareText(TextOrder order) noexcept;
/// Appends the index key in an order, its flag byte included. Errors: kUnsupported for a text with a character whose place in the order is
/// not known, and for kUnknown; nothing has been appended then.
void AppendTextKey(std::string_view text, bool descending, TextOrder order, Bytes& key);

/// Appends the index key of a text in the "General" order (language 0x0409, version 0), its flag byte included.
///
/// Two different texts may have equal keys: upper and lower case have, and so do texts that differ in ignored characters, in blanks at
/// the end or after 255 UTF-16 units. Bytes that are no UTF-8 count as U+FFFD.
void AppendTextKey(std::string_view text, bool descending, Bytes& key);
void AppendTextKey(std::u16string_view text, bool descending, Bytes& key);

/// Compares two texts as an ascending index orders them, but over their whole length: negative, 0 or positive.
[[nodiscard]] int CompareText(std::string_view left, std::string_view right);

}  // namespace jet

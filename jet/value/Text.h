#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/Case.h"
#include "base/Utf8.h"

namespace jet {

/// Appends the UTF-8 form of stored Jet 4 text: UTF-16LE, or the compressed form that begins with FF FE.
/// Half surrogate pairs come out as the three bytes that UTF-8 would have for them, so that keys and copies equal what the file holds;
/// an odd last byte of plain text is left out. Never fails.
void AppendStoredText(std::span<const std::byte> stored, std::string& text);

/// Appends the UTF-8 form of UTF-16LE bytes.
void AppendUtf16(std::span<const std::byte> units, std::string& text);

/// Appends the UTF-8 form of text in an ANSI code page (1250 to 1258 of the Latin kind are known, others read as 1252).
void AppendAnsi(std::span<const std::byte> stored, std::uint16_t codePage, std::string& text);

/// The bytes of a UTF-8 text in an ANSI code page; none where a character is not in it.
[[nodiscard]] std::optional<std::string> ToAnsi(std::string_view utf8, std::uint16_t codePage);
/// True for the code pages whose characters AppendAnsi knows, so that texts can be written in them.
[[nodiscard]] bool IsKnownCodePage(std::uint16_t codePage) noexcept;
/// The bytes of a name in a code page. Error kUnsupported, naming it, when it has a character that is not in it.
[[nodiscard]] std::string NameInCodePage(std::string_view name, std::uint16_t codePage);

/// The UTF-16LE bytes of a UTF-8 text. Half surrogate pairs go back as they came; other bytes that are no UTF-8 become U+FFFD.
[[nodiscard]] std::string ToUtf16(std::string_view utf8);

/// Number of UTF-16 units of a UTF-8 text.
[[nodiscard]] std::size_t CountUtf16(std::string_view utf8);

/// The bytes under which Jet 4 stores a text: compressed when asked, at least three characters long and all of U+0001 to U+00FF.
/// A text that begins with U+FEFF is stored in the wide half of the compressed form, as its own bytes would be taken for the mark of that
/// form. Errors: kLimit when such a text holds a character whose low byte is zero, which that half cannot hold.
[[nodiscard]] std::string ToStoredText(std::string_view utf8, bool compress);

/// The stored form of UTF-16LE bytes that begin with U+FEFF or, when not the first piece, go on with such a text. Errors: kLimit as above.
[[nodiscard]] std::string ToMarkedText(std::string units, bool first);

/// Names are found as base/Case.h says; FoldCase is the form in small letters, by which names are ordered.
[[nodiscard]] inline std::string FoldCase(std::string_view utf8) { return base::LowerName(utf8); }
[[nodiscard]] inline bool EqualNames(std::string_view left, std::string_view right) { return base::SameName(left, right); }
/// The place of the item of a name: the one that has it letter for letter, else the first that has it but for case. A file may hold both,
/// as Access tells some letters of one pair apart.
template <typename Items>
[[nodiscard]] std::optional<std::size_t> PlaceOfName(const Items& items, std::string_view name) {
  std::optional<std::size_t> found;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (items[i].name == name) return i;
    if (!found && EqualNames(items[i].name, name)) found = i;
  }
  return found;
}

/// Reads one character and moves the position behind it; U+FFFD for bytes that are no UTF-8. The file may hold half pairs, and they must
/// survive a copy.
[[nodiscard]] inline char32_t NextCharacter(std::string_view utf8, std::size_t& position) {
  std::string_view rest = utf8.substr(position);
  const char32_t character = base::TakeCharacter(rest, base::Halves::kKept);
  position = utf8.size() - rest.size();
  return base::IsStrayByte(character) ? base::kReplacement : character;
}
inline void AppendCharacter(char32_t character, std::string& utf8) { base::AppendCharacter(utf8, character); }

}  // namespace jet

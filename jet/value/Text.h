#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace jet {

/// Appends the UTF-8 form of stored Jet 4 text: UTF-16LE, or the compressed form that begins with FF FE.
/// Half surrogate pairs come out as the three bytes that UTF-8 would have for them, so that keys and copies equal what the file holds;
/// an odd last byte of plain text is left out. Never fails.
void AppendStoredText(std::span<const std::byte> stored, std::string& text);

/// Appends the UTF-8 form of UTF-16LE bytes.
void AppendUtf16(std::span<const std::byte> units, std::string& text);

/// Appends the UTF-8 form of text in an ANSI code page (1250 to 1258 of the Latin kind are known, others read as 1252).
void AppendAnsi(std::span<const std::byte> stored, std::uint16_t codePage, std::string& text);

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

/// The text without differences of case (Latin, Greek, Cyrillic), for comparing names.
[[nodiscard]] std::string FoldCase(std::string_view utf8);
[[nodiscard]] bool EqualNames(std::string_view left, std::string_view right);

/// Reads one character and moves the position behind it; U+FFFD for bytes that are no UTF-8.
[[nodiscard]] char32_t NextCharacter(std::string_view utf8, std::size_t& position);
void AppendCharacter(char32_t character, std::string& utf8);

}  // namespace jet

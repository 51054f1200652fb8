#include "jet/value/Text.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/Ansi.h"
#include "base/Utf16.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"

namespace jet {
namespace {

/// Codes 0x80 to 0xFF of Windows-1250 (central Europe).
constexpr char16_t kWindows1250[128] = {
    0x20AC, 0x0081, 0x201A, 0x0083, 0x201E, 0x2026, 0x2020, 0x2021, 0x0088, 0x2030, 0x0160, 0x2039, 0x015A, 0x0164, 0x017D, 0x0179,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0x0098, 0x2122, 0x0161, 0x203A, 0x015B, 0x0165, 0x017E, 0x017A,
    0x00A0, 0x02C7, 0x02D8, 0x0141, 0x00A4, 0x0104, 0x00A6, 0x00A7, 0x00A8, 0x00A9, 0x015E, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x017B,
    0x00B0, 0x00B1, 0x02DB, 0x0142, 0x00B4, 0x00B5, 0x00B6, 0x00B7, 0x00B8, 0x0105, 0x015F, 0x00BB, 0x013D, 0x02DD, 0x013E, 0x017C,
    0x0154, 0x00C1, 0x00C2, 0x0102, 0x00C4, 0x0139, 0x0106, 0x00C7, 0x010C, 0x00C9, 0x0118, 0x00CB, 0x011A, 0x00CD, 0x00CE, 0x010E,
    0x0110, 0x0143, 0x0147, 0x00D3, 0x00D4, 0x0150, 0x00D6, 0x00D7, 0x0158, 0x016E, 0x00DA, 0x0170, 0x00DC, 0x00DD, 0x0162, 0x00DF,
    0x0155, 0x00E1, 0x00E2, 0x0103, 0x00E4, 0x013A, 0x0107, 0x00E7, 0x010D, 0x00E9, 0x0119, 0x00EB, 0x011B, 0x00ED, 0x00EE, 0x010F,
    0x0111, 0x0144, 0x0148, 0x00F3, 0x00F4, 0x0151, 0x00F6, 0x00F7, 0x0159, 0x016F, 0x00FA, 0x0171, 0x00FC, 0x00FD, 0x0163, 0x02D9};
/// Codes 0x80 to 0xBF of Windows-1251 (Cyrillic); 0xC0 to 0xFF are U+0410 to U+044F.
constexpr char16_t kWindows1251[64] = {
    0x0402, 0x0403, 0x201A, 0x0453, 0x201E, 0x2026, 0x2020, 0x2021, 0x20AC, 0x2030, 0x0409, 0x2039, 0x040A, 0x040C, 0x040B, 0x040F,
    0x0452, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0x0098, 0x2122, 0x0459, 0x203A, 0x045A, 0x045C, 0x045B, 0x045F,
    0x00A0, 0x040E, 0x045E, 0x0408, 0x00A4, 0x0490, 0x00A6, 0x00A7, 0x0401, 0x00A9, 0x0404, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x0407,
    0x00B0, 0x00B1, 0x0406, 0x0456, 0x0491, 0x00B5, 0x00B6, 0x00B7, 0x0451, 0x2116, 0x0454, 0x00BB, 0x0458, 0x0405, 0x0455, 0x0457};

char32_t FromAnsi(std::uint8_t code, std::uint16_t codePage) {
  if (code < 0x80) return code;
  if (codePage == 1250) return kWindows1250[code - 0x80];
  if (codePage == 1251) return code >= 0xC0 ? 0x0410u + (code - 0xC0u) : kWindows1251[code - 0x80];
  if (codePage == 1254) {  // Turkish: Windows-1252 but for six letters
    switch (code) {
      case 0xD0:
        return 0x011E;
      case 0xDD:
        return 0x0130;
      case 0xDE:
        return 0x015E;
      case 0xF0:
        return 0x011F;
      case 0xFD:
        return 0x0131;
      case 0xFE:
        return 0x015F;
      default:
        break;
    }
  }
  return base::AnsiCharacter(code);
}

}  // namespace

void AppendUtf16(std::span<const std::byte> units, std::string& text) {
  const auto at = [&](std::size_t i) { return Load16(units.data() + 2 * i); };
  for (std::size_t i = 0; i < units.size() / 2;) base::AppendCharacter(text, base::TakeUtf16(at, units.size() / 2, i));
}

void AppendStoredText(std::span<const std::byte> stored, std::string& text) {
  if (stored.size() < 2 || Load16(stored.data()) != 0xFEFF) {
    AppendUtf16(stored, text);
    return;
  }
  bool wide = false;
  for (std::size_t i = 2; i < stored.size();) {
    if (stored[i] == std::byte{0}) {
      wide = !wide;
      ++i;
      continue;
    }
    if (!wide) {
      // Runs of ASCII, which is most of all text, go over as they are.
      std::size_t run = i;
      while (run < stored.size() && Load8(stored.data() + run) - 1u < 0x7Fu) ++run;
      if (run > i) {
        text.append(reinterpret_cast<const char*>(stored.data()) + i, run - i);
        i = run;
        continue;
      }
      AppendCharacter(Load8(stored.data() + i++), text);
      continue;
    }
    std::size_t end = i;
    while (end + 1 < stored.size() && stored[end] != std::byte{0}) end += 2;
    if (end == i) break;  // half a character at the end
    AppendUtf16(stored.subspan(i, end - i), text);
    i = end;
  }
}

void AppendAnsi(std::span<const std::byte> stored, std::uint16_t codePage, std::string& text) {
  for (std::size_t i = 0; i < stored.size();) {
    // Runs of ASCII, which is most of all text, go over as they are.
    std::size_t run = i;
    while (run < stored.size() && Load8(stored.data() + run) < 0x80) ++run;
    text.append(reinterpret_cast<const char*>(stored.data()) + i, run - i);
    i = run;
    if (i < stored.size()) AppendCharacter(FromAnsi(Load8(stored.data() + i++), codePage), text);
  }
}

namespace {

/// The characters of the codes 0x80 to 0xFF of a code page and their codes, by character.
using CodeTable = std::array<std::pair<char32_t, char>, 128>;

CodeTable MakeCodeTable(std::uint16_t codePage) {
  CodeTable table;
  for (unsigned i = 0; i < table.size(); ++i) {
    const auto code = static_cast<std::uint8_t>(0x80 + i);
    table[i] = {FromAnsi(code, codePage), static_cast<char>(code)};
  }
  std::sort(table.begin(), table.end());
  return table;
}

const CodeTable& CodesOf(std::uint16_t codePage) {
  static const CodeTable western = MakeCodeTable(1252), central = MakeCodeTable(1250), cyrillic = MakeCodeTable(1251),
                         turkish = MakeCodeTable(1254);
  return codePage == 1250 ? central : codePage == 1251 ? cyrillic : codePage == 1254 ? turkish : western;
}

}  // namespace

std::optional<std::string> ToAnsi(std::string_view utf8, std::uint16_t codePage) {
  const CodeTable& codes = CodesOf(codePage);
  std::string bytes;
  bytes.reserve(utf8.size());
  for (std::size_t i = 0; i < utf8.size();) {
    const char letter = utf8[i];
    if (static_cast<unsigned char>(letter) < 0x80) {
      bytes += letter;
      ++i;
      continue;
    }
    const char32_t character = NextCharacter(utf8, i);
    const auto found = std::lower_bound(codes.begin(), codes.end(), character, [](const auto& code, char32_t c) { return code.first < c; });
    if (found == codes.end() || found->first != character) return std::nullopt;
    bytes += found->second;
  }
  return bytes;
}

bool IsKnownCodePage(std::uint16_t codePage) noexcept {
  return codePage == 1250 || codePage == 1251 || codePage == 1252 || codePage == 1254;
}

std::string NameInCodePage(std::string_view name, std::uint16_t codePage) {
  auto bytes = ToAnsi(name, codePage);
  if (!bytes)
    throw Error(ErrorCode::kUnsupported, "The name \"" + std::string(name) + "\" has a character that code page " +
                                             std::to_string(codePage) + " of the file does not have");
  return std::move(*bytes);
}

std::string ToUtf16(std::string_view utf8) {
  std::string units;
  units.reserve(utf8.size() * 2);
  base::EachUtf16Unit(utf8, base::Halves::kKept, [&](char16_t unit) {
    units += static_cast<char>(unit & 0xFF);
    units += static_cast<char>(unit >> 8);
  });
  return units;
}

std::size_t CountUtf16(std::string_view utf8) {
  std::size_t units = 0;
  base::EachUtf16Unit(utf8, base::Halves::kKept, [&](char16_t) { ++units; });
  return units;
}

std::string ToStoredText(std::string_view utf8, bool compress) {
  if (compress) {
    std::string compressed;
    compressed.reserve(utf8.size() + 2);
    compressed = "\xFF\xFE";
    bool possible = true;
    for (std::size_t i = 0; i < utf8.size() && possible;) {
      // Runs of ASCII go over as they are.
      std::size_t run = i;
      while (run < utf8.size() && static_cast<std::uint8_t>(utf8[run]) - 1u < 0x7Fu) ++run;
      compressed.append(utf8, i, run - i);
      i = run;
      if (i == utf8.size()) break;
      const char32_t c = NextCharacter(utf8, i);
      possible = c >= 1 && c <= 0xFF;
      compressed += static_cast<char>(c);
    }
    if (possible && compressed.size() >= 5) return compressed;
  }
  std::string units = ToUtf16(utf8);
  return units.starts_with("\xFF\xFE") ? ToMarkedText(std::move(units), true) : units;
}

std::string ToMarkedText(std::string units, bool first) {
  for (std::size_t i = 0; i + 1 < units.size(); i += 2)
    if (units[i] == '\0') throw Error(ErrorCode::kLimit, "A text that begins with U+FEFF cannot hold all the characters of this one");
  if (first) units.insert(0, std::string("\xFF\xFE\0", 3));
  return units;
}

}  // namespace jet

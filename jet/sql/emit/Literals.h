#pragma once

#include <string>
#include <string_view>

#include "base/Numbers.h"

namespace jet::sql {

/// A text as SQLite writes it. It ends a statement at a NUL: a text with one goes in by its bytes.
[[nodiscard]] inline std::string TextLiteral(std::string_view text) {
  if (text.find('\0') != std::string_view::npos) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string bytes;
    for (const char c : text) {
      bytes += kDigits[static_cast<unsigned char>(c) >> 4];
      bytes += kDigits[static_cast<unsigned char>(c) & 15];
    }
    return "CAST(x'" + bytes + "' AS TEXT)";
  }
  std::string out = "'";
  for (const char c : text) {
    if (c == '\'') out += '\'';
    out += c;
  }
  return out + "'";
}

/// The shortest text that SQLite reads back as the same floating-point number.
[[nodiscard]] inline std::string RealLiteral(double value) {
  std::string text = base::ShortestText(value);
  if (text.find_first_of(".e") == std::string::npos) text += ".0";
  return value < 0 ? "(" + text + ")" : text;
}

}  // namespace jet::sql

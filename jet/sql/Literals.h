#pragma once

#include <charconv>
#include <string>
#include <string_view>

namespace jet::sql {

/// A text as SQLite writes it.
[[nodiscard]] inline std::string TextLiteral(std::string_view text) {
  std::string out = "'";
  for (const char c : text) {
    if (c == '\'') out += '\'';
    out += c;
  }
  return out + "'";
}

/// The shortest text that SQLite reads back as the same floating-point number.
[[nodiscard]] inline std::string RealLiteral(double value) {
  char buffer[40];
  const auto [end, problem] = std::to_chars(buffer, buffer + sizeof buffer, value);
  std::string text(buffer, end);
  if (text.find_first_of(".e") == std::string::npos) text += ".0";
  return value < 0 ? "(" + text + ")" : text;
}

}  // namespace jet::sql

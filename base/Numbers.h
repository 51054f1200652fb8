#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace base {

/// Numbers as text and back with "." before decimals and "e" before an exponent, whatever the locale of the program.

/// The number that a whole text is: digits with at most one "." among them, "-" in front, an exponent behind. None for any other text
/// (blanks, "+", "inf" and "nan" among them) and for what is too large for a double, or too small and not 0.
[[nodiscard]] std::optional<double> ReadReal(std::string_view text);
/// The same of a text as somebody writes it: blanks around it, "+" in front, and decimalPoint or "." before the decimals.
[[nodiscard]] std::optional<double> ReadWrittenReal(std::string_view text, char decimalPoint);
/// The whole number that a whole text is, "-" in front of it where the type has a sign. None for any other text and beyond the type.
template <typename Whole>
[[nodiscard]] std::optional<Whole> ReadWhole(std::string_view text, int radix = 10) {
  Whole value = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, problem] = std::from_chars(text.data(), end, value, radix);
  if (problem != std::errc() || stopped != end) return std::nullopt;
  return value;
}

/// The fewest digits that read back as the same number: "0.1", "1e+20", "-0", "inf".
[[nodiscard]] std::string ShortestText(double value);
[[nodiscard]] std::string ShortestText(float value);
/// With so many significant digits, without zeros behind the last: "0.333333333333333", "1.5e-07".
[[nodiscard]] std::string SignificantText(double value, int digits);
/// With so many decimals: "1.50".
[[nodiscard]] std::string FixedText(double value, int decimals);
/// The same number as ShortestText with an exponent always: "1.5e+00"; with a count of digits, rounded to them.
[[nodiscard]] std::string ScientificText(double value);
[[nodiscard]] std::string ScientificText(float value);
[[nodiscard]] std::string ScientificText(double value, int digits);

/// Appends a whole number with zeros in front up to a width, its sign included.
void AppendPadded(std::string& out, std::int64_t value, int width);

}  // namespace base

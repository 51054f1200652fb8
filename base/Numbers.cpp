#include "base/Numbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "base/Blanks.h"

namespace base {

namespace {

constexpr std::size_t kMostWholeDigits = 310;  // of a double

/// What to_chars writes into a room that is large enough.
template <std::size_t room = 400, typename... How>
std::string Written(How... how) {
  std::array<char, room> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), how...).ptr;
  return {text.data(), end};
}

}  // namespace

std::optional<double> ReadReal(std::string_view text) {
  double value = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, problem] = std::from_chars(text.data(), end, value);
  if (problem != std::errc() || stopped != end || !std::isfinite(value)) return std::nullopt;
  return value;
}

std::optional<double> ReadWrittenReal(std::string_view text, char decimalPoint) {
  text = Trim(text);
  if (text.starts_with("+-")) return std::nullopt;
  if (text.starts_with('+')) text.remove_prefix(1);
  if (decimalPoint == '.' || text.find(decimalPoint) == std::string_view::npos) return ReadReal(text);
  std::string plain(text);
  std::replace(plain.begin(), plain.end(), decimalPoint, '.');
  return ReadReal(plain);
}

std::string ShortestText(double value) { return Written(value); }
std::string ShortestText(float value) { return Written(value); }
std::string SignificantText(double value, int digits) { return Written(value, std::chars_format::general, digits); }

std::string FixedText(double value, int decimals) {
  std::string text(kMostWholeDigits + static_cast<std::size_t>(decimals) + 2, '\0');
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals).ptr;
  text.resize(static_cast<std::size_t>(end - text.data()));
  return text;
}

std::string ScientificText(double value) { return Written(value, std::chars_format::scientific); }
std::string ScientificText(float value) { return Written(value, std::chars_format::scientific); }
std::string ScientificText(double value, int digits) { return Written(value, std::chars_format::scientific, digits - 1); }

void AppendPadded(std::string& out, std::int64_t value, int width) {
  const std::string digits = std::to_string(value);
  const std::size_t sign = value < 0 ? 1 : 0;
  out.append(digits, 0, sign);
  if (digits.size() < static_cast<std::size_t>(width)) out.append(static_cast<std::size_t>(width) - digits.size(), '0');
  out.append(digits, sign);
}

}  // namespace base

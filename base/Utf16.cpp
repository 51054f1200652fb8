#include "base/Utf16.h"

namespace base {

std::u16string ToUtf16(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  EachUtf16Unit(text, Halves::kStray, [&](char16_t unit) { out.push_back(unit); });
  return out;
}

std::string FromUtf16(std::u16string_view units) {
  std::string out;
  out.reserve(units.size());
  const auto at = [&](std::size_t i) { return units[i]; };
  for (std::size_t i = 0; i < units.size();) {
    const char32_t code = TakeUtf16(at, units.size(), i);
    AppendCharacter(out, IsHalf(code) ? kReplacement : code);
  }
  return out;
}

}  // namespace base

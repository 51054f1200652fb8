#include "base/Ansi.h"

#include <algorithm>
#include <iterator>

#include "base/Utf8.h"

namespace base {

namespace {

/// The characters of the codes 0x80 to 0x9F.
constexpr char16_t kHigh[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
                                0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
                                0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

}  // namespace

std::uint8_t AnsiCode(char32_t character) noexcept {
  if (character < 0x80 || (character >= 0xA0 && character <= 0xFF)) return static_cast<std::uint8_t>(character);
  const auto* found = std::find(std::begin(kHigh), std::end(kHigh), character);
  return found == std::end(kHigh) ? std::uint8_t{'?'} : static_cast<std::uint8_t>(0x80 + (found - kHigh));
}

char32_t AnsiCharacter(std::uint8_t code) noexcept { return code >= 0x80 && code <= 0x9F ? char32_t{kHigh[code - 0x80]} : char32_t{code}; }

std::string ToAnsi(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) out.push_back(static_cast<char>(AnsiCode(TakeCharacter(text))));
  return out;
}

std::string FromAnsi(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (const char byte : bytes) AppendCharacter(out, AnsiCharacter(static_cast<std::uint8_t>(byte)));
  return out;
}

}  // namespace base

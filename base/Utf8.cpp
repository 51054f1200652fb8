#include "base/Utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace base {

void AppendCharacter(std::string& out, char32_t code) {
  const auto put = [&](char32_t byte) { out.push_back(static_cast<char>(byte)); };
  const auto tail = [&](unsigned shift) { put(0x80U | (code >> shift & 0x3FU)); };
  if (code < 0x80) {
    put(code);
  } else if (code < 0x800) {
    put(0xC0U | code >> 6U), tail(0);
  } else if (code < 0x10000) {
    put(0xE0U | code >> 12U), tail(6), tail(0);
  } else if (code <= kLastCharacter) {
    put(0xF0U | code >> 18U), tail(12), tail(6), tail(0);
  } else {
    put(code - kStrayByte);
  }
}

std::size_t AsciiRun(std::string_view text) noexcept {
  constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  std::size_t position = 0;
  while (position + sizeof(std::uint64_t) <= text.size()) {
    std::uint64_t word = 0;
    std::memcpy(&word, text.data() + position, sizeof word);
    if ((word & kHighBits) != 0) break;
    position += sizeof word;
  }
  while (position < text.size() && static_cast<unsigned char>(text[position]) < 0x80) ++position;
  return position;
}

std::size_t CountCharacters(std::string_view text) noexcept {
  std::size_t count = 0;
  while (!text.empty()) {
    const std::size_t ascii = AsciiRun(text);
    count += ascii;
    text.remove_prefix(ascii);
    if (text.empty()) break;
    static_cast<void>(TakeCharacter(text));
    ++count;
  }
  return count;
}

std::string_view FirstCharacters(std::string_view text, std::size_t count) noexcept {
  std::string_view rest = text;
  for (; count != 0 && !rest.empty(); --count) static_cast<void>(TakeCharacter(rest));
  return text.substr(0, text.size() - rest.size());
}

std::size_t WholeCharacters(std::string_view text, std::size_t limit) noexcept {
  if (limit >= text.size()) return text.size();
  while (limit > 0 && IsInsideCharacter(text[limit])) --limit;
  return limit;
}

std::size_t BegunCharacter(std::string_view piece) noexcept {
  for (std::size_t back = 1; back <= std::min<std::size_t>(3, piece.size()); ++back) {
    const char byte = piece[piece.size() - back];
    if (IsInsideCharacter(byte)) continue;
    const auto lead = static_cast<unsigned char>(byte);
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
    return length > back ? back : 0;
  }
  return 0;
}

}  // namespace base

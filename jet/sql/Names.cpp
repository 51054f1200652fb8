#include "jet/sql/Names.h"

namespace jet::sql {

namespace {

// Bytes that are no UTF-8 travel as code points of this private range, so that they come out as they went in.
constexpr char32_t kRawByte = 0x110000;

bool PairsEvenOdd(char32_t letter) {
  return (letter >= 0x100 && letter <= 0x137) || (letter >= 0x14A && letter <= 0x177) || (letter >= 0x1E00 && letter <= 0x1EFF) ||
         (letter >= 0x460 && letter <= 0x481) || (letter >= 0x48A && letter <= 0x4BF) || (letter >= 0x4D0 && letter <= 0x52F);
}

bool PairsOddEven(char32_t letter) { return (letter >= 0x139 && letter <= 0x148) || (letter >= 0x179 && letter <= 0x17E); }

bool HasNoPair(char32_t letter) {
  return letter == 0x130 || letter == 0x131 || letter == 0x138 || letter == 0x149 || letter == 0x178 ||
         (letter >= 0x1E96 && letter <= 0x1E9F);
}

}  // namespace

char32_t UpperLetter(char32_t letter) noexcept {
  if (letter < 0x80) return letter >= 'a' && letter <= 'z' ? letter - 32 : letter;
  if (letter >= 0xE0 && letter <= 0xFE && letter != 0xF7) return letter - 32;
  if (letter == 0xFF) return 0x178;
  if (HasNoPair(letter)) return letter;
  if (PairsEvenOdd(letter)) return letter & ~char32_t{1};
  if (PairsOddEven(letter)) return letter % 2 == 0 ? letter - 1 : letter;
  if (letter >= 0x3B1 && letter <= 0x3C9 && letter != 0x3C2) return letter - 32;
  if (letter >= 0x430 && letter <= 0x44F) return letter - 32;
  if (letter >= 0x450 && letter <= 0x45F) return letter - 80;
  return letter;
}

char32_t LowerLetter(char32_t letter) noexcept {
  if (letter < 0x80) return letter >= 'A' && letter <= 'Z' ? letter + 32 : letter;
  if (letter >= 0xC0 && letter <= 0xDE && letter != 0xD7) return letter + 32;
  if (letter == 0x178) return 0xFF;
  if (HasNoPair(letter)) return letter;
  if (PairsEvenOdd(letter)) return letter | 1;
  if (PairsOddEven(letter)) return letter % 2 == 1 ? letter + 1 : letter;
  if (letter >= 0x391 && letter <= 0x3A9 && letter != 0x3A2) return letter + 32;
  if (letter >= 0x410 && letter <= 0x42F) return letter + 32;
  if (letter >= 0x400 && letter <= 0x40F) return letter + 80;
  return letter;
}

char32_t TakeLetter(std::string_view& text) noexcept {
  const auto first = static_cast<unsigned char>(text.front());
  std::size_t length = 1;
  char32_t letter = first;
  if (first >= 0xC2 && first <= 0xDF)
    length = 2, letter = first & 0x1F;
  else if (first >= 0xE0 && first <= 0xEF)
    length = 3, letter = first & 0x0F;
  else if (first >= 0xF0 && first <= 0xF4)
    length = 4, letter = first & 0x07;
  else if (first >= 0x80)
    length = 0;
  if (length == 0 || length > text.size()) {
    text.remove_prefix(1);
    return kRawByte + first;
  }
  for (std::size_t i = 1; i < length; ++i) {
    const auto next = static_cast<unsigned char>(text[i]);
    if ((next & 0xC0) != 0x80) {
      text.remove_prefix(1);
      return kRawByte + first;
    }
    letter = letter << 6 | (next & 0x3F);
  }
  text.remove_prefix(length);
  return letter;
}

void AppendLetter(std::string& out, char32_t letter) {
  if (letter < 0x80) {
    out += static_cast<char>(letter);
  } else if (letter < 0x800) {
    out += static_cast<char>(0xC0 | letter >> 6);
    out += static_cast<char>(0x80 | (letter & 0x3F));
  } else if (letter < 0x10000) {
    out += static_cast<char>(0xE0 | letter >> 12);
    out += static_cast<char>(0x80 | (letter >> 6 & 0x3F));
    out += static_cast<char>(0x80 | (letter & 0x3F));
  } else if (letter < kRawByte) {
    out += static_cast<char>(0xF0 | letter >> 18);
    out += static_cast<char>(0x80 | (letter >> 12 & 0x3F));
    out += static_cast<char>(0x80 | (letter >> 6 & 0x3F));
    out += static_cast<char>(0x80 | (letter & 0x3F));
  } else {
    out += static_cast<char>(letter - kRawByte);
  }
}

std::u32string Letters(std::string_view text) {
  std::u32string letters;
  letters.reserve(text.size());
  while (!text.empty()) letters += TakeLetter(text);
  return letters;
}

std::string FromLetters(std::u32string_view letters) {
  std::string text;
  text.reserve(letters.size());
  for (const char32_t letter : letters) AppendLetter(text, letter);
  return text;
}

std::string UpperCase(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) AppendLetter(out, UpperLetter(TakeLetter(text)));
  return out;
}

std::string LowerCase(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) AppendLetter(out, LowerLetter(TakeLetter(text)));
  return out;
}

std::string FoldName(std::string_view name) { return UpperCase(name); }

bool SameName(std::string_view a, std::string_view b) { return FoldName(a) == FoldName(b); }

}  // namespace jet::sql

#include "base/Ansi.h"

#include <gtest/gtest.h>

#include <set>

namespace base {
namespace {

TEST(Ansi, EveryCodeHasACharacterOfItsOwn) {
  std::set<char32_t> characters;
  for (int code = 0; code < 256; ++code) {
    characters.insert(AnsiCharacter(static_cast<std::uint8_t>(code)));
    EXPECT_EQ(AnsiCode(AnsiCharacter(static_cast<std::uint8_t>(code))), code);
  }
  EXPECT_EQ(characters.size(), 256U);
}

TEST(Ansi, CodesAreThoseOfWindows1252) {
  EXPECT_EQ(ToAnsi("été €ŒŸ ’…"), "\xE9t\xE9 \x80\x8C\x9F \x92\x85");
  EXPECT_EQ(FromAnsi("\xE9t\xE9 \x80\x8C\x9F \x92\x85"), "été €ŒŸ ’…");
  EXPECT_EQ(ToAnsi("Ω𐐀\xFF"), "???") << "no code, a character beyond U+FFFF, a stray byte";
  EXPECT_EQ(AnsiCharacter(0x81), 0x81U);
}

}  // namespace
}  // namespace base

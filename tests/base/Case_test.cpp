#include "base/Case.h"

#include <gtest/gtest.h>

#include "base/Utf8.h"

namespace base {
namespace {

TEST(Case, CapitalsAndSmallLettersGoInPairs) {
  int pairs = 0;
  for (char32_t code = 0; code <= kStrayByte + 0xFF; ++code) {
    const char32_t lower = LowerOf(code);
    const char32_t upper = UpperOf(code);
    if (lower != code) ++pairs;
    const bool isPair = (lower == code || (upper == code && UpperOf(lower) == code)) && (upper == code || LowerOf(upper) == code);
    if (!isPair) FAIL() << std::hex << static_cast<unsigned>(code);
  }
  EXPECT_EQ(pairs, 1423) << "26 of ASCII and those of CaseTable.inc";
}

TEST(Case, LettersOfManyAlphabetsHaveTheirCapitals) {
  EXPECT_EQ(UpperCase("été œuvre ÿ ế привет ѣ αβγ ա ა ɐ ⴀ ꭰ 𐐨"),
            "ÉTÉ ŒUVRE Ÿ Ế ПРИВЕТ Ѣ ΑΒΓ Ա Ა Ɐ Ⴀ Ꭰ 𐐀");
  EXPECT_EQ(LowerCase("ÉTÉ ŒUVRE Ÿ Ế ПРИВЕТ Ѣ ΑΒΓ Ա Ა Ɐ Ⴀ Ꭰ 𐐀"),
            "été œuvre ÿ ế привет ѣ αβγ ա ა ɐ ⴀ ꭰ 𐐨");
  EXPECT_EQ(UpperCase("ß ŉ ſ ı ς µ"), "ß ŉ ſ ı ς µ");
  EXPECT_EQ(LowerCase("İ ẞ ǅ"), "İ ẞ ǅ");
  EXPECT_EQ(UpperCase("\xFFz\xED\xA0\x80"), "\xFFZ\xED\xA0\x80");
}

TEST(Case, OfAsciiAlone) {
  EXPECT_EQ(AsciiUpper('a'), 'A');
  EXPECT_EQ(AsciiUpper('{'), '{');
  EXPECT_EQ(AsciiLower('Z'), 'z');
  EXPECT_EQ(AsciiLower('\xC9'), '\xC9');
}

TEST(Case, NamesAreTheSameWhenTheirFormsAre) {
  EXPECT_TRUE(SameName("Ế_Été", "ế_éTÉ"));
  EXPECT_FALSE(SameName("été", "ete"));
  EXPECT_FALSE(SameName("a", "ab"));
  EXPECT_FALSE(SameName("ab", "a"));
  EXPECT_TRUE(SameName("", ""));
  EXPECT_EQ(UpperName("ế_Été"), "Ế_ÉTÉ");
  EXPECT_EQ(LowerName("Ế_Été"), "ế_été");
}

TEST(Case, AStrayByteOfANameCountsAsTheReplacementAndAHalfAsItself) {
  EXPECT_TRUE(SameName("a\xFF", "A\uFFFD"));
  EXPECT_EQ(UpperName("a\xFF"), "A\uFFFD");
  EXPECT_EQ(LowerName("A\xED\xA0\x80"), "a\xED\xA0\x80");
  EXPECT_FALSE(SameName("\xED\xA0\x80", "\xED\xA0\x81"));
}

}  // namespace
}  // namespace base

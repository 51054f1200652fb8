#include "runtime/Text.h"

#include <gtest/gtest.h>

namespace tamlo::runtime {
namespace {

TEST(Text, AccentedLettersMapToTheirCapitals) {
  EXPECT_EQ(UpperCase("création d'un été à Noël, ça où œuvre ÿ"), "CRÉATION D'UN ÉTÉ À NOËL, ÇA OÙ ŒUVRE Ÿ");
  EXPECT_EQ(LowerCase("CRÉATION ÉTÉ ŒUVRE Ÿ"), "création été œuvre ÿ");
}

TEST(Text, OtherAlphabetsAreFoldedToo) {
  EXPECT_EQ(UpperCase("привет αβγ ѓ ա ა"), "ПРИВЕТ ΑΒΓ Ѓ Ա Ა");
  EXPECT_EQ(LowerCase("ПРИВЕТ ΑΒΓ Ꭰ"), "привет αβγ ꭰ");
  EXPECT_EQ(UpperCase("ɐ"), "Ɐ");
  EXPECT_EQ(LowerCase("Ɐ"), "ɐ");
  EXPECT_EQ(UpperCase("𐐨"), "𐐀");
}

TEST(Text, LettersWithoutASingleCapitalStay) { EXPECT_EQ(UpperCase("straße ŉ ſ ı ς µ"), "STRAßE ŉ ſ ı ς µ"); }

TEST(Text, UpperCaseMatchesEveryLengthOfPlainText) {
  const std::string small = "abcdefghijklmnopqrstuvwxyz@[`{09";
  const std::string large = "ABCDEFGHIJKLMNOPQRSTUVWXYZ@[`{09";
  for (std::size_t length = 0; length <= small.size(); ++length) {
    EXPECT_EQ(UpperCase(small.substr(0, length)), large.substr(0, length));
    EXPECT_EQ(UpperCase(small.substr(0, length) + "é" + small), large.substr(0, length) + "É" + large);
  }
}

TEST(Text, AppendUpperCaseKeepsWhatIsThere) {
  std::string out = "kept ";
  AppendUpperCase(out, "été");
  EXPECT_EQ(out, "kept ÉTÉ");
}

TEST(Text, StrayBytesPassThrough) {
  const std::string stray = "a\xE9z\xC3(\xFF\xED\xA0\x80\xC0\xAF";
  EXPECT_EQ(UpperCase(stray), "A\xE9Z\xC3(\xFF\xED\xA0\x80\xC0\xAF");
  EXPECT_EQ(Length(stray), 11U);
  std::string_view rest = stray;
  std::string copy;
  while (!rest.empty()) AppendCharacter(copy, NextCharacter(rest));
  EXPECT_EQ(copy, stray);
}

TEST(Text, TrimTakesBlanksOnly) {
  EXPECT_EQ(Trim("  a b  "), "a b");
  EXPECT_EQ(Trim("\t a \t"), "\t a \t");
  EXPECT_EQ(Trim("   "), "");
  EXPECT_EQ(TrimRight("  a  "), "  a");
}

TEST(Text, LengthAndLeftCountCharacters) {
  EXPECT_EQ(Length(""), 0U);
  EXPECT_EQ(Length("été"), 3U);
  EXPECT_EQ(Length("a€𐐀z"), 4U);
  EXPECT_EQ(Left("été", 1), "é");
  EXPECT_EQ(Left("été", 2), "ét");
  EXPECT_EQ(Left("été", 9), "été");
  EXPECT_EQ(Left("été", 0), "");
}

TEST(Text, Utf16AndBack) {
  EXPECT_EQ(ToUtf16("é€𐐀"), u"é€𐐀");
  EXPECT_EQ(FromUtf16(u"é€𐐀"), "é€𐐀");
  EXPECT_EQ(ToUtf16("a\xE9z"), u"a\uFFFDz");
  EXPECT_EQ(FromUtf16(std::u16string{u'a', char16_t{0xD800}, u'z'}), "a\uFFFDz");
  EXPECT_EQ(FromUtf16(std::u16string{char16_t{0xDC00}}), "\uFFFD");
}

TEST(Text, EveryAnsiCodeComesBack) {
  for (int code = 0; code < 256; ++code) {
    EXPECT_EQ(AnsiCode(AnsiCharacter(static_cast<std::uint8_t>(code))), code);
  }
}

TEST(Text, AnsiCodesAreThoseOfWindows1252) {
  EXPECT_EQ(AnsiCode(U'é'), 233);
  EXPECT_EQ(AnsiCode(U'€'), 128);
  EXPECT_EQ(AnsiCode(U'Œ'), 140);
  EXPECT_EQ(AnsiCode(U'Ÿ'), 159);
  EXPECT_EQ(AnsiCode(U'Ω'), '?');
  EXPECT_EQ(AnsiCode(0x10FFFF), '?');
  EXPECT_EQ(ToAnsi("été €Ω"), "\xE9t\xE9 \x80?");
  EXPECT_EQ(FromAnsi("\xE9t\xE9 \x80"), "été €");
}

}  // namespace
}  // namespace tamlo::runtime

#include "base/Utf8.h"

#include <gtest/gtest.h>

namespace base {
namespace {

std::u32string Codes(std::string_view text, Halves halves = Halves::kStray) {
  std::u32string codes;
  while (!text.empty()) codes += TakeCharacter(text, halves);
  return codes;
}

std::string Text(std::u32string_view codes) {
  std::string text;
  for (const char32_t code : codes) AppendCharacter(text, code);
  return text;
}

std::u32string Strays(std::string_view bytes) {
  std::u32string codes;
  for (const char byte : bytes) codes += kStrayByte + static_cast<unsigned char>(byte);
  return codes;
}

TEST(Utf8, EveryCharacterComesBack) {
  for (char32_t code = 0; code <= kLastCharacter; ++code) {
    const std::string text = Text({&code, 1});
    const std::size_t size = code < 0x80 ? 1 : code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
    std::string_view rest = text;
    const bool back = TakeCharacter(rest, Halves::kKept) == code && rest.empty();
    if (text.size() != size || !back) FAIL() << static_cast<unsigned>(code);
  }
}

TEST(Utf8, CharactersAreWrittenAsEverybodyWritesThem) {
  EXPECT_EQ(Text(U"aé€𐐀"), "a\xC3\xA9\xE2\x82\xAC\xF0\x90\x90\x80");
  EXPECT_EQ(Text(std::u32string{0xD800}), "\xED\xA0\x80");
}

TEST(Utf8, WhatIsNoCharacterIsTakenByteByByteAndComesBack) {
  for (const std::string_view bytes :
       {"\x80", "\xC0\xAF", "\xC1\xBF", "\xE0\x80\x80", "\xE0\x9F\xBF", "\xF0\x80\x80\x80", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80",
        "\xF5\x80\x80\x80", "\xFF", "\xC3", "\xE2\x82", "\xF0\x90\x90"}) {
    EXPECT_EQ(Codes(bytes), Strays(bytes));
    EXPECT_EQ(Codes(bytes, Halves::kKept), Strays(bytes));
    EXPECT_EQ(Text(Codes(bytes)), bytes);
  }
  EXPECT_EQ(Codes("\xC3z\xE9"), Strays("\xC3") + U"z" + Strays("\xE9"));
}

TEST(Utf8, HalvesOfPairsAreStrayUnlessTheyAreKept) {
  EXPECT_EQ(Codes("\xED\xA0\x80"), Strays("\xED\xA0\x80"));
  EXPECT_EQ(Codes("\xED\xA0\x80", Halves::kKept), std::u32string{0xD800});
  EXPECT_EQ(Codes("\xED\xBF\xBF", Halves::kKept), std::u32string{0xDFFF});
  EXPECT_EQ(Codes("\xED\x9F\xBF"), U"\xD7FF");
}

TEST(Utf8, CharactersAreCounted) {
  EXPECT_EQ(CountCharacters("0123456789é€𐐀"), 13U);
  EXPECT_EQ(CountCharacters("a\xE9z"), 3U);
  EXPECT_EQ(FirstCharacters("é€𐐀", 2), "é€");
  EXPECT_EQ(FirstCharacters("é€𐐀", 9), "é€𐐀");
  EXPECT_EQ(AsciiRun("0123456789é"), 10U);
}

TEST(Utf8, APieceEndsBetweenTwoCharacters) {
  const std::string text = "aé€𐐀z";  // characters begin at 0, 1, 3, 6, 10
  const std::size_t expected[] = {0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 11, 11};
  for (std::size_t limit = 0; limit < std::size(expected); ++limit) EXPECT_EQ(WholeCharacters(text, limit), expected[limit]) << limit;
  EXPECT_EQ(WholeCharacters("€", 2), 0U);
  EXPECT_EQ(WholeCharacters("", 5), 0U);
}

TEST(Utf8, ThePieceThatWaitsForItsRestIsKnown) {
  const std::string text = "aé€𐐀z";
  const std::size_t expected[] = {0, 0, 1, 0, 1, 2, 0, 1, 2, 3, 0, 0};
  for (std::size_t size = 0; size <= text.size(); ++size)
    EXPECT_EQ(BegunCharacter(std::string_view(text).substr(0, size)), expected[size]) << size;
  EXPECT_EQ(BegunCharacter("\x80\x80\x80\x80"), 0U) << "the end of nothing";
  EXPECT_EQ(BegunCharacter("\xF0"), 1U);
}

}  // namespace
}  // namespace base

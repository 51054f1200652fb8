#include "jet/value/Text.h"

#include <gtest/gtest.h>

#include <vector>

#include "jet/value/Error.h"

namespace jet::tests {
namespace {

std::string Decode(const std::string& stored) {
  std::string text;
  AppendStoredText(std::as_bytes(std::span(stored)), text);
  return text;
}

using namespace std::string_literals;

TEST(Text, CompressedFormTogglesOnZeroBytes) {
  EXPECT_EQ(Decode("\xFF\xFE"
                   "ab\xE9"s),
            "abé");
  EXPECT_EQ(Decode("\xFF\xFE"
                   "a\x00\xAC\x20\x00z"s),
            "a€z");
  EXPECT_EQ(Decode("\xFF\xFE"s), "");
}

TEST(Text, PlainFormIsUtf16AndHalfPairsComeThrough) {
  EXPECT_EQ(Decode("a\0\xAC\x20"s), "a€");
  EXPECT_EQ(Decode("\x3D\xD8\x00\xDE"s), "😀");
  EXPECT_EQ(Decode("\x3D\xD8"s), "\xED\xA0\xBD");
  for (const auto& stored : {"\x3D\xD8"
                             "a\0"s,
                             "\x00\xDE\x3D\xD8"s, "a\0\xFF\xDF"s})
    EXPECT_EQ(ToStoredText(Decode(stored), true), stored);
  EXPECT_EQ(Decode("a\0b"s), "a");
}

TEST(Text, ShortOrWideTextsAreStoredPlain) {
  EXPECT_EQ(ToStoredText("ab", true), "a\0b\0"s);
  EXPECT_EQ(ToStoredText("abc", true),
            "\xFF\xFE"
            "abc"s);
  EXPECT_EQ(ToStoredText("abc", false), "a\0b\0c\0"s);
  EXPECT_EQ(ToStoredText("abé cÿ", true),
            "\xFF\xFE"
            "ab\xE9 c\xFF"s);
  EXPECT_EQ(ToStoredText("ab\0c"s, true), "a\0b\0\0\0c\0"s);
  EXPECT_EQ(ToStoredText("ab€", true), "a\0b\0\xAC\x20"s);
}

TEST(Text, WhatIsStoredComesBack) {
  for (const std::string text : {"", "a", "été", "Straße", "œuvre €", "日本語", "😀x😀", "tab\tline\r\n"})
    for (const bool compress : {false, true}) EXPECT_EQ(Decode(ToStoredText(text, compress)), text);
}

TEST(Text, ATextThatBeginsLikeTheMarkOfTheCompressedFormComesBack) {
  for (const std::string text : {"\uFEFF", "\uFEFFabc", "\uFEFF\uFEFF", "\uFEFFété 日本"})
    for (const bool compress : {false, true}) EXPECT_EQ(Decode(ToStoredText(text, compress)), text);
  EXPECT_THROW((void)ToStoredText("\uFEFF\u4E00", false), Error);  // its low byte would end the wide half
  EXPECT_EQ(Decode(ToStoredText("a\uFEFF\u4E00", true)), "a\uFEFF\u4E00");
}

TEST(Text, NamesCompareWithoutCaseAlsoWithAccents) {
  EXPECT_TRUE(EqualNames("ÉTÉ", "été"));
  EXPECT_TRUE(EqualNames("ŒUVRE Ÿ", "œuvre ÿ"));
  EXPECT_TRUE(EqualNames("ДОМ", "дом"));
  EXPECT_FALSE(EqualNames("été", "ete"));
  EXPECT_FALSE(EqualNames("a", "ab"));
}

TEST(Text, AnsiTextsFollowTheirCodePage) {
  const auto decode = [](const std::string& bytes, std::uint16_t page) {
    std::string text;
    AppendAnsi(std::as_bytes(std::span(bytes)), page, text);
    return text;
  };
  EXPECT_EQ(decode("\x80\x9C\xE9", 1252), "€œé");
  EXPECT_EQ(decode("\xC4\xE0", 1251), "Да");
  EXPECT_EQ(decode("\xA3\x9C", 1250), "Łś");
}

}  // namespace
}  // namespace jet::tests

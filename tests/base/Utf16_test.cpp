#include "base/Utf16.h"

#include <gtest/gtest.h>

namespace base {
namespace {

TEST(Utf16, EveryCharacterComesBack) {
  for (char32_t code = 0; code <= kLastCharacter; ++code) {
    if (IsHalf(code)) continue;
    std::string text;
    AppendCharacter(text, code);
    const std::u16string units = ToUtf16(text);
    if (units.size() != (code < 0x10000 ? 1U : 2U) || FromUtf16(units) != text) FAIL() << static_cast<unsigned>(code);
  }
}

TEST(Utf16, PairsHaveTheirHalves) {
  EXPECT_EQ(FirstHalf(0x10400), 0xD801);
  EXPECT_EQ(SecondHalf(0x10400), 0xDC00);
  EXPECT_EQ(FirstHalf(0x10FFFF), 0xDBFF);
  EXPECT_EQ(SecondHalf(0x10FFFF), 0xDFFF);
  EXPECT_TRUE(IsFirstHalf(0xDBFF) && IsSecondHalf(0xDC00));
  EXPECT_FALSE(IsFirstHalf(0xDC00) || IsSecondHalf(0xDBFF) || IsFirstHalf(0x1D800) || IsFirstHalf(0xE000));
}

TEST(Utf16, WhatIsNoCharacterBecomesTheReplacement) {
  EXPECT_EQ(ToUtf16("a\xE9z"), u"a\uFFFDz");
  EXPECT_EQ(ToUtf16("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(FromUtf16(std::u16string{0xD800, u'z'}), "\uFFFDz");
  EXPECT_EQ(FromUtf16(std::u16string{0xDC00, 0xD800}), "\uFFFD\uFFFD");
}

TEST(Utf16, HalvesThatAreKeptComeBack) {
  std::u16string units;
  EachUtf16Unit("\xED\xA0\x80\xFF", Halves::kKept, [&](char16_t unit) { units += unit; });
  EXPECT_EQ(units, (std::u16string{0xD800, 0xFFFD}));
  std::size_t i = 0;
  EXPECT_EQ(TakeUtf16([&](std::size_t at) { return units[at]; }, units.size(), i), 0xD800U);
  EXPECT_EQ(i, 1U);
}

}  // namespace
}  // namespace base

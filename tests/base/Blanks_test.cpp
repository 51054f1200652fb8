#include "base/Blanks.h"

#include <gtest/gtest.h>

namespace base {
namespace {

TEST(Blanks, OnlyTheBlankOfTheKeyboardIsTrimmed) {
  EXPECT_EQ(Trim("  a b  "), "a b");
  EXPECT_EQ(TrimLeft("  a "), "a ");
  EXPECT_EQ(TrimRight(" a  "), " a");
  EXPECT_EQ(Trim("\ta\xC2\xA0"), "\ta\xC2\xA0");
  for (const char* none : {"", " ", "    "}) EXPECT_EQ(Trim(none), "") << '"' << none << '"';
}

TEST(Blanks, OtherCharactersAreTrimmedWhereTheyAreNamed) {
  EXPECT_EQ(TrimOf("\t a b \t", " \t"), "a b");
  EXPECT_EQ(TrimOf("a", " \t"), "a");
  EXPECT_EQ(TrimOf("\n a\n", " \t"), "\n a\n");
  for (const char* none : {"", " ", "\t \t"}) EXPECT_EQ(TrimOf(none, " \t"), "") << '"' << none << '"';
}

TEST(Blanks, WhiteSpaceIsTheSixCharactersOfAscii) {
  int count = 0;
  for (int code = 0; code < 256; ++code) {
    const bool expected = code == ' ' || code == '\t' || code == '\n' || code == '\v' || code == '\f' || code == '\r';
    EXPECT_EQ(IsWhite(static_cast<char>(code)), expected) << code;
    count += expected ? 1 : 0;
  }
  EXPECT_EQ(count, 6);
}

}  // namespace
}  // namespace base

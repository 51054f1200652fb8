#include "app/TableCode.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::app {
namespace {

class TableCodeTest : public testing::Test {
 protected:
  void SetUp() override { InitTableCode(); }
  void TearDown() override { LibereTableCode(); }
};

std::string Character(std::uint8_t code) {
  std::string text;
  runtime::AppendCharacter(text, runtime::AnsiCharacter(code));
  return text;
}

std::uint8_t CodeOf(const std::string& character) {
  std::string_view rest = character;
  return runtime::AnsiCode(runtime::NextCharacter(rest));
}

TEST_F(TableCodeTest, EachCharacterHasACodeOfItsOwnThatACommandLineCarries) {
  std::set<int> codes;
  for (std::uint8_t code = 32; code <= 125; ++code) {
    const std::uint8_t coded = CodeOf(CodePwd(Character(code)));
    EXPECT_TRUE(coded == 33 || (coded >= 35 && coded <= 127)) << int{code} << " -> " << int{coded};
    EXPECT_NE(coded, code);
    codes.insert(coded);
  }
  EXPECT_EQ(codes.size(), 94U);
}

TEST_F(TableCodeTest, TheCodesNeverChange) {
  // Passwords stored by an earlier version must stay readable.
  EXPECT_EQ(CodePwd("Secret1"), "VqDcq:G");
  EXPECT_EQ(CodePwd("abcdefghijklmnopqrstuvwxyz"), "'\\DHq/?x_t=]u(Z<hcW:>d*lX&");
  EXPECT_EQ(CodePwd("ABCDEFGHIJKLMNOPQRSTUVWXYZ"), "~v,j[p0FSoUg7|)N5IVJEPw!8.");
  EXPECT_EQ(CodePwd(" !\"#$%&'()*+,-./0123456789:;<=>?@[\\]^_`{|}"), "-#2Ae+r6@f%`a1siKGk}n;LY{\177C^B93mOz4yTQR$bM");
}

TEST_F(TableCodeTest, EncodingThenDecodingGivesThePasswordBack) {
  std::string all;
  for (std::uint8_t code = 32; code <= 125; ++code) all += Character(code);
  EXPECT_EQ(DecodePwd(CodePwd(all)), all);
  EXPECT_EQ(DecodePwd(CodePwd("  ")), "  ");
  EXPECT_EQ(DecodePwd(CodePwd("")), "");
}

TEST_F(TableCodeTest, CharactersOutside32To125BecomeTheCharacterOfCode0) {
  EXPECT_EQ(CodePwd("é"), std::string(1, '\0'));
  EXPECT_EQ(CodePwd("~"), std::string(1, '\0'));
  EXPECT_EQ(CodePwd("\x7F"), std::string(1, '\0'));
  EXPECT_EQ(CodePwd("\t"), std::string(1, '\0'));
  EXPECT_EQ(CodePwd("é€"), std::string(2, '\0'));
}

TEST_F(TableCodeTest, ACharacterWithoutAnAnsiCodeBecomesTheCharacterOfCode0AndNoQuestionMark) {
  for (const char* character : {"\xE4\xB8\xAD", "\xF0\x9F\x98\x80", "\xD0\x96", "\xCC\x81", "\xEF\xBF\xBD", "\xFF"}) {
    EXPECT_EQ(CodePwd(character), std::string(1, '\0')) << character;
    EXPECT_EQ(CodePwd(std::string("a") + character + "?"), CodePwd("a") + std::string(1, '\0') + CodePwd("?")) << character;
    EXPECT_EQ(DecodePwd(character), "€") << character;
  }
}

TEST_F(TableCodeTest, OnlyCharactersFrom32To125Count) {
  std::string all;
  for (std::uint8_t code = 32; code <= 125; ++code) all += Character(code);
  EXPECT_TRUE(ToutCompte(all));
  EXPECT_TRUE(ToutCompte(""));
  for (const char* text : {"é", "a~", "\x7F", "\tb", "€", "\xF0\x9F\x98\x80", "\xE4\xB8\xAD", "\xFF"})
    EXPECT_FALSE(ToutCompte(text)) << text;
  EXPECT_FALSE(ToutCompte(std::string(1, '\0')));
}

TEST_F(TableCodeTest, DecodingIgnoresTrailingSpaces) {
  EXPECT_EQ(DecodePwd(CodePwd("abc") + "   "), "abc");
  EXPECT_EQ(DecodePwd("   "), "");
}

TEST_F(TableCodeTest, AStoredCharacterThatNoEntryHoldsDecodesToTheCharacterOfCode128) {
  EXPECT_EQ(DecodePwd("é"), "€");
  EXPECT_EQ(DecodePwd("\x01"), "€");
  EXPECT_EQ(DecodePwd("a\"" + CodePwd("b")).substr(1), "€b");
}

TEST_F(TableCodeTest, TheCharacterOfCode0DecodesToItself) {
  // Entry 0 is the first of those that are 0.
  EXPECT_EQ(DecodePwd(std::string(1, '\0')), std::string(1, '\0'));
}

TEST(TableCode, EncodingWithoutTheTableIsError9) {
  LibereTableCode();
  try {
    static_cast<void>(CodePwd("a"));
    FAIL() << "no error";
  } catch (const runtime::Error& error) {
    EXPECT_EQ(error.Number(), 9);
    EXPECT_EQ(error.Description(), "L'indice n'appartient pas à la sélection");
  }
  try {
    static_cast<void>(DecodePwd("a"));
    FAIL() << "no error";
  } catch (const runtime::Error& error) {
    EXPECT_EQ(error.Number(), 9);
  }
  EXPECT_EQ(CodePwd(""), "");
}

TEST(TableCode, IsPresentBetweenInitAndLibere) {
  EXPECT_FALSE(TableCodePresente());
  InitTableCode();
  EXPECT_TRUE(TableCodePresente());
  LibereTableCode();
  EXPECT_FALSE(TableCodePresente());
}

}  // namespace
}  // namespace tamlo::app

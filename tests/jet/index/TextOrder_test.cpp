#include "jet/TextOrder.h"

#include <gtest/gtest.h>

#include <random>

#include "jet/TextOrderTable.h"
#include "tests/jet/index/KeyText.h"

namespace jet {
namespace {

using tests::Hex;

std::string Key(std::string_view text, bool descending = false) {
  Bytes key;
  AppendTextKey(text, descending, key);
  return Hex(key);
}

std::string Key(std::u16string_view text, bool descending = false) {
  Bytes key;
  AppendTextKey(text, descending, key);
  return Hex(key);
}

TEST(TextOrder, PlainLettersAndDigitsAreOneByteEach) { EXPECT_EQ(Key("Ab1"), "7F 4A 4C 38 01 00"); }

TEST(TextOrder, UpperAndLowerCaseAreTheSame) {
  EXPECT_EQ(Key("ABC"), Key("abc"));
  EXPECT_EQ(Key("ÉTÉ"), Key("été"));
}

TEST(TextOrder, HyphenAndApostropheOnlyLeaveTheirPosition) {
  EXPECT_EQ(Key("a-b"), "7F 4A 4C 01 01 01 01 80 0B 06 82 00");
  EXPECT_EQ(Key("O'Brien"), "7F 64 4C 69 59 51 62 01 01 01 01 80 0B 06 80 00");
}

TEST(TextOrder, AccentsFollowTheLetters) { EXPECT_EQ(Key("été"), "7F 51 6D 51 01 0E 02 0E 00"); }

TEST(TextOrder, SharpSIsTwoPlainLetters) {
  EXPECT_EQ(Key("Straße"), "7F 6B 6D 69 4A 6B 6B 51 01 00");
  EXPECT_EQ(Key("Straße"), Key("strasse"));
}

TEST(TextOrder, EmptyTextHasAKey) {
  EXPECT_EQ(Key(""), "7F 01 00");
  EXPECT_EQ(Key("", true), "80 FE FF 00");
}

TEST(TextOrder, DescendingKeysAreComplementedAndEndInZero) { EXPECT_EQ(Key("Ab1", true), "80 B5 B3 C7 FE FF 00"); }

TEST(TextOrder, KanaVariantsAddFlags) { EXPECT_EQ(Key("aあァb"), "7F 4A 7F 02 7F 02 4C 01 01 01 B8 FF 02 80 FF 80 00"); }

TEST(TextOrder, KanaWhoseFlagsAreAllThreeKeepTheEndOfTheFlags) { EXPECT_EQ(Key("ア"), "7F 7F 02 01 01 01 FF 02 80 FF 80 00"); }

TEST(TextOrder, FlagsAndPositionsAreParted) { EXPECT_EQ(Key("ア-"), "7F 7F 02 01 01 01 FF 02 80 FF 80 FF 01 80 0B 06 82 00"); }

TEST(TextOrder, PositionsCountWeightsOnceThereAreSome) {
  // The accent list is [0E] when the hyphen comes: one weight, one letter seen and covered.
  EXPECT_EQ(Key("é-"), "7F 51 01 0E 01 01 01 80 0B 06 82 00");
  // Before any accent the position is the number of letters before.
  EXPECT_EQ(Key("-é"), "7F 51 01 0E 01 01 01 80 07 06 82 00");
}

TEST(TextOrder, CombiningMarksAddToTheWeightBefore) {
  // e + combining acute: padded with 02 for the letter, then 0E - 02 is added by the mark.
  EXPECT_EQ(Key("e\u0301"), Key("é"));
}

TEST(TextOrder, TrailingBlanksDoNotCount) {
  EXPECT_EQ(Key("abc   "), Key("abc"));
  EXPECT_EQ(Key("   "), Key(""));
  EXPECT_NE(Key("abc\u00A0"), Key("abc"));
  EXPECT_EQ(Key(" abc"), "7F 07 4A 4C 4D 01 00");
}

TEST(TextOrder, OnlyTheFirst255UnitsCountAndTheirTrailingBlanksGoAfterwards) {
  const std::string longText(255, 'a');
  EXPECT_EQ(Key(longText + "b"), Key(longText));
  EXPECT_EQ(Key(std::string(254, 'a') + " b"), Key(std::string(254, 'a')));
  EXPECT_NE(Key(std::string(254, 'a') + "b"), Key(std::string(254, 'a')));
}

TEST(TextOrder, ACharacterOfTwoUnitsMayBeCutAtTheEnd) {
  const std::string text = std::string(254, 'a') + "\U00010000";
  EXPECT_EQ(Key(text), Key(std::u16string(254, u'a') + u'\xD800'));
}

TEST(TextOrder, Utf8AndUtf16GiveTheSameKeys) { EXPECT_EQ(Key("Été à Ærø – 50 €\U0001F600"), Key(u"Été à Ærø – 50 €\U0001F600")); }

TEST(TextOrder, EveryUnitIsInTheTableOnce) {
  ASSERT_EQ(textorder::kRuns.front().first, 0);
  for (std::size_t i = 1; i < textorder::kRuns.size(); ++i) ASSERT_LT(textorder::kRuns[i - 1].first, textorder::kRuns[i].first);
}

TEST(TextOrder, TheKeysOfAllUnitsAreThoseOfTheTableAsItWasReadBack) {
  // FNV-1a over the keys of "a" + unit, for every unit; the number was computed from the uncompressed table by another program.
  std::uint64_t hash = 1469598103934665603u;
  for (unsigned unit = 0; unit < 0x10000; ++unit) {
    Bytes key;
    AppendTextKey(std::u16string{u'a', static_cast<char16_t>(unit)}, false, key);
    for (const std::byte byte : key) hash = (hash ^ std::to_integer<std::uint64_t>(byte)) * 1099511628211u;
  }
  EXPECT_EQ(hash, 0xaa6cb1d58d655c7eu);
}

TEST(TextOrder, ComparingOrdersAsKeysDo) {
  std::mt19937 random(20260101);
  const std::u16string letters = u"abcABCéÉèêüÜß-' 019zZœŒæ\u0301あァ€";
  std::vector<std::pair<std::string, std::string>> texts;
  for (int i = 0; i < 400; ++i) {
    std::string text;
    Bytes key;
    std::u16string units;
    for (auto k = random() % 6; k != 0; --k) units += letters[random() % letters.size()];
    AppendTextKey(units, false, key);
    for (const char16_t unit : units) {
      if (unit < 0x80) {
        text += static_cast<char>(unit);
      } else if (unit < 0x800) {
        text += {static_cast<char>(0xC0 | unit >> 6), static_cast<char>(0x80 | (unit & 0x3F))};
      } else {
        text +=
            {static_cast<char>(0xE0 | unit >> 12), static_cast<char>(0x80 | (unit >> 6 & 0x3F)), static_cast<char>(0x80 | (unit & 0x3F))};
      }
    }
    texts.emplace_back(text, Hex(key));
  }
  const auto sign = [](int order) { return (order > 0) - (order < 0); };
  for (const auto& [left, leftKey] : texts) {
    for (const auto& [right, rightKey] : texts) {
      ASSERT_EQ(sign(CompareText(left, right)), sign(leftKey.compare(rightKey))) << left << " against " << right;
    }
  }
}

TEST(TextOrder, ComparingLooksAtTheWholeText) {
  const std::string longText(300, 'a');
  EXPECT_LT(CompareText(longText + "a", longText + "b"), 0);
  EXPECT_EQ(CompareText(longText + "A", longText + "a"), 0);
}

}  // namespace
}  // namespace jet

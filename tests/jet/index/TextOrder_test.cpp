#include "jet/value/TextOrder.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "jet/value/Error.h"
#include "jet/value/TextOrderTable.h"
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

std::string KeyIn(TextOrder order, std::string_view text, bool descending = false) {
  Bytes key;
  AppendTextKey(text, descending, order, key);
  return Hex(key);
}

std::string Refusal(TextOrder order, std::string_view text) {
  Bytes key{std::byte{1}};
  try {
    AppendTextKey(text, false, order, key);
  } catch (const Error& error) {
    EXPECT_EQ(error.Code(), ErrorCode::kUnsupported);
    EXPECT_EQ(key, Bytes{std::byte{1}}) << "something was appended";
    return error.what();
  }
  return "taken";
}

TEST(TextOrder, CharactersThatSortAsTwoLettersTakeTwoPositions) {
  // Two keys of a real file, hyphens and an accent behind a sharp s.
  EXPECT_EQ(Key("NuNuCa Nuß-Nougat-Creme"),
            "7F 62 6F 62 6F 4D 4A 07 62 6F 6B 6B 62 64 6F 55 4A 6D 4D 69 51 60 51 01 01 01 01 80 33 06 82 80 4B 06 82 00");
  EXPECT_EQ(
      Key("Plutzer Lebensmittelgroßmärkte AG"),
      "7F 66 5E 6F 6D 78 51 69 07 5E 51 4C 51 62 6B 60 59 6D 6D 51 5E 55 69 64 6B 6B 60 4A 69 5C 6D 51 07 4A 55 01 02 02 02 02 02 02 02 02 "
      "02 02 02 02 02 02 02 02 02 02 02 02 02 02 02 02 02 02 13 00");
  EXPECT_EQ(Key("œuvré"), "7F 64 51 6F 71 69 51 01 02 02 02 02 02 0E 00");
  EXPECT_EQ(Key("Ǽé-"), "7F 4A 51 51 01 0E 0E 0E 01 01 01 80 13 06 82 00");  // its two weights stand for both letters
  for (const std::string_view expanding : {"ß", "Æ", "æ", "Þ", "þ", "Œ", "œ", "Ĳ", "ĳ", "Ǆ", "ǆ", "Ǉ", "ǌ", "Ǳ", "ǳ", "ﬀ", "ﬁ", "ﬂ", "ﬆ"}) {
    const std::string text = std::string(expanding) + "-";
    EXPECT_TRUE(Key(text).ends_with(" 01 01 01 80 0F 06 82 00")) << text << " " << Key(text);
  }
  EXPECT_EQ(Key("ﬃ-"), "7F 53 53 59 01 01 01 01 80 13 06 82 00");
}

TEST(TextOrder, SignsOfTwoBytesTakeOnePosition) {
  EXPECT_EQ(Key("¼-"), "7F 37 12 01 01 01 01 80 0B 06 82 00");
  EXPECT_EQ(Key("½-"), "7F 37 16 01 01 01 01 80 0B 06 82 00");
}

TEST(TextOrder, KeysWithOnePositionForEachCharacterCanBeMadeAgain) {
  EXPECT_EQ(KeyIn(TextOrder::kGeneralOnce, "ß-"), "7F 6B 6B 01 01 01 01 80 0B 06 82 00");
  EXPECT_EQ(KeyIn(TextOrder::kGeneralOnce, "a-b é"), KeyIn(TextOrder::kGeneral, "a-b é"));
}

TEST(TextOrder, FrenchComparesAccentsFromTheEnd) {
  EXPECT_EQ(KeyIn(TextOrder::kFrench, "Thème Office.thmx"),
            "7F 6D 57 51 60 51 07 64 53 53 59 4D 51 1C 6D 57 60 75 01 02 02 02 02 02 02 02 02 02 02 02 02 02 02 0F 00");
  EXPECT_EQ(KeyIn(TextOrder::kFrench, "coté"), "7F 4D 64 6D 51 01 0E 00");
  EXPECT_EQ(KeyIn(TextOrder::kFrench, "côte"), "7F 4D 64 6D 51 01 02 02 12 00");
  EXPECT_LT(KeyIn(TextOrder::kFrench, "côte"), KeyIn(TextOrder::kFrench, "coté"));
  EXPECT_GT(KeyIn(TextOrder::kGeneral, "côte"), KeyIn(TextOrder::kGeneral, "coté"));
  EXPECT_EQ(KeyIn(TextOrder::kFrench, "élève d'été-là"),
            "7F 51 5E 51 71 51 07 4F 51 6D 51 5E 4A 01 0F 02 0E 02 0E 02 02 02 02 0F 02 0E 01 01 01 80 23 06 80 80 2F 06 82 00");
  EXPECT_EQ(KeyIn(TextOrder::kFrench, "été", true), "80 AE 92 AE FE F1 FD F1 FF 00");
  EXPECT_EQ(KeyIn(TextOrder::kFrench, "plain"), Key("plain"));
}

TEST(TextOrder, OtherLanguagesDifferInSomeLetters) {
  EXPECT_EQ(KeyIn(TextOrder::kTurkish, "Isık ıI i"), "7F 58 06 6B 58 06 5C 07 58 06 58 06 07 59 01 00");
  EXPECT_EQ(KeyIn(TextOrder::kSwedish, "Wv w"), "7F 71 71 07 71 01 03 02 02 03 00");
  EXPECT_EQ(KeyIn(TextOrder::kTraditionalSpanish, "Chico CH ch c-h"),
            "7F 4E 04 59 4D 64 07 4E 04 07 4E 04 07 4D 57 01 01 01 01 80 2F 06 82 00");
  EXPECT_EQ(KeyIn(TextOrder::kKorean, "aby Z_1"), "7F BC BE E8 07 EA 2B 03 38 01 00");
  for (const TextOrder order : {TextOrder::kSpanish, TextOrder::kPolish, TextOrder::kChinese})
    EXPECT_EQ(KeyIn(order, "O'Brien-3"), Key("O'Brien-3"));
  EXPECT_EQ(KeyIn(TextOrder::kGeneral2010, "ab 19-c"), "7F 0E 02 0E 09 07 02 0D 19 0D 21 0E 0A 01 01 01 01 80 1B 06 82 00");
}

TEST(TextOrder, ACharacterWithoutKnownPlaceIsRefusedByName) {
  const std::string end = " has no known place in the order of the index";
  EXPECT_EQ(Refusal(TextOrder::kTurkish, "çay"), "A text with the character U+00E7" + end);
  EXPECT_EQ(Refusal(TextOrder::kTurkish, "İ"), "A text with the character U+0130" + end);
  EXPECT_EQ(Refusal(TextOrder::kSwedish, "små"), "A text with the character U+00E5" + end);
  EXPECT_EQ(Refusal(TextOrder::kSpanish, "año"), "A text with the character U+00F1" + end);
  EXPECT_EQ(Refusal(TextOrder::kTraditionalSpanish, "calle"), "A text with the character U+006C" + end);
  EXPECT_EQ(Refusal(TextOrder::kPolish, "łódź"), "A text with the character U+0142" + end);
  EXPECT_EQ(Refusal(TextOrder::kKorean, "가"), "A text with the character U+AC00" + end);
  EXPECT_EQ(Refusal(TextOrder::kGeneral2010, "für"), "A text with the character U+00FC" + end);
  EXPECT_EQ(Refusal(TextOrder::kAnsiGeneral, "Ω"), "A text with the character U+03A9" + end);
  EXPECT_EQ(Refusal(TextOrder::kUnknown, "a"), "the order of a text column is not known");
}

TEST(TextOrder, OrdersGoByLanguageAndVersion) {
  EXPECT_EQ(TextOrderOf(0x0409, 0), TextOrder::kGeneral);
  EXPECT_EQ(TextOrderOf(0x0409, 1), TextOrder::kGeneral2010);
  EXPECT_EQ(TextOrderOf(0x040C, 0), TextOrder::kFrench);
  EXPECT_EQ(TextOrderOf(0x040C, 1), TextOrder::kUnknown);
  EXPECT_EQ(TextOrderOf(0x0405, 0), TextOrder::kUnknown);
  EXPECT_EQ(TextOrderOf(0, 0), TextOrder::kUnknown);
}

TEST(TextOrder, Access97WritesWeightsAsHalfBytes) {
  EXPECT_EQ(KeyIn(TextOrder::kAnsiGeneral, "Ab-1"), "7F 60 61 1E 57 00");
  EXPECT_EQ(KeyIn(TextOrder::kAnsiGeneral, "été"), "7F 66 77 66 04 40");
  EXPECT_EQ(KeyIn(TextOrder::kAnsiGeneral, "aé"), "7F 60 66 02 40");
  EXPECT_EQ(KeyIn(TextOrder::kAnsiGeneral, "é"), "7F 66 04 00");
  EXPECT_EQ(KeyIn(TextOrder::kAnsiGeneral, "ßé"), "7F 76 76 66 02 24 00");
  EXPECT_EQ(KeyIn(TextOrder::kAnsiGeneral, "ab  "), "7F 60 61 00");
  EXPECT_EQ(KeyIn(TextOrder::kAnsiGeneral, "ab", true), "80 9F 9E FF");
}

TEST(TextOrder, WhereTextsAreEqualTheKeysOfSearchableOrdersAre) {
  // All pairs of characters of code page 1252: those that compare equal must be found under one key.
  const auto isThorn = [](char32_t c) { return c == U'Þ' || c == U'þ'; };
  std::vector<std::pair<std::string, std::string>> texts;  // with the key that comparing goes by
  for (char32_t a = 0x20; a < 0x100; ++a)
    for (char32_t b = 0x20; b < 0x100; ++b) {
      const auto put = [](std::string& text, char32_t c) {
        if (c < 0x80) {
          text += static_cast<char>(c);
        } else {
          text += static_cast<char>(0xC0 | c >> 6);
          text += static_cast<char>(0x80 | (c & 0x3F));
        }
      };
      if (isThorn(a) || isThorn(b)) continue;  // a letter of its own in Access 97, and th elsewhere
      if ((a >= 0x7F && a < 0xA0) || (b >= 0x7F && b < 0xA0)) continue;
      std::string text;
      put(text, a);
      put(text, b);
      texts.emplace_back(text, Key(text));
    }
  for (const TextOrder order :
       {TextOrder::kFrench, TextOrder::kSwedish, TextOrder::kSpanish, TextOrder::kTraditionalSpanish, TextOrder::kPolish,
        TextOrder::kKorean, TextOrder::kChinese, TextOrder::kGeneral2010, TextOrder::kAnsiGeneral}) {
    EXPECT_TRUE(FindsEqualTexts(order));
    std::map<std::string_view, Bytes> keys;
    for (const auto& [text, compared] : texts) {
      Bytes key;
      try {
        AppendTextKey(text, false, order, key);
      } catch (const Error&) {
        continue;
      }
      const auto [held, added] = keys.emplace(compared, key);
      ASSERT_EQ(held->second, key) << text << " in order " << static_cast<int>(order);
    }
  }
  EXPECT_FALSE(FindsEqualTexts(TextOrder::kTurkish));
}

TEST(TextOrder, ComparingLooksAtTheWholeText) {
  const std::string longText(300, 'a');
  EXPECT_LT(CompareText(longText + "a", longText + "b"), 0);
  EXPECT_EQ(CompareText(longText + "A", longText + "a"), 0);
}

}  // namespace
}  // namespace jet

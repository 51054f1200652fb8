// The comparison against the model that puts the whole keys of both texts together.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "jet/value/Text.h"
#include "jet/value/TextOrder.h"
#include "tests/jet/index/TextOrderModel.h"
#include "tests/support_lib/Seed.h"

namespace jet {
namespace {

using tests::ModelCompare;
using tests::ModelKey;

int Sign(int order) { return (order > 0) - (order < 0); }

std::string Shown(std::string_view text) {
  std::string shown;
  for (std::size_t at = 0; at < text.size();) {
    char buffer[12];
    std::snprintf(buffer, sizeof buffer, "U+%04X ", static_cast<unsigned>(NextCharacter(text, at)));
    shown += buffer;
  }
  return shown;
}

/// Compares in both directions; true when alike.
testing::AssertionResult Alike(std::string_view left, std::string_view right) {
  const int expected = ModelCompare(left, right);
  if (Sign(CompareText(left, right)) == expected && Sign(CompareText(right, left)) == -expected) return testing::AssertionSuccess();
  return testing::AssertionFailure() << Shown(left) << "against " << Shown(right) << "must give " << expected << ", gives "
                                     << CompareText(left, right) << " and turned " << CompareText(right, left);
}

class CompareTextModel : public testing::Test {
 protected:
  CompareTextModel() : trace_(__FILE__, __LINE__, "seed " + std::to_string(seed)) {}

  unsigned Below(unsigned limit) { return static_cast<unsigned>(random() % limit); }

  /// A character that texts here have, of every sort that the order treats in a way of its own.
  std::string Usual() {
    static const std::vector<std::string> kCharacters = {
        "a",  "A",  "b",      "z",      "Z",      "0", "9",      " ",      "-",          "'",          ".",         "_",  "\t", "\x01",
        "é",  "É",  "è",      "ê",      "ë",      "à", "ç",      "Ç",      "ü",          "ß",          "œ",         "Œ",  "æ",  "Æ",
        "ǆ",  "ﬁ",  "\u0301", "\u0308", "\u00AD", "’", "–",      "—",      "€",          "\u00A0",     "あ",        "ァ", "ア", "ｱ",
        "ー", "漢", "Ж",      "ё",      "Ω",      "ά", "\u200D", "\uFEFF", "\U0001F600", "\U00010000", "\U00010400"};
    return kCharacters[Below(static_cast<unsigned>(kCharacters.size()))];
  }
  /// Any of the 65,536 units, halves of pairs included, or a character of two units.
  std::string Any() {
    std::string text;
    AppendCharacter(Below(20) == 0 ? 0x10000 + Below(0x100000) : Below(0x10000), text);
    return text;
  }
  template <typename Pick>
  std::string Text(unsigned longest, Pick&& pick) {
    std::string text;
    for (unsigned i = Below(longest + 1); i > 0; --i) text += pick();
    return text;
  }
  /// The other text of a pair: near the first one, so that what is equal runs on for a while.
  template <typename Pick>
  std::string Near(const std::string& text, Pick&& pick) {
    const std::size_t at = CharacterStart(text, Below(static_cast<unsigned>(text.size()) + 1));
    std::string near = text;
    switch (Below(6)) {
      case 0:
        return near.substr(0, at);
      case 1:
        return near.insert(at, pick());
      case 2:
        return near.substr(0, at) + pick() + Text(3, pick);
      case 3: {
        std::size_t behind = at;
        if (behind < near.size()) (void)NextCharacter(near, behind);
        return near.erase(at, behind - at);
      }
      case 4:
        for (char& c : near) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
        return near + std::string(Below(3), ' ');
      default:
        return near + pick();
    }
  }
  static std::size_t CharacterStart(const std::string& text, std::size_t at) {
    while (at > 0 && at < text.size() && (text[at] & 0xC0) == 0x80) --at;
    return at;
  }

  const unsigned seed = tamlo::tests::Seed();
  std::mt19937 random{seed};

 private:
  testing::ScopedTrace trace_;
};

TEST_F(CompareTextModel, TheModelsKeysAreThoseOfIndexes) {
  for (int i = 0; i < 3000; ++i) {
    const std::string text = i % 2 == 0 ? Text(12, [this] { return Usual(); }) : Text(12, [this] { return Any(); });
    Bytes key;
    AppendTextKey(text, false, key);
    std::vector<std::uint8_t> body;
    for (std::size_t at = 1; at + 1 < key.size(); ++at) body.push_back(std::to_integer<std::uint8_t>(key[at]));
    ASSERT_EQ(body, ModelKey(text)) << Shown(text);
  }
}

TEST_F(CompareTextModel, EveryUnitAgainstNothingAndAgainstItsNeighbour) {
  std::string last;
  for (unsigned unit = 0; unit < 0x10000; ++unit) {
    std::string text;
    AppendCharacter(unit, text);
    ASSERT_TRUE(Alike(text, ""));
    ASSERT_TRUE(Alike("a" + text + "b", "ab"));
    ASSERT_TRUE(Alike(text, last));
    ASSERT_TRUE(Alike("x" + text, "X" + last + "y"));
    last = text;
  }
}

TEST_F(CompareTextModel, PairsOfUsualCharacters) {
  const auto pick = [this] { return Usual(); };
  for (int i = 0; i < 15000; ++i) ASSERT_TRUE(Alike(Text(6, pick), Text(6, pick)));
}

TEST_F(CompareTextModel, TextsNearEachOther) {
  const auto pick = [this] { return Usual(); };
  for (int i = 0; i < 15000; ++i) {
    const std::string text = Text(20, pick);
    ASSERT_TRUE(Alike(text, Near(text, pick)));
  }
}

TEST_F(CompareTextModel, TextsOverTheWholeTable) {
  const auto pick = [this] { return Any(); };
  for (int i = 0; i < 10000; ++i) {
    const std::string text = Text(10, pick);
    ASSERT_TRUE(Alike(text, Text(10, pick)));
    ASSERT_TRUE(Alike(text, Near(text, pick)));
  }
}

TEST_F(CompareTextModel, BytesThatAreNoUtf8) {
  static const std::string kBytes = "a- \xC3\xA9\x80\xE3\x81\xF0\x9F\xED\xA0\xFF\xC0\x27";
  const auto pick = [this] { return std::string(1, kBytes[Below(static_cast<unsigned>(kBytes.size()))]); };
  for (int i = 0; i < 25000; ++i) {
    const std::string text = Text(9, pick);
    ASSERT_TRUE(Alike(text, Below(2) == 0 ? Text(9, pick) : text.substr(0, Below(static_cast<unsigned>(text.size()) + 1)) + pick()));
  }
}

TEST_F(CompareTextModel, LongTextsThatDifferAtTheEnd) {
  const auto pick = [this] { return Usual(); };
  for (int i = 0; i < 300; ++i) {
    std::string text;
    for (int k = 0; k < 2000; ++k) text += pick();
    ASSERT_TRUE(Alike(text + pick(), text + pick()));
  }
}

}  // namespace
}  // namespace jet

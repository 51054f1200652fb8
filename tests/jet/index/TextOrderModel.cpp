#include "tests/jet/index/TextOrderModel.h"

#include <string>

#include "jet/value/Text.h"
#include "jet/value/TextOrderTable.h"

namespace jet::tests {
namespace {

using textorder::Kind;
using List = std::vector<std::uint8_t>;

struct Unit {
  Kind kind = Kind::kIgnored;
  List inlineBytes;
  List extra;
  std::uint8_t flag = 0;
  std::uint8_t mark = 0;
};

Unit Unpacked(const textorder::Run& run, int unit) {
  const textorder::Shape& shape = textorder::kShapes[run.shape & 0x3FFF];
  const int step = run.shape >> 14;
  const int value = run.value + (step == 0 ? 0 : (unit - run.first) / step);
  Unit found;
  found.kind = shape.kind;
  found.flag = shape.flag;
  for (int i = 0; i < shape.extraLength; ++i) found.extra.push_back(shape.extra[i]);
  const auto put = [&found](int byte) { found.inlineBytes.push_back(static_cast<std::uint8_t>(byte)); };
  if (shape.kind != Kind::kPlain) {
    found.mark = static_cast<std::uint8_t>(value);
  } else if (shape.inlineKind == 1) {
    put(value);
  } else if (shape.inlineKind == 2) {
    put(value / 254), put(value % 254 + 2);
  } else if (shape.inlineKind == 3) {
    put(value / 256), put(value % 256);
  } else if (shape.inlineKind == 4) {
    for (int i = 0; i < textorder::kLongCodes[value].length; ++i) put(textorder::kLongCodes[value].bytes[i]);
  }
  return found;
}

const Unit& Look(char16_t unit) {
  static const std::vector<Unit> all = [] {
    std::vector<Unit> units;
    for (std::size_t i = 0; i < textorder::kRuns.size(); ++i) {
      const int end = i + 1 < textorder::kRuns.size() ? textorder::kRuns[i + 1].first : 0x10000;
      for (int u = textorder::kRuns[i].first; u < end; ++u) units.push_back(Unpacked(textorder::kRuns[i], u));
    }
    return units;
  }();
  return all.at(unit);
}

std::u16string Units(std::string_view text) {
  std::u16string units;
  for (std::size_t at = 0; at < text.size();) {
    const char32_t c = NextCharacter(text, at);
    if (c < 0x10000) {
      units += static_cast<char16_t>(c);
    } else {
      units += static_cast<char16_t>(0xD800 + (c - 0x10000) / 1024);
      units += static_cast<char16_t>(0xDC00 + (c - 0x10000) % 1024);
    }
  }
  while (!units.empty() && units.back() == u' ') units.pop_back();
  return units;
}

/// As many as the unit has letters; every other sign, whatever its bytes, has one.
int Positions(const Unit& unit) {
  static const std::string kLetters = "JLMOQSUWY[\\^`bdfhikmoqsuvx";  // the codes of a to z, read as ASCII
  for (const std::uint8_t byte : unit.inlineBytes)
    if (kLetters.find(static_cast<char>(byte)) == std::string::npos) return 1;
  return static_cast<int>(unit.inlineBytes.size());
}

/// Three flags to a byte.
List Packed(List flags) {
  while (!flags.empty() && flags.back() == 3) flags.pop_back();
  List packed;
  for (std::size_t i = 0; i < flags.size(); ++i) {
    if (i % 3 == 0) packed.push_back(0x80);
    packed.back() = static_cast<std::uint8_t>(packed.back() | flags[i] << (4 - 2 * (i % 3)));
  }
  return packed;
}

}  // namespace

std::vector<std::uint8_t> ModelKey(std::string_view text) {
  List key;
  List weights;
  List flags;
  List marks;
  int letters = 0;  // units with inline bytes before this one
  int covered = 0;  // units that the weights stand for
  int lead = 0;     // 1 when the first weight is of a mark before any letter
  bool accented = false;
  const auto cover = [&] {
    accented = true;
    for (; covered < letters; ++covered) weights.push_back(0x02);
  };
  for (const char16_t u : Units(text)) {
    const Unit& unit = Look(u);
    if (unit.kind == Kind::kModifier) {
      cover();
      if (weights.empty()) {
        weights.push_back(unit.mark);
        lead = 1;
      } else {
        weights.back() = static_cast<std::uint8_t>(weights.back() + unit.mark);
      }
    } else if (unit.kind == Kind::kUnprintable) {
      const int position = accented ? static_cast<int>(weights.size()) + letters - covered - lead : letters;
      const int stored = 0x8000 | (7 + 4 * position);
      marks.insert(marks.end(), {static_cast<std::uint8_t>(stored >> 8), static_cast<std::uint8_t>(stored), 0x06, unit.mark});
    } else if (unit.kind == Kind::kPlain) {
      if (!unit.extra.empty()) {
        cover();
        weights.insert(weights.end(), unit.extra.begin(), unit.extra.end());
        covered += Positions(unit) > 1 ? static_cast<int>(unit.extra.size()) : 1;
      }
      if (unit.flag != 0) flags.push_back(unit.flag);
      key.insert(key.end(), unit.inlineBytes.begin(), unit.inlineBytes.end());
      letters += Positions(unit);
    }
  }
  while (!weights.empty() && weights.back() <= 0x02) weights.pop_back();
  key.push_back(0x01);
  key.insert(key.end(), weights.begin(), weights.end());
  if (flags.empty() && marks.empty()) return key;
  key.insert(key.end(), {0x01, 0x01});
  if (!flags.empty()) {
    const List packed = Packed(flags);
    key.insert(key.end(), packed.begin(), packed.end());
    key.insert(key.end(), {0xFF, 0x02, 0x80, 0xFF, 0x80});
    if (!marks.empty()) key.push_back(0xFF);
  }
  if (!marks.empty()) {
    key.push_back(0x01);
    key.insert(key.end(), marks.begin(), marks.end());
  }
  return key;
}

int ModelCompare(std::string_view left, std::string_view right) {
  const List leftKey = ModelKey(left);
  const List rightKey = ModelKey(right);
  return leftKey < rightKey ? -1 : leftKey > rightKey ? 1 : 0;
}

}  // namespace jet::tests

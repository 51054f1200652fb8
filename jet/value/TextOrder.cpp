#include "jet/value/TextOrder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory_resource>
#include <span>
#include <utility>
#include <vector>

#include "base/Ansi.h"
#include "base/Utf16.h"
#include "jet/value/Error.h"
#include "jet/value/Text.h"
#include "jet/value/TextOrderTable.h"

namespace jet {
namespace {

using textorder::Kind;

/// The codes of one unit.
struct Code {
  Kind kind = Kind::kIgnored;
  std::uint8_t inlineLength = 0;
  std::uint8_t extraLength = 0;
  std::uint8_t flag = 0;
  std::uint8_t mark = 0;      ///< code of an unprintable, weight of a modifier
  std::uint8_t elements = 0;  ///< positions that the unit takes: 0 without inline bytes, 2 or 3 where it sorts as so many letters
  std::array<std::uint8_t, 4> inlineBytes{};
  std::array<std::uint8_t, 2> extra{};

  bool operator==(const Code&) const = default;
};

/// A unit whose bytes are the codes of two or three letters counts as these letters. Other codes of several bytes stand for one sign.
std::uint8_t CountElements(const Code& code) {
  static constexpr std::string_view kLetters =
      "\x4A\x4C\x4D\x4F\x51\x53\x55\x57\x59\x5B\x5C\x5E\x60\x62\x64\x66\x68\x69\x6B\x6D\x6F\x71\x73\x75\x76\x78";
  const auto isLetter = [](std::uint8_t byte) { return kLetters.find(static_cast<char>(byte)) != kLetters.npos; };
  if (code.inlineLength == 0) return 0;
  const auto end = code.inlineBytes.begin() + code.inlineLength;
  return std::all_of(code.inlineBytes.begin(), end, isLetter) ? code.inlineLength : std::uint8_t{1};
}

Code Unpack(std::uint16_t unit) {
  const auto next = std::upper_bound(textorder::kRuns.begin(), textorder::kRuns.end(), unit,
                                     [](std::uint16_t u, const textorder::Run& run) { return u < run.first; });
  const textorder::Run& run = *(next - 1);  // the first run begins at 0
  const textorder::Shape& shape = textorder::kShapes[run.shape & 0x3FFF];
  const unsigned step = run.shape >> 14;
  const unsigned value = run.value + (step == 0 ? 0u : static_cast<unsigned>(unit - run.first) / step);

  Code code;
  code.kind = shape.kind;
  code.extraLength = shape.extraLength;
  code.extra = shape.extra;
  code.flag = shape.flag;
  const auto two = [&code](unsigned high, unsigned low) {
    code.inlineLength = 2;
    code.inlineBytes[0] = static_cast<std::uint8_t>(high);
    code.inlineBytes[1] = static_cast<std::uint8_t>(low);
  };
  if (shape.kind != Kind::kPlain) {
    code.mark = static_cast<std::uint8_t>(value);
  } else if (shape.inlineKind == 1) {
    code.inlineLength = 1;
    code.inlineBytes[0] = static_cast<std::uint8_t>(value);
  } else if (shape.inlineKind == 2) {
    two(value / 254, value % 254 + 2);
  } else if (shape.inlineKind == 3) {
    two(value >> 8, value & 0xFF);
  } else if (shape.inlineKind == 4) {
    code.inlineLength = textorder::kLongCodes[value].length;
    code.inlineBytes = textorder::kLongCodes[value].bytes;
  }
  code.elements = CountElements(code);
  return code;
}

/// Codes of the units that most texts consist of (Latin, Greek, Cyrillic), unpacked once; the others are looked up in the runs.
constexpr std::size_t kUnpackedUnits = 0x530;

const std::array<Code, kUnpackedUnits>& UnpackedCodes() {
  static const std::array<Code, kUnpackedUnits> codes = [] {
    std::array<Code, kUnpackedUnits> all;
    for (std::size_t unit = 0; unit < all.size(); ++unit) all[unit] = Unpack(static_cast<std::uint16_t>(unit));
    return all;
  }();
  return codes;
}

/// Puts the key of one text together. A text runs through it unit by unit; what is rare goes to side lists that follow the inline bytes.
class Composer {
 public:
  /// fromEnd: accents count from the end of the text, as in French.
  explicit Composer(Bytes& key, bool fromEnd = false) : key_(key), fromEnd_(fromEnd) {}

  void Add(const Code& code) {
    const std::size_t here = seen_;
    for (std::size_t i = 0; i < code.inlineLength; ++i) Put(code.inlineBytes[i]);
    seen_ += code.elements;
    if (code.kind == Kind::kPlain) {
      if (code.extraLength != 0) AddWeights(code, here);
      if (code.flag != 0) flags_.push_back(code.flag);
    } else if (code.kind == Kind::kModifier) {
      AddModifier(code.mark, here);
    } else if (code.kind == Kind::kUnprintable) {
      AddSpecial(code.mark, here);
    }
  }

  /// Everything after the inline bytes, without the 00 that ends the key.
  void Finish() {
    Put(0x01);
    if (fromEnd_ && hasWeights_) {
      PadWeights(seen_);
      std::reverse(weights_.begin(), weights_.end());
    }
    while (!weights_.empty() && weights_.back() <= 0x02) weights_.pop_back();
    for (const std::uint8_t weight : weights_) Put(weight);
    if (flags_.empty() && specials_.empty()) return;
    Put(0x01);
    Put(0x01);
    const bool hasFlags = !flags_.empty();
    if (hasFlags) PutFlags();
    if (specials_.empty()) return;
    if (hasFlags) Put(0xFF);
    Put(0x01);
    for (const std::uint8_t byte : specials_) Put(byte);
  }

 private:
  void Put(std::uint8_t byte) { key_.push_back(static_cast<std::byte>(byte)); }

  void PadWeights(std::size_t here) {
    hasWeights_ = true;
    for (; covered_ < here; ++covered_) weights_.push_back(0x02);
  }

  void AddWeights(const Code& code, std::size_t here) {
    PadWeights(here);
    weights_.insert(weights_.end(), code.extra.begin(), code.extra.begin() + code.extraLength);
    covered_ += code.elements > 1 ? code.extraLength : 1u;
  }

  void AddModifier(std::uint8_t weight, std::size_t here) {
    PadWeights(here);
    if (weights_.empty()) {
      weights_.push_back(weight);
      lead_ = 1;
    } else {
      weights_.back() = static_cast<std::uint8_t>(weights_.back() + weight);
    }
  }

  void AddSpecial(std::uint8_t code, std::size_t here) {
    // Unsigned arithmetic may pass through values below zero on the way; the sum never stays there.
    const std::size_t position = hasWeights_ ? weights_.size() + here - covered_ - lead_ : here;
    const std::size_t stored = 0x8000 | (7 + 4 * position);
    specials_.insert(specials_.end(), {static_cast<std::uint8_t>(stored >> 8), static_cast<std::uint8_t>(stored), 0x06, code});
  }

  void PutFlags() {
    while (!flags_.empty() && flags_.back() == 3) flags_.pop_back();
    for (std::size_t i = 0; i < flags_.size(); i += 3) {
      unsigned packed = 0x80;
      for (std::size_t k = 0; k < 3 && i + k < flags_.size(); ++k) packed |= static_cast<unsigned>(flags_[i + k]) << (4 - 2 * k);
      Put(static_cast<std::uint8_t>(packed));
    }
    for (const unsigned byte : {0xFFu, 0x02u, 0x80u, 0xFFu, 0x80u}) Put(static_cast<std::uint8_t>(byte));
  }

  Bytes& key_;
  bool fromEnd_;
  std::array<std::byte, 512> space_;  ///< for the lists of usual texts, so that their keys cost no allocations
  std::pmr::monotonic_buffer_resource memory_{space_.data(), space_.size()};
  std::size_t seen_ = 0;     ///< positions so far: units that had inline bytes, those that sort as several letters as often
  std::size_t covered_ = 0;  ///< positions that the weights account for
  std::size_t lead_ = 0;     ///< 1 when the first weight belongs to no unit
  bool hasWeights_ = false;
  std::pmr::vector<std::uint8_t> weights_{&memory_};
  std::pmr::vector<std::uint8_t> flags_{&memory_};
  std::pmr::vector<std::uint8_t> specials_{&memory_};
};

void AppendBody(std::u16string_view text, Bytes& key, bool fromEnd = false) {
  const std::array<Code, kUnpackedUnits>& unpacked = UnpackedCodes();
  Composer composer(key, fromEnd);
  for (const char16_t unit : text) composer.Add(unit < kUnpackedUnits ? unpacked[unit] : Unpack(unit));
  composer.Finish();
}

// ----- orders of other languages: General but for some letters

[[noreturn]] void RefuseUnit(char16_t unit) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text = "A text with the character U+";
  for (int shift = 12; shift >= 0; shift -= 4) text += kDigits[unit >> shift & 15];
  throw Error(ErrorCode::kUnsupported, text + " has no known place in the order of the index");
}

bool IsOneOf(char16_t unit, std::u16string_view units) { return units.find(unit) != units.npos; }

/// Whether the unit's place in the order is known, be it that of General or another.
bool HasPlace(TextOrder order, char16_t unit) {
  constexpr char16_t kAsciiEnd = 0x80;
  switch (order) {
    case TextOrder::kTurkish:  // the letters that Turkish adds, and the letter I with other marks
      return unit != 0 && unit < 0x250 && !IsOneOf(unit, u"\u00C7\u00E7\u011E\u011F\u00D6\u00F6\u015E\u015F\u00DC\u00FC\u0130") &&
             !IsOneOf(unit, u"\u00CC\u00CD\u00CE\u00CF\u00EC\u00ED\u00EE\u00EF");
    case TextOrder::kSwedish:  // the letters that Swedish adds, and those that look like them
      return unit != 0 && unit < 0x100 && !IsOneOf(unit, u"\u00C5\u00E5\u00C4\u00E4\u00D6\u00F6\u00C6\u00E6\u00D8\u00F8\u00DC\u00FC") &&
             !IsOneOf(unit, u"\u00D0\u00F0\u00DE\u00FE");
    case TextOrder::kGeneral2010:
      return (unit != 0 && unit < kAsciiEnd) || (unit >= 0xD800 && unit < 0xE000);
    case TextOrder::kGeneralOnce:
      return true;
    default:
      return unit != 0 && unit < kAsciiEnd;
  }
}

Code OneElement(std::uint8_t first, std::uint8_t second) {
  Code code;
  code.kind = Kind::kPlain;
  code.elements = 1;
  code.inlineLength = second == 0 ? 1 : 2;
  code.inlineBytes = {first, second, 0, 0};
  return code;
}

Code CodeIn2010(char16_t unit) {
  if (unit >= 0x80) return Unpack(unit);  // halves of characters beyond U+FFFF have the same codes as ever
  const textorder::AsciiCode& ascii = textorder::kGeneral2010[unit];
  if (ascii.high != 0) return OneElement(ascii.high, ascii.low);
  Code code;
  code.kind = ascii.mark != 0 ? Kind::kUnprintable : Kind::kIgnored;
  code.mark = ascii.mark;
  return code;
}

Code CodeIn(TextOrder order, char16_t unit) {
  if (order == TextOrder::kGeneral2010) return CodeIn2010(unit);
  if (order == TextOrder::kTurkish && (unit == u'I' || unit == u'\u0131')) return OneElement(0x58, 0x06);
  Code code = unit < kUnpackedUnits ? UnpackedCodes()[unit] : Unpack(unit);
  if (order == TextOrder::kSwedish && (unit == u'W' || unit == u'w')) {
    code = OneElement(0x71, 0);
    code.extraLength = 1;
    code.extra[0] = 0x03;
  }
  if (order == TextOrder::kGeneralOnce) code.elements = std::min<std::uint8_t>(code.elements, 1);
  constexpr std::uint8_t kKoreanShift = 0x72;
  const auto lower = static_cast<char16_t>(unit | 0x20);
  if (order == TextOrder::kKorean && lower >= u'a' && lower <= u'z')
    code.inlineBytes[0] = static_cast<std::uint8_t>(code.inlineBytes[0] + kKoreanShift);
  return code;
}

bool IsPair(std::u16string_view text, std::size_t at, char16_t first, char16_t second) {
  return at + 1 < text.size() && (text[at] | 0x20) == first && (text[at + 1] | 0x20) == second;
}

void AppendBodyIn(TextOrder order, std::u16string_view text, Bytes& key) {
  if (order == TextOrder::kGeneral || order == TextOrder::kFrench) return AppendBody(text, key, order == TextOrder::kFrench);
  Composer composer(key);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!HasPlace(order, text[i])) RefuseUnit(text[i]);
    if (order == TextOrder::kTraditionalSpanish && IsPair(text, i, u'l', u'l')) RefuseUnit(text[i]);
    if (order == TextOrder::kTraditionalSpanish && IsPair(text, i, u'c', u'h')) {
      composer.Add(OneElement(0x4E, 0x04));
      ++i;
      continue;
    }
    composer.Add(CodeIn(order, text[i]));
  }
  composer.Finish();
}

// ----- Access 97: keys of the bytes that the text has in its code page

/// The bytes of the first units of a text. Errors: kUnsupported for a character that Windows-1252 lacks.
std::string ToWesternBytes(std::string_view text) {
  std::string bytes;
  for (std::size_t at = 0; at < text.size() && bytes.size() < kTextKeyUnits;) {
    const char32_t character = NextCharacter(text, at);
    const std::uint8_t code = base::AnsiCode(character);
    if (base::AnsiCharacter(code) != character) RefuseUnit(static_cast<char16_t>(std::min<char32_t>(character, 0xFFFF)));
    bytes += static_cast<char>(code);
  }
  return bytes;
}

/// The weights as half bytes: 0, then 2 for each letter without accent before one that has it and the weight of that one, then 0.
void AppendHalves(std::span<const std::uint8_t> weights, Bytes& key) {
  key.push_back(std::byte{0});
  bool high = false;  // the first half is taken by the 0 in front
  for (const std::uint8_t weight : weights) {
    if (high)
      key.push_back(static_cast<std::byte>(weight << 4));
    else
      key.back() |= static_cast<std::byte>(weight);
    high = !high;
  }
  if (high) key.push_back(std::byte{0});
}

void AppendAnsiKey(std::string_view text, bool descending, Bytes& key) {
  std::string bytes = ToWesternBytes(text);
  bytes.erase(bytes.find_last_not_of(' ') + 1);
  key.push_back(descending ? std::byte{0x80} : std::byte{0x7F});
  const std::size_t start = key.size();
  std::vector<std::uint8_t> weights;
  std::size_t known = 0;  // weights up to the last accent
  for (const char c : bytes) {
    const textorder::AnsiCode& code = textorder::kAnsiGeneral[static_cast<unsigned char>(c)];
    key.push_back(static_cast<std::byte>(code.first));
    if (code.second != 0) key.push_back(static_cast<std::byte>(code.second));
    weights.insert(weights.end(), code.counted, 2);
    if (code.weight == 0) continue;
    weights.push_back(code.weight);
    known = weights.size();
  }
  AppendHalves(std::span(weights).first(known), key);
  if (!descending) return;
  for (std::size_t i = start; i < key.size(); ++i) key[i] = ~key[i];
}

std::u16string_view WithoutBlanksAtTheEnd(std::u16string_view text) {
  const std::size_t last = text.find_last_not_of(u' ');
  return text.substr(0, last == text.npos ? 0 : last + 1);
}

/// The first units of a text, at most as many as the buffer holds.
std::u16string_view ToUnits(std::string_view text, std::span<char16_t> buffer) {
  std::size_t count = 0;
  for (std::size_t at = 0; at < text.size() && count < buffer.size();) {
    const auto lead = static_cast<unsigned char>(text[at]);
    if (lead < 0x80) {
      buffer[count++] = lead;
      ++at;
      continue;
    }
    const char32_t character = NextCharacter(text, at);
    if (character < 0x10000) {
      buffer[count++] = static_cast<char16_t>(character);
    } else {
      buffer[count++] = base::FirstHalf(character);
      if (count < buffer.size()) buffer[count++] = base::SecondHalf(character);
    }
  }
  return {buffer.data(), count};
}

std::string_view WithoutBlanksAtTheEnd(std::string_view text) {
  const std::size_t last = text.find_last_not_of(' ');
  return text.substr(0, last == text.npos ? 0 : last + 1);
}

/// The codes of a text's units, one after the other.
class CodeReader {
 public:
  explicit CodeReader(std::string_view text) : text_(text) {}

  /// Null at the end; else valid until the next call.
  const Code* Next() {
    if (half_ != 0) return Of(std::exchange(half_, char16_t{0}));
    if (at_ == text_.size()) return nullptr;
    const auto lead = static_cast<unsigned char>(text_[at_]);
    if (lead < 0x80) {
      ++at_;
      return &unpacked_[lead];
    }
    const char32_t character = NextCharacter(text_, at_);
    if (character < 0x10000) return Of(static_cast<char16_t>(character));
    half_ = base::SecondHalf(character);
    return Of(base::FirstHalf(character));
  }

 private:
  const Code* Of(char16_t unit) {
    if (unit < kUnpackedUnits) return &unpacked_[unit];
    rare_ = Unpack(unit);
    return &rare_;
  }

  const std::array<Code, kUnpackedUnits>& unpacked_ = UnpackedCodes();
  std::string_view text_;
  std::size_t at_ = 0;
  char16_t half_ = 0;  ///< second unit of a character of two
  Code rare_;
};

/// The inline bytes of the rest of a text.
class InlineBytes {
 public:
  /// Begins with a code that the reader has given, null for the end.
  InlineBytes(const Code* first, CodeReader& rest) : code_(first), rest_(rest) {}

  /// At the end the byte that follows the inline bytes in every key.
  unsigned Next() {
    while (code_ != nullptr && at_ == code_->inlineLength) {
      code_ = rest_.Next();
      at_ = 0;
    }
    return code_ == nullptr ? 0x01u : code_->inlineBytes[at_++];
  }
  [[nodiscard]] bool Ended() const { return code_ == nullptr; }

 private:
  const Code* code_;
  CodeReader& rest_;
  std::size_t at_ = 0;
};

/// The key without its flag and its last byte, over the whole text.
Bytes WholeBody(std::string_view text) {
  Bytes body;
  body.reserve(2 * text.size() + 8);
  Composer composer(body);
  CodeReader reader(text);
  while (const Code* code = reader.Next()) composer.Add(*code);
  composer.Finish();
  return body;
}

int CompareBodies(std::string_view left, std::string_view right) {
  const Bytes leftBody = WholeBody(left);
  const Bytes rightBody = WholeBody(right);
  const int order = std::memcmp(leftBody.data(), rightBody.data(), std::min(leftBody.size(), rightBody.size()));
  if (order != 0) return order;
  return leftBody.size() < rightBody.size() ? -1 : leftBody.size() > rightBody.size() ? 1 : 0;
}

/// Place of the first character that differs.
std::size_t CommonCharacters(std::string_view left, std::string_view right) {
  const std::size_t size = std::min(left.size(), right.size());
  std::size_t i = 0;
  while (i + 8 <= size && std::memcmp(left.data() + i, right.data() + i, 8) == 0) i += 8;
  while (i < size && left[i] == right[i]) ++i;
  // Back to where the character begins: bytes inside of characters are those of the form 10xxxxxx.
  const auto isInside = [](std::string_view text, std::size_t at) { return at < text.size() && base::IsInsideCharacter(text[at]); };
  while (i > 0 && (isInside(left, i) || isInside(right, i))) --i;
  return i;
}

}  // namespace

void AppendTextKey(std::u16string_view text, bool descending, Bytes& key) {
  text = WithoutBlanksAtTheEnd(text.substr(0, kTextKeyUnits));
  key.push_back(descending ? std::byte{0x80} : std::byte{0x7F});
  const std::size_t start = key.size();
  AppendBody(text, key);
  key.push_back(std::byte{0});
  if (!descending) return;
  for (std::size_t i = start; i < key.size(); ++i) key[i] = ~key[i];
  key.push_back(std::byte{0});
}

void AppendTextKey(std::string_view text, bool descending, Bytes& key) {
  std::array<char16_t, kTextKeyUnits> units;
  AppendTextKey(ToUnits(text, units), descending, key);
}

TextOrder TextOrderOf(std::uint16_t language, std::uint8_t version) noexcept {
  if (version == 1 && language == 0x0409) return TextOrder::kGeneral2010;
  if (version != 0) return TextOrder::kUnknown;
  switch (language) {
    case 0x0409:
      return TextOrder::kGeneral;
    case 0x040C:
      return TextOrder::kFrench;
    case 0x041F:
      return TextOrder::kTurkish;
    case 0x041D:
      return TextOrder::kSwedish;
    case 0x0C0A:
      return TextOrder::kSpanish;
    case 0x040A:
      return TextOrder::kTraditionalSpanish;
    case 0x0415:
      return TextOrder::kPolish;
    case 0x0412:
      return TextOrder::kKorean;
    case 0x0804:
    case 0x0404:
      return TextOrder::kChinese;
    default:
      return TextOrder::kUnknown;
  }
}

bool FindsEqualTexts(TextOrder order) noexcept {
  // In Turkish I and i are two letters.
  return order != TextOrder::kUnknown && order != TextOrder::kTurkish;
}

bool OrdersAsCompareText(TextOrder order) noexcept { return order == TextOrder::kGeneral; }

void AppendTextKey(std::string_view text, bool descending, TextOrder order, Bytes& key) {
  if (order == TextOrder::kGeneral) return AppendTextKey(text, descending, key);
  if (order == TextOrder::kUnknown) throw Error(ErrorCode::kUnsupported, "the order of a text column is not known");
  const std::size_t size = key.size();
  try {
    if (order == TextOrder::kAnsiGeneral) return AppendAnsiKey(text, descending, key);
    std::array<char16_t, kTextKeyUnits> buffer;
    key.push_back(descending ? std::byte{0x80} : std::byte{0x7F});
    AppendBodyIn(order, WithoutBlanksAtTheEnd(ToUnits(text, buffer)), key);
  } catch (const Error&) {
    key.resize(size);
    throw;
  }
  key.push_back(std::byte{0});
  if (!descending) return;
  for (std::size_t i = size + 1; i < key.size(); ++i) key[i] = ~key[i];
  key.push_back(std::byte{0});
}

int CompareText(std::string_view left, std::string_view right) {
  left = WithoutBlanksAtTheEnd(left);
  right = WithoutBlanksAtTheEnd(right);
  const std::size_t common = CommonCharacters(left, right);
  CodeReader leftCodes(left.substr(common));
  CodeReader rightCodes(right.substr(common));
  // As long as the units have the same codes (upper and lower case have), so have the keys.
  const Code* leftCode = nullptr;
  const Code* rightCode = nullptr;
  do {
    leftCode = leftCodes.Next();
    rightCode = rightCodes.Next();
    if (leftCode == nullptr && rightCode == nullptr) return 0;
  } while (leftCode != nullptr && rightCode != nullptr && (leftCode == rightCode || *leftCode == *rightCode));
  // Keys begin with the inline bytes, which come unit by unit; nearly always they decide.
  InlineBytes leftBytes(leftCode, leftCodes);
  InlineBytes rightBytes(rightCode, rightCodes);
  do {
    const int order = static_cast<int>(leftBytes.Next()) - static_cast<int>(rightBytes.Next());
    if (order != 0) return order;
  } while (!leftBytes.Ended() && !rightBytes.Ended());
  return CompareBodies(left, right);
}

}  // namespace jet

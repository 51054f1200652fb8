#include "runtime/Text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace tamlo::runtime {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kLastCharacter = 0x10FFFF;
/// A byte that is no valid UTF-8 travels as this plus the byte (0x80 to 0xFF): a code that no valid text gives.
constexpr char32_t kStrayByte = 0xDC00;

struct CaseRun {
  char32_t firstUpper;
  char32_t lastUpper;
  int step;
  std::int32_t toLower;
};

constexpr CaseRun kCaseRuns[] = {
#include "base/CaseTable.inc"
};

/// Answers for the letters of most alphabets at once; the runs are searched only beyond.
constexpr char32_t kDirectEnd = 0x590;

struct DirectTables {
  std::array<char16_t, kDirectEnd> upper{};
  std::array<char16_t, kDirectEnd> lower{};
};

constexpr DirectTables MakeDirectTables() {
  DirectTables tables;
  for (char32_t code = 0; code < kDirectEnd; ++code) {
    tables.upper[code] = static_cast<char16_t>(code >= U'a' && code <= U'z' ? code - 32 : code);
    tables.lower[code] = static_cast<char16_t>(code >= U'A' && code <= U'Z' ? code + 32 : code);
  }
  for (const CaseRun& run : kCaseRuns) {
    for (char32_t upper = run.firstUpper; upper <= run.lastUpper; upper += static_cast<char32_t>(run.step)) {
      const char32_t lower = upper + static_cast<char32_t>(run.toLower);
      if (upper < kDirectEnd) tables.lower[upper] = static_cast<char16_t>(lower);
      if (lower < kDirectEnd) tables.upper[lower] = static_cast<char16_t>(upper);
    }
  }
  return tables;
}

constexpr DirectTables kDirect = MakeDirectTables();

char32_t UpperOf(char32_t code) {
  if (code < kDirectEnd) return kDirect.upper[code];
  // The runs are ordered by their upper case letters, not by the lower ones: all are looked at, which few texts ever
  // need.
  for (const CaseRun& run : kCaseRuns) {
    const char32_t upper = code - static_cast<char32_t>(run.toLower);
    if (upper >= run.firstUpper && upper <= run.lastUpper && (upper - run.firstUpper) % static_cast<char32_t>(run.step) == 0) {
      return upper;
    }
  }
  return code;
}

char32_t LowerOf(char32_t code) {
  if (code < kDirectEnd) return kDirect.lower[code];
  const auto* run = std::lower_bound(std::begin(kCaseRuns), std::end(kCaseRuns), code,
                                     [](const CaseRun& item, char32_t value) { return item.lastUpper < value; });
  if (run == std::end(kCaseRuns) || code < run->firstUpper) return code;
  if ((code - run->firstUpper) % static_cast<char32_t>(run->step) != 0) return code;
  return code + static_cast<char32_t>(run->toLower);
}

/// Number of ASCII bytes at the front of text.
std::size_t AsciiRun(std::string_view text) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  std::size_t position = 0;
  while (position + sizeof(std::uint64_t) <= text.size()) {
    std::uint64_t word = 0;
    std::memcpy(&word, text.data() + position, sizeof word);
    if ((word & kHighBits) != 0) break;
    position += sizeof word;
  }
  while (position < text.size() && static_cast<unsigned char>(text[position]) < 0x80) ++position;
  return position;
}

void AppendAsciiUpper(std::string& out, std::string_view text) {
  const std::size_t start = out.size();
  out.append(text);
  char* const bytes = out.data() + start;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    const bool small = static_cast<unsigned char>(byte - 'a') < 26;
    bytes[i] = static_cast<char>(byte - (small ? 32 : 0));
  }
}

constexpr char16_t kAnsiHigh[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
                                    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
                                    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

bool IsContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

/// Length and value of the valid sequence at the front of text; length 0 when there is none.
struct Decoded {
  char32_t code = 0;
  std::size_t length = 0;
};

Decoded Decode(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  if (lead < 0x80) return {lead, 1};
  std::size_t length = 0;
  char32_t code = 0;
  char32_t least = 0;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2, code = lead & 0x1FU, least = 0x80;
  } else if ((lead & 0xF0U) == 0xE0) {
    length = 3, code = lead & 0x0FU, least = 0x800;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4, code = lead & 0x07U, least = 0x10000;
  }
  if (length == 0 || text.size() < length) return {};
  for (std::size_t i = 1; i < length; ++i) {
    if (!IsContinuation(text[i])) return {};
    code = code << 6U | (static_cast<unsigned char>(text[i]) & 0x3FU);
  }
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < least || code > kLastCharacter || surrogate) return {};
  return {code, length};
}

bool IsStrayByte(char32_t code) { return code >= kStrayByte + 0x80 && code <= kStrayByte + 0xFF; }

}  // namespace

char32_t NextCharacter(std::string_view& text) noexcept {
  const Decoded decoded = Decode(text);
  if (decoded.length == 0) {
    const auto byte = static_cast<unsigned char>(text.front());
    text.remove_prefix(1);
    return kStrayByte + byte;
  }
  text.remove_prefix(decoded.length);
  return decoded.code;
}

void AppendCharacter(std::string& out, char32_t character) {
  if (IsStrayByte(character)) {
    out.push_back(static_cast<char>(character - kStrayByte));
    return;
  }
  if (character > kLastCharacter || (character >= 0xD800 && character <= 0xDFFF)) character = kReplacement;
  const auto tail = [&](unsigned shift) { out.push_back(static_cast<char>(0x80U | (character >> shift & 0x3FU))); };
  if (character < 0x80) {
    out.push_back(static_cast<char>(character));
  } else if (character < 0x800) {
    out.push_back(static_cast<char>(0xC0U | character >> 6U));
    tail(0);
  } else if (character < 0x10000) {
    out.push_back(static_cast<char>(0xE0U | character >> 12U));
    tail(6);
    tail(0);
  } else {
    out.push_back(static_cast<char>(0xF0U | character >> 18U));
    tail(12);
    tail(6);
    tail(0);
  }
}

void AppendUpperCase(std::string& out, std::string_view text) {
  while (!text.empty()) {
    const std::size_t ascii = AsciiRun(text);
    if (ascii != 0) {
      AppendAsciiUpper(out, text.substr(0, ascii));
      text.remove_prefix(ascii);
    }
    while (!text.empty() && static_cast<unsigned char>(text.front()) >= 0x80) {
      AppendCharacter(out, UpperOf(NextCharacter(text)));
    }
  }
}

std::string UpperCase(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  AppendUpperCase(out, text);
  return out;
}

std::string LowerCase(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) AppendCharacter(out, LowerOf(NextCharacter(text)));
  return out;
}

std::string_view TrimRight(std::string_view text) noexcept {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

std::string_view Trim(std::string_view text) noexcept {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  return TrimRight(text);
}

std::size_t Length(std::string_view text) noexcept {
  std::size_t count = 0;
  while (!text.empty()) {
    const std::size_t ascii = AsciiRun(text);
    count += ascii;
    text.remove_prefix(ascii);
    if (text.empty()) break;
    static_cast<void>(NextCharacter(text));
    ++count;
  }
  return count;
}

std::string_view Left(std::string_view text, std::size_t count) noexcept {
  std::string_view rest = text;
  for (; count != 0 && !rest.empty(); --count) static_cast<void>(NextCharacter(rest));
  return text.substr(0, text.size() - rest.size());
}

std::u16string ToUtf16(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  while (!text.empty()) {
    char32_t code = NextCharacter(text);
    if (IsStrayByte(code)) code = kReplacement;
    if (code < 0x10000) {
      out.push_back(static_cast<char16_t>(code));
    } else {
      code -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (code >> 10U)));
      out.push_back(static_cast<char16_t>(0xDC00 + (code & 0x3FFU)));
    }
  }
  return out;
}

std::string FromUtf16(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t code = text[i];
    if (code >= 0xD800 && code <= 0xDFFF) {
      const bool paired = code < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF;
      code = paired ? 0x10000 + ((code - 0xD800) << 10U) + (text[i + 1] - 0xDC00U) : kReplacement;
      if (paired) ++i;
    }
    AppendCharacter(out, code);
  }
  return out;
}

std::uint8_t AnsiCode(char32_t character) noexcept {
  if (character < 0x80 || (character >= 0xA0 && character <= 0xFF)) return static_cast<std::uint8_t>(character);
  const auto* found = std::find(std::begin(kAnsiHigh), std::end(kAnsiHigh), character);
  return found == std::end(kAnsiHigh) ? std::uint8_t{'?'} : static_cast<std::uint8_t>(0x80 + (found - kAnsiHigh));
}

char32_t AnsiCharacter(std::uint8_t code) noexcept {
  return code >= 0x80 && code <= 0x9F ? char32_t{kAnsiHigh[code - 0x80]} : char32_t{code};
}

std::string ToAnsi(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) out.push_back(static_cast<char>(AnsiCode(NextCharacter(text))));
  return out;
}

std::string FromAnsi(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (const char byte : bytes) AppendCharacter(out, AnsiCharacter(static_cast<std::uint8_t>(byte)));
  return out;
}

}  // namespace tamlo::runtime

#include "base/Case.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "base/Utf8.h"

namespace base {

namespace {

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

/// The runs in the order of their small letters.
constexpr auto MakeLowerRuns() {
  std::array<CaseRun, std::size(kCaseRuns)> runs{};
  std::copy(std::begin(kCaseRuns), std::end(kCaseRuns), runs.begin());
  std::sort(runs.begin(), runs.end(), [](const CaseRun& a, const CaseRun& b) {
    return a.firstUpper + static_cast<char32_t>(a.toLower) < b.firstUpper + static_cast<char32_t>(b.toLower);
  });
  return runs;
}

constexpr auto kLowerRuns = MakeLowerRuns();

constexpr bool StandApart() {
  for (std::size_t i = 1; i < kLowerRuns.size(); ++i) {
    const CaseRun& before = kLowerRuns[i - 1];
    const CaseRun& run = kLowerRuns[i];
    if (before.lastUpper + static_cast<char32_t>(before.toLower) >= run.firstUpper + static_cast<char32_t>(run.toLower)) return false;
  }
  return true;
}
static_assert(StandApart(), "a small letter is looked for in one run");

bool IsCapitalOf(const CaseRun& run, char32_t letter) {
  return letter >= run.firstUpper && letter <= run.lastUpper && (letter - run.firstUpper) % static_cast<char32_t>(run.step) == 0;
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

/// A character of a name: halves of pairs are letters of their own there.
char32_t TakeOfName(std::string_view& name) noexcept {
  const char32_t code = TakeCharacter(name, Halves::kKept);
  return IsStrayByte(code) ? kReplacement : code;
}

template <char32_t (*change)(char32_t) noexcept>
std::string NameIn(std::string_view name) {
  std::string out;
  out.reserve(name.size());
  while (!name.empty()) AppendCharacter(out, change(TakeOfName(name)));
  return out;
}

}  // namespace

char32_t UpperOf(char32_t letter) noexcept {
  if (letter < kDirectEnd) return kDirect.upper[letter];
  const auto* run = std::lower_bound(kLowerRuns.begin(), kLowerRuns.end(), letter, [](const CaseRun& item, char32_t value) {
    return item.lastUpper + static_cast<char32_t>(item.toLower) < value;
  });
  if (run == kLowerRuns.end()) return letter;
  const char32_t upper = letter - static_cast<char32_t>(run->toLower);
  return IsCapitalOf(*run, upper) ? upper : letter;
}

char32_t LowerOf(char32_t letter) noexcept {
  if (letter < kDirectEnd) return kDirect.lower[letter];
  const auto* run = std::lower_bound(std::begin(kCaseRuns), std::end(kCaseRuns), letter,
                                     [](const CaseRun& item, char32_t value) { return item.lastUpper < value; });
  if (run == std::end(kCaseRuns) || !IsCapitalOf(*run, letter)) return letter;
  return letter + static_cast<char32_t>(run->toLower);
}

void AppendUpperCase(std::string& out, std::string_view text) {
  while (!text.empty()) {
    const std::size_t ascii = AsciiRun(text);
    if (ascii != 0) {
      AppendAsciiUpper(out, text.substr(0, ascii));
      text.remove_prefix(ascii);
    }
    while (!text.empty() && static_cast<unsigned char>(text.front()) >= 0x80) {
      AppendCharacter(out, UpperOf(TakeCharacter(text)));
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
  while (!text.empty()) AppendCharacter(out, LowerOf(TakeCharacter(text)));
  return out;
}

bool SameName(std::string_view left, std::string_view right) noexcept {
  while (!left.empty() && !right.empty()) {
    if (UpperOf(TakeOfName(left)) != UpperOf(TakeOfName(right))) return false;
  }
  return left.empty() && right.empty();
}

std::string UpperName(std::string_view name) { return NameIn<UpperOf>(name); }
std::string LowerName(std::string_view name) { return NameIn<LowerOf>(name); }

}  // namespace base

#include "jet/sql/functions/LikePattern.h"

#include <optional>

#include "jet/value/TextOrder.h"
#include "jet/sql/Names.h"

namespace jet::sql {

namespace {

bool SameLetter(char32_t a, char32_t b) { return a == b || UpperLetter(a) == UpperLetter(b); }

bool IsPlain(char32_t letter) {
  return (letter >= U'A' && letter <= U'Z') || (letter >= U'a' && letter <= U'z') || (letter >= U'0' && letter <= U'9');
}

// By the order of texts: an accented letter lies between the plain one and the next.
bool InRange(char32_t letter, char32_t first, char32_t last) {
  if (IsPlain(letter) && IsPlain(first) && IsPlain(last)) {
    const char32_t upper = UpperLetter(letter);
    return upper >= UpperLetter(first) && upper <= UpperLetter(last);
  }
  const auto text = [](char32_t one) { return FromLetters(std::u32string_view(&one, 1)); };
  return CompareText(text(letter), text(first)) >= 0 && CompareText(text(letter), text(last)) <= 0;
}

// Where the set that begins at pattern[at] = '[' ends, and whether the letter is in it; nothing when the bracket is never closed.
std::optional<bool> MatchSet(std::u32string_view pattern, std::size_t& at, char32_t letter) {
  std::size_t i = at + 1;
  const bool negated = i < pattern.size() && pattern[i] == '!';
  if (negated) ++i;
  bool in = false;
  for (bool first = true; i < pattern.size() && (first || pattern[i] != ']'); first = false) {
    if (first && pattern[i] == ']') break;
    if (i + 2 < pattern.size() && pattern[i + 1] == '-' && pattern[i + 2] != ']') {
      in = in || InRange(letter, pattern[i], pattern[i + 2]);
      i += 3;
    } else {
      in = in || SameLetter(letter, pattern[i]);
      ++i;
    }
  }
  if (i >= pattern.size()) return std::nullopt;
  at = i + 1;
  return in != negated;
}

}  // namespace

bool Like(std::string_view textBytes, std::string_view patternBytes, bool percentForm) {
  const std::u32string text = Letters(textBytes);
  const std::u32string pattern = Letters(patternBytes);
  const char32_t any = percentForm ? U'%' : U'*';
  const char32_t one = percentForm ? U'_' : U'?';
  // On a mismatch go back to the last "any" and let it take one more letter: never more than text times pattern steps.
  std::size_t t = 0;
  std::size_t p = 0;
  std::size_t starPattern = std::u32string::npos;
  std::size_t starText = 0;
  const auto skipEmptySets = [&] {  // [] stands for the empty text
    while (p + 1 < pattern.size() && pattern[p] == U'[' && pattern[p + 1] == U']') p += 2;
  };
  while (t < text.size()) {
    skipEmptySets();
    bool matched = false;
    std::size_t next = p + 1;
    if (p < pattern.size()) {
      if (pattern[p] == any) {
        starPattern = ++p;
        starText = t;
        continue;
      }
      if (pattern[p] == one) {
        matched = true;
      } else if (pattern[p] == U'#' && !percentForm) {
        matched = text[t] >= U'0' && text[t] <= U'9';
      } else if (pattern[p] == U'[') {
        std::size_t end = p;
        const std::optional<bool> in = MatchSet(pattern, end, text[t]);
        if (in) {
          matched = *in;
          next = end;
        } else {
          matched = text[t] == U'[';
        }
      } else {
        matched = SameLetter(text[t], pattern[p]);
      }
    }
    if (matched) {
      ++t;
      p = next;
    } else if (starPattern != std::u32string::npos) {
      p = starPattern;
      t = ++starText;
    } else {
      return false;
    }
  }
  for (skipEmptySets(); p < pattern.size() && pattern[p] == any; skipEmptySets()) ++p;
  return p == pattern.size();
}

}  // namespace jet::sql

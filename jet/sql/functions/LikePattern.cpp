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

/// A text beside a pattern. On a mismatch it goes back to the last "any" and lets that take one more letter: never more than text times
/// pattern steps.
class Matcher {
 public:
  Matcher(std::u32string_view text, std::u32string_view pattern, bool percentForm)
      : text_(text), pattern_(pattern), any_(percentForm ? U'%' : U'*'), one_(percentForm ? U'_' : U'?'), hasDigits_(!percentForm) {}

  bool Run() {
    while (textAt_ < text_.size()) {
      SkipEmptySets();
      if (TakeAny()) continue;
      std::size_t next = at_ + 1;
      if (at_ < pattern_.size() && Matches(next)) {
        ++textAt_;
        at_ = next;
      } else if (!GoBack()) {
        return false;
      }
    }
    for (SkipEmptySets(); at_ < pattern_.size() && pattern_[at_] == any_; SkipEmptySets()) ++at_;
    return at_ == pattern_.size();
  }

 private:
  void SkipEmptySets() {  // [] stands for the empty text
    while (at_ + 1 < pattern_.size() && pattern_[at_] == U'[' && pattern_[at_ + 1] == U']') at_ += 2;
  }

  bool TakeAny() {
    if (at_ == pattern_.size() || pattern_[at_] != any_) return false;
    starPattern_ = ++at_;
    starText_ = textAt_;
    return true;
  }

  bool GoBack() {
    if (starPattern_ == std::u32string_view::npos) return false;
    at_ = starPattern_;
    textAt_ = ++starText_;
    return true;
  }

  // next: the place behind what has matched, where that is more than one letter of the pattern.
  bool Matches(std::size_t& next) const {
    const char32_t letter = text_[textAt_];
    if (pattern_[at_] == one_) return true;
    if (pattern_[at_] == U'#' && hasDigits_) return letter >= U'0' && letter <= U'9';
    if (pattern_[at_] != U'[') return SameLetter(letter, pattern_[at_]);
    std::size_t end = at_;
    const std::optional<bool> in = MatchSet(pattern_, end, letter);
    if (!in) return letter == U'[';
    next = end;
    return *in;
  }

  std::u32string_view text_;
  std::u32string_view pattern_;
  char32_t any_;
  char32_t one_;
  bool hasDigits_;
  std::size_t textAt_ = 0;
  std::size_t at_ = 0;
  std::size_t starPattern_ = std::u32string_view::npos;
  std::size_t starText_ = 0;
};

}  // namespace

bool Like(std::string_view text, std::string_view pattern, bool percentForm) {
  return Matcher(Letters(text), Letters(pattern), percentForm).Run();
}

}  // namespace jet::sql

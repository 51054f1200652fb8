#include "base/DateText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "base/Calendar.h"
#include "base/Case.h"

namespace base {

namespace {

constexpr std::array<std::string_view, 24> kMonthNames = {
    "january", "february", "march", "april", "may", "june", "july",    "august", "september", "october", "november", "december",
    "janvier", "fevrier",  "mars",  "avril", "mai", "juin", "juillet", "aout",   "septembre", "octobre", "novembre", "decembre"};

/// A number or a word, and what stands between it and the one before.
struct Token {
  int number = 0;
  int digits = 0;      // 0: a word
  std::string word;    // folded
  char before = 0;     // one of "/-.:,T", else ' ' for blanks, 0 for nothing
  bool apart = false;  // blanks stand before it
};
using Tokens = std::span<const Token>;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || static_cast<unsigned char>(c) >= 0x80; }

/// The blank that a text begins with: its length in bytes, 0 for none. French typography has two that do not break.
std::size_t BlankLength(std::string_view text) {
  if (text.empty()) return 0;
  if (text[0] == ' ' || text[0] == '\t') return 1;
  if (text.starts_with("\xC2\xA0")) return 2;
  return text.starts_with("\xE2\x80\xAF") ? 3 : 0;
}

/// Small letters without their accents.
std::string Folded(std::string_view text) {
  // The letters of U+00C0 to U+00FF without their accents; '*' is none.
  static constexpr std::string_view kPlain = "aaaaaaaceeeeiiiidnooooo*ouuuuytsaaaaaaaceeeeiiiidnooooo*ouuuuyty";
  std::string folded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const auto next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0U;
    if (byte == 0xC3 && next >= 0x80 && next <= 0xBF) {
      folded += kPlain[next - 0x80];
      ++i;
    } else if (byte == 0xCC && next >= 0x80) {
      ++i;  // an accent that stands behind its letter
    } else {
      folded += AsciiLower(text[i]);
    }
  }
  return folded;
}

/// Cuts a text into numbers and words; false when anything else stands in it.
class Cutter {
 public:
  explicit Cutter(std::string_view text) : rest_(text) {}

  bool Cut(std::vector<Token>& tokens) {
    SkipBlanks();
    char before = 0;
    while (!rest_.empty()) {
      Token token;
      token.before = before;
      token.apart = apart_;
      if (IsDigit(rest_[0]) ? !TakeNumber(token) : !TakeWord(token)) return false;
      tokens.push_back(std::move(token));
      if (!TakeSeparator(tokens.back(), before)) return false;
    }
    return !tokens.empty();
  }

 private:
  bool SkipBlanks() {
    const std::size_t size = rest_.size();
    while (const std::size_t length = BlankLength(rest_)) rest_.remove_prefix(length);
    apart_ = rest_.size() != size;
    return apart_;
  }
  bool TakeNumber(Token& token) {
    for (; !rest_.empty() && IsDigit(rest_[0]); rest_.remove_prefix(1)) {
      if (++token.digits > 4) return false;
      token.number = token.number * 10 + (rest_[0] - '0');
    }
    return true;
  }
  bool TakeWord(Token& token) {
    std::size_t length = 0;
    while (length < rest_.size() && IsLetter(rest_[length]) && BlankLength(rest_.substr(length)) == 0) ++length;
    token.word = Folded(rest_.substr(0, length));
    rest_.remove_prefix(length);
    return length != 0;
  }
  /// What follows a token. A point or a comma may have blanks behind it; a point ends an abbreviation, and dates written "1. 2. 2003.".
  bool TakeSeparator(const Token& token, char& separator) {
    separator = 0;
    apart_ = false;
    if (rest_.empty()) return true;
    if (std::string_view("/-.:,").find(rest_[0]) != std::string_view::npos) {
      separator = rest_[0];
      rest_.remove_prefix(1);
      const bool blanks = SkipBlanks();
      if (rest_.empty()) return separator == '.' && (token.digits == 0 || token.before == '.');
      return separator == '.' || separator == ',' || !blanks;
    }
    const bool between = (rest_[0] == 'T' || rest_[0] == 't') && token.digits != 0 && rest_.size() > 1 && IsDigit(rest_[1]);
    if (between) {
      separator = 'T';
      rest_.remove_prefix(1);
    } else if (SkipBlanks()) {
      separator = ' ';
    }
    return true;
  }

  std::string_view rest_;
  bool apart_ = false;  // the last thing taken were blanks
};

/// AM and PM as 'a' and 'p'; 0 for any other word.
char HalfOfDay(const Token& token) {
  return token.word == "am" || token.word == "a" ? 'a' : token.word == "pm" || token.word == "p" ? 'p' : '\0';
}

/// Where the time of day stands among the tokens: from the first number that a colon follows, or before AM and PM. Empty: none.
Tokens TimeIn(Tokens tokens) {
  for (std::size_t i = 0; i + 1 < tokens.size(); ++i) {
    if (tokens[i].digits == 0) continue;
    std::size_t end = i + 1;
    while (end < tokens.size() && tokens[end].before == ':') ++end;
    const bool half = end < tokens.size() && HalfOfDay(tokens[end]) != 0 && (tokens[end].before == ' ' || tokens[end].before == 0);
    if (end > i + 1 || half) return tokens.subspan(i, end - i + (half ? 1 : 0));
  }
  return {};
}

/// A time of day as a fraction of it.
std::optional<double> ReadTime(Tokens tokens) {
  const char half = HalfOfDay(tokens.back());
  if (half != 0) tokens = tokens.first(tokens.size() - 1);
  std::array<int, 3> parts{};
  if (tokens.size() > parts.size()) return std::nullopt;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    if (tokens[i].digits < 1 || tokens[i].digits > 2) return std::nullopt;
    parts[i] = tokens[i].number;
  }
  auto [hour, minute, second] = parts;
  if (half != 0) {
    // "00:30 AM" is written, "00:30 PM" says nothing.
    if (hour > 12 || (hour == 0 && half == 'p')) return std::nullopt;
    hour = hour % 12 + (half == 'p' ? 12 : 0);
  }
  if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
  return (hour * 3600 + minute * 60 + second) / static_cast<double>(kSecondsADay);
}

int FullYear(const Token& year) {
  if (year.digits > 2) return year.number;
  return year.number < 30 ? 2000 + year.number : 1900 + year.number;
}

std::int64_t ThisYear() { return CivilOf(static_cast<std::int64_t>(LocalNow())).year; }

std::optional<std::int64_t> CheckedDay(std::int64_t year, int month, int day) {
  if (!IsCivilDay(year, month, day)) return std::nullopt;
  return DayNumber(year, month, day);
}

/// Day and month in the wanted order, or in the other one where that makes no date.
std::optional<std::int64_t> DayAndMonth(std::int64_t year, int first, int second, bool monthFirst) {
  const auto wanted = monthFirst ? CheckedDay(year, first, second) : CheckedDay(year, second, first);
  return wanted ? wanted : monthFirst ? CheckedDay(year, second, first) : CheckedDay(year, first, second);
}

constexpr int kLongestMonth = 31;  // a number above can only be a year

std::optional<std::int64_t> ReadThreeNumbers(Tokens tokens, DateOrder order) {
  const Token& first = tokens[0];
  const Token& second = tokens[1];
  const Token& third = tokens[2];
  if (second.digits > 2) return std::nullopt;
  if (first.digits > 2) return third.digits > 2 ? std::nullopt : CheckedDay(first.number, second.number, third.number);
  const bool yearFirst = third.digits <= 2 && (order == DateOrder::kYearFirst || first.number > kLongestMonth);
  if (yearFirst) {
    if (const auto day = CheckedDay(FullYear(first), second.number, third.number)) return day;
  }
  return DayAndMonth(FullYear(third), first.number, second.number, order != DateOrder::kDayFirst);
}

std::optional<std::int64_t> ReadTwoNumbers(Tokens tokens, DateOrder order) {
  const Token& first = tokens[0];
  const Token& second = tokens[1];
  if (first.digits > 2 && second.digits > 2) return std::nullopt;
  if (first.digits > 2) return CheckedDay(first.number, second.number, 1);
  if (second.digits > 2) return CheckedDay(second.number, first.number, 1);
  return DayAndMonth(ThisYear(), first.number, second.number, order != DateOrder::kDayFirst);
}

std::optional<std::int64_t> ReadNumbers(Tokens tokens, DateOrder order) {
  const char separator = tokens.size() > 1 ? tokens[1].before : '\0';
  if (tokens.size() == 3 && tokens[2].before == separator && std::string_view("/-. ").find(separator) != std::string_view::npos) {
    return ReadThreeNumbers(tokens, order);
  }
  // "1.5" and "10 30" are more often something else than a day of this year.
  if (tokens.size() == 2 && (separator == '/' || separator == '-')) return ReadTwoNumbers(tokens, order);
  return std::nullopt;
}

/// The month of a name or of its beginning; 0 when there is none or more than one.
int MonthOf(const std::string& word, std::span<const std::string> monthNames) {
  constexpr std::size_t kShortest = 3;
  int month = 0;
  bool several = false;
  const auto consider = [&](std::string_view name, std::size_t place) {
    const bool whole = name == word;
    if (!whole && (word.size() < kShortest || !name.starts_with(word))) return;
    const int its = static_cast<int>(place % 12) + 1;
    several = several || (month != 0 && month != its);
    month = its;
  };
  for (std::size_t i = 0; i < kMonthNames.size(); ++i) consider(kMonthNames[i], i);
  for (std::size_t i = 0; i < monthNames.size(); ++i) {
    std::string name = Folded(monthNames[i]);
    while (!name.empty() && name.back() == '.') name.pop_back();
    if (!name.empty()) consider(name, i);
  }
  return several ? 0 : month;
}

/// A month's name, first or second, and the one or two numbers around it.
struct NamedMonth {
  std::array<const Token*, 2> numbers{};
  std::size_t count = 0;
  int month = 0;

  /// False when the token has no place here.
  bool Take(const Token& token, std::size_t place, std::span<const std::string> monthNames) {
    if (place > 0 && (token.before == ':' || token.before == 'T')) return false;
    if (token.digits != 0) {
      if (count == numbers.size()) return false;
      numbers[count++] = &token;
      return true;
    }
    if (month != 0 || place > 1) return false;
    month = MonthOf(token.word, monthNames);
    return month != 0;
  }
};

std::optional<std::int64_t> ReadNamedMonth(Tokens tokens, std::span<const std::string> monthNames) {
  NamedMonth named;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    if (!named.Take(tokens[i], i, monthNames)) return std::nullopt;
  }
  if (named.month == 0 || named.count == 0) return std::nullopt;
  const Token& first = *named.numbers[0];
  const bool yearFirst = first.digits > 2 || first.number > kLongestMonth;
  if (named.count == 1) return yearFirst ? CheckedDay(FullYear(first), named.month, 1) : CheckedDay(ThisYear(), named.month, first.number);
  const Token& second = *named.numbers[1];
  if (!yearFirst) return CheckedDay(FullYear(second), named.month, first.number);
  return second.digits > 2 ? std::nullopt : CheckedDay(FullYear(first), named.month, second.number);
}

std::optional<std::int64_t> ReadDay(Tokens tokens, DateOrder order, std::span<const std::string> monthNames) {
  if (tokens.size() > 3) return std::nullopt;
  const bool numbers = std::all_of(tokens.begin(), tokens.end(), [](const Token& token) { return token.digits != 0; });
  return numbers ? ReadNumbers(tokens, order) : ReadNamedMonth(tokens, monthNames);
}

}  // namespace

std::optional<double> ReadDateText(std::string_view text, DateOrder order, std::span<const std::string> monthNames) {
  std::vector<Token> cut;
  if (!Cutter(text).Cut(cut)) return std::nullopt;
  Tokens day = cut;
  double time = 0;
  if (const Tokens timeTokens = TimeIn(day); !timeTokens.empty()) {
    const auto read = ReadTime(timeTokens);
    if (!read) return std::nullopt;
    time = *read;
    const auto from = static_cast<std::size_t>(timeTokens.data() - cut.data());
    const std::size_t end = from + timeTokens.size();
    if (from > 0 && end < cut.size()) return std::nullopt;
    if (from == 0 && end == cut.size()) return time;
    const Token& behind = cut[from > 0 ? from : end];
    if (!behind.apart && (behind.before != 'T' || from == 0)) return std::nullopt;
    day = from > 0 ? day.first(from) : day.subspan(end);
  }
  const auto read = ReadDay(day, order, monthNames);
  if (!read) return std::nullopt;
  return JoinDayAndTime(static_cast<double>(*read), time);
}

}  // namespace base

#include "schema/SqlDefault.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "base/Case.h"
#include "base/Numbers.h"
#include "schema/SqlText.h"

namespace tamlo::schema {
namespace {

struct Word {
  std::string_view text;  ///< as Condensed has it, without a number at its end
  Default::Kind kind;
};

/// What the three engines make of the defaults that WriteDdl knows, and their other words for the same.
constexpr std::array<Word, 21> kWords{{{"current_timestamp", Default::Kind::kNow},
                                       {"localtimestamp", Default::Kind::kNow},
                                       {"now", Default::Kind::kNow},
                                       {"datetime'now','localtime'", Default::Kind::kNow},
                                       {"datetime'now'", Default::Kind::kNow},
                                       {"statement_timestamp", Default::Kind::kNow},
                                       {"clock_timestamp", Default::Kind::kNow},
                                       {"curdate", Default::Kind::kToday},
                                       {"current_date", Default::Kind::kToday},
                                       {"date'now','localtime'", Default::Kind::kToday},
                                       {"date'now'", Default::Kind::kToday},
                                       {"timestamp'1899-12-30',curtime", Default::Kind::kTimeOfDay},
                                       {"'1899-12-30'+localtime", Default::Kind::kTimeOfDay},
                                       {"'1899-12-30 '||time'now','localtime'", Default::Kind::kTimeOfDay},
                                       {"uuid", Default::Kind::kNewGuid},
                                       {"gen_random_uuid", Default::Kind::kNewGuid},
                                       {"uuid_generate_v4", Default::Kind::kNewGuid},
                                       {"true", Default::Kind::kTruth},
                                       {"false", Default::Kind::kTruth},
                                       {"b'1'", Default::Kind::kTruth},
                                       {"b'0'", Default::Kind::kTruth}}};

/// SQLite has no word for a new GUID.
bool IsNewGuidOfSqlite(const std::string& condensed) {
  return condensed.starts_with("lowerhexrandomblob4||'-'||hexrandomblob2||") && condensed.ends_with("hexrandomblob6");
}

/// A text between quotes, a cast behind it left aside.
std::optional<std::string> TextIn(std::string_view expression) {
  const auto tokens = Tokens(expression);
  if (tokens.empty()) return std::nullopt;
  const bool isText = tokens[0].kind == Token::Kind::kText || (tokens[0].kind == Token::Kind::kName && expression.front() == '"');
  if (!isText) return std::nullopt;
  // Nothing but a cast may stand behind it.
  if (Condensed(expression) != expression.substr(0, tokens[0].end)) return std::nullopt;
  return tokens[0].text;
}

/// Without a time of midnight and without zeros behind the seconds.
std::string PlainMoment(std::string text) {
  if (const auto point = text.find('.'); point != std::string::npos && text.find_first_not_of('0', point + 1) == std::string::npos)
    text.resize(point);
  if (text.ends_with(" 00:00:00")) text.resize(10);
  return text;
}

bool LooksLikeMoment(const std::string& text) {
  constexpr std::string_view kForm = "dddd-dd-dd";
  if (text.size() < kForm.size() || (text.size() > 10 && text[10] != ' ')) return false;
  return std::equal(kForm.begin(), kForm.end(), text.begin(),
                    [](char form, char sign) { return form == 'd' ? sign >= '0' && sign <= '9' : form == sign; });
}

std::string PlainNumber(std::string text) {
  if (text.find('.') != std::string::npos && text.find_first_of("eE") == std::string::npos) {
    text.resize(text.find_last_not_of('0') + 1);
    if (text.ends_with('.')) text.pop_back();
  }
  return text;
}

bool IsText(Kind kind) { return kind == Kind::kText || kind == Kind::kMemo; }

Default NumberOrTruth(const std::string& number, Kind kind) {
  if (kind == Kind::kBoolean) return {Default::Kind::kTruth, number.find_first_of("123456789") == std::string::npos ? "0" : "1"};
  return {Default::Kind::kNumber, PlainNumber(number)};
}

Default FromText(const std::string& text, Kind kind) {
  if (IsText(kind) || kind == Kind::kGuid) return {Default::Kind::kText, text};
  if (kind == Kind::kMoment && LooksLikeMoment(text)) return {Default::Kind::kMoment, PlainMoment(text)};
  if (kind == Kind::kBoolean && text.size() == 1) return {Default::Kind::kTruth, text == "t" || text == "1" ? "1" : "0"};
  if (kind != Kind::kMoment && base::ReadReal(text)) return NumberOrTruth(text, kind);
  return {Default::Kind::kUnknown, "'" + text + "'"};
}

}  // namespace

bool IsRandomNumber(const std::string& expression) {
  const std::string condensed = Condensed(expression);
  return condensed.starts_with("castfloorrand*4294967296-2147483648assigned") || condensed == "random%2147483648" ||
         condensed == "floorrandom*'4294967296'-'2147483648'";
}

Default SqlDefault(const std::string& expression, Kind kind) {
  const std::string_view bare = WithoutParentheses(expression);
  if (auto text = TextIn(bare)) return FromText(*text, kind);
  std::string condensed = Condensed(bare);
  if (condensed.empty() || condensed == "null") return {};
  if (base::ReadReal(condensed.starts_with('+') ? condensed.substr(1) : condensed)) return NumberOrTruth(condensed, kind);
  if (IsNewGuidOfSqlite(condensed)) return {Default::Kind::kNewGuid, {}};
  const std::string whole = condensed;
  // The digits of a second that a word is asked for.
  while (!condensed.empty() && condensed.back() >= '0' && condensed.back() <= '9') condensed.pop_back();
  for (const Word& word : kWords) {
    if (word.text != condensed && word.text != whole) continue;
    if (word.kind != Default::Kind::kTruth) return {word.kind, {}};
    const bool yes = word.text == "true" || word.text == "b'1'";
    return NumberOrTruth(yes ? "1" : "0", kind);
  }
  return {Default::Kind::kUnknown, std::string(bare)};
}

}  // namespace tamlo::schema

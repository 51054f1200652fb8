#include "cli/StatementText.h"

#include <algorithm>
#include <initializer_list>
#include <utility>

#include "base/Case.h"

namespace tamlo::cli {
namespace {

bool IsWordSign(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

bool IsOneOf(std::string_view word, std::initializer_list<std::string_view> words) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

/// "$$" or "$tag$" at the place; nothing where none stands there.
std::string TagAt(std::string_view line, std::size_t at) {
  std::size_t end = at + 1;
  while (end < line.size() && IsWordSign(line[end])) ++end;
  const bool number = at + 1 < line.size() && line[at + 1] >= '0' && line[at + 1] <= '9';
  return end < line.size() && line[end] == '$' && !number ? std::string(line.substr(at, end + 1 - at)) : std::string();
}

}  // namespace

Lexis LexisOf(std::optional<schema::Engine> engine) {
  if (!engine) return {};
  switch (*engine) {
    case schema::Engine::kAccess:
      return {.comments = false, .brackets = true, .backticks = true};
    case schema::Engine::kMariaDb:
      return {.blankBehind = true, .hash = true, .backslash = true, .backticks = true};
    case schema::Engine::kPostgreSql:
      return {.nested = true, .dollars = true};
    case schema::Engine::kSqlite:
      return {.brackets = true, .backticks = true};
    case schema::Engine::kSqlServer:
      return {.nested = true, .brackets = true};
    case schema::Engine::kOracle:
      break;
  }
  return {};
}

std::vector<std::string> StatementText::Take(std::string_view line) {
  std::vector<std::string> whole;
  const std::string ended = std::string(line) + '\n';
  for (std::size_t at = 0; at < ended.size();) {
    if (mode_ == Mode::kPlain && ended[at] == ';') {
      EndWord();
      behindEnd_ = false;
      if (blocks_ == 0) {
        ++at;
        const bool any = words_;
        std::string statement = Rest();
        if (any) whole.push_back(std::move(statement));
        continue;
      }
    }
    Feed(ended, at);
  }
  // Blanks and comments between statements belong to none.
  if (Empty()) text_.clear();
  return whole;
}

void StatementText::Feed(std::string_view line, std::size_t& at) {
  const char c = line[at];
  switch (mode_) {
    case Mode::kPlain:
      return FeedPlain(line, at);
    case Mode::kQuote:
      if (c == closing_) mode_ = Mode::kPlain;
      if (escapes_ && c == '\\' && at + 1 < line.size()) text_ += line[at++];
      break;
    case Mode::kLineComment:
      if (c == '\n') mode_ = Mode::kPlain;
      break;
    case Mode::kBlockComment: {
      const auto pair = line.substr(at, 2);
      const bool opens = lexis_.nested && pair == "/*";
      if (opens) ++depth_;
      if (pair == "*/" && --depth_ == 0) mode_ = Mode::kPlain;
      if (opens || pair == "*/") text_ += line[at++];
      break;
    }
    case Mode::kDollars:
      if (line.substr(at).starts_with(tag_)) {
        text_ += line.substr(at, tag_.size() - 1);
        at += tag_.size() - 1;
        mode_ = Mode::kPlain;
      }
      break;
  }
  text_ += line[at++];
}

void StatementText::FeedPlain(std::string_view line, std::size_t& at) {
  const char c = line[at];
  if (IsWordSign(c)) {
    word_ += c;
    words_ = true;
  } else {
    escapes_ = lexis_.backslash || (lexis_.dollars && (word_ == "e" || word_ == "E"));
    EndWord();
    if (BeginComment(line, at)) return;
    if (!IsBlank(c)) words_ = true;
    if (BeginQuote(line, at)) return;
  }
  text_ += line[at++];
}

bool StatementText::BeginComment(std::string_view line, std::size_t& at) {
  const auto pair = line.substr(at, 2);
  const bool block = lexis_.comments && pair == "/*";
  const bool dashes = lexis_.comments && pair == "--" && (!lexis_.blankBehind || (at + 2 < line.size() && IsBlank(line[at + 2])));
  if (!block && !dashes && !(lexis_.hash && line[at] == '#')) return false;
  mode_ = block ? Mode::kBlockComment : Mode::kLineComment;
  depth_ = 1;
  if (block) text_ += line[at++];
  text_ += line[at++];
  return true;
}

bool StatementText::BeginQuote(std::string_view line, std::size_t& at) {
  const char c = line[at];
  if (lexis_.dollars && c == '$') {
    tag_ = TagAt(line, at);
    if (tag_.empty()) return false;
    mode_ = Mode::kDollars;
    text_ += tag_;
    at += tag_.size();
    return true;
  }
  const bool bracket = c == '[' && lexis_.brackets;
  if (c != '\'' && c != '"' && !bracket && !(c == '`' && lexis_.backticks)) return false;
  mode_ = Mode::kQuote;
  closing_ = bracket ? ']' : c;
  if (c != '\'' && c != '"') escapes_ = false;
  text_ += c;
  ++at;
  return true;
}

void StatementText::EndWord() {
  if (word_.empty()) return;
  const std::string word = base::UpperCase(std::exchange(word_, {}));
  if (std::exchange(first_, false)) creates_ = word == "CREATE";
  if (creates_ && IsOneOf(word, {"TRIGGER", "PROCEDURE", "FUNCTION", "EVENT", "PACKAGE"})) holdsBlocks_ = true;
  if (IsOneOf(word, {"TABLE", "VIEW", "INDEX", "USER", "DATABASE", "SCHEMA", "TYPE"})) creates_ = false;
  if (!holdsBlocks_) return;
  const bool behindEnd = std::exchange(behindEnd_, word == "END");
  if (behindEnd) {
    // END IF and its like close what is not counted; END CASE closes once.
    if (IsOneOf(word, {"IF", "LOOP", "WHILE", "REPEAT", "FOR"})) ++blocks_;
    return;
  }
  if (word == "BEGIN" || word == "CASE") ++blocks_;
  if (word == "END" && blocks_ > 0) --blocks_;
}

char StatementText::Open() const noexcept {
  switch (mode_) {
    case Mode::kQuote:
      return closing_;
    case Mode::kDollars:
      return '$';
    case Mode::kBlockComment:
      return '*';
    default:
      return words_ ? '-' : '\0';
  }
}

std::string StatementText::Rest() {
  std::string rest = std::exchange(text_, {});
  const auto first = rest.find_first_not_of(" \t\r\n");
  rest.erase(0, first == std::string::npos ? rest.size() : first);
  rest.erase(rest.find_last_not_of(" \t\r\n") + 1);
  Clear();
  return rest;
}

void StatementText::Clear() { *this = StatementText(lexis_); }

}  // namespace tamlo::cli

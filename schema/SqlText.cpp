#include "schema/SqlText.h"

#include <algorithm>
#include <array>

#include "base/Case.h"
#include "base/Numbers.h"

namespace tamlo::schema {
namespace {

bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool IsOfWord(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == '$' ||
         static_cast<unsigned char>(c) >= 0x80;
}

/// Behind the closing quote of what begins at `at`; doubled ones are inside.
std::size_t EndOfQuoted(std::string_view sql, std::size_t at) {
  const char close = sql[at] == '[' ? ']' : sql[at];
  for (std::size_t i = at + 1; i < sql.size(); ++i) {
    if (sql[i] != close) continue;
    if (i + 1 < sql.size() && sql[i + 1] == close && close != ']') {
      ++i;
      continue;
    }
    return i + 1;
  }
  return sql.size();
}

std::string Inside(std::string_view quoted) {
  std::string inside;
  const char close = quoted.front() == '[' ? ']' : quoted.front();
  for (std::size_t i = 1; i + 1 < quoted.size(); ++i) {
    inside += quoted[i];
    if (quoted[i] == close && i + 2 < quoted.size() && quoted[i + 1] == close) ++i;
  }
  return inside;
}

/// Behind blanks and comments.
std::size_t SkipBlank(std::string_view sql, std::size_t at) {
  while (at < sql.size()) {
    if (IsBlank(sql[at])) {
      ++at;
    } else if (sql.substr(at, 2) == "--") {
      at = std::min(sql.find('\n', at), sql.size());
    } else if (sql.substr(at, 2) == "/*") {
      const auto end = sql.find("*/", at + 2);
      at = end == std::string_view::npos ? sql.size() : end + 2;
    } else {
      break;
    }
  }
  return at;
}

Token TokenAt(std::string_view sql, std::size_t at) {
  Token token;
  token.begin = at;
  const char first = sql[at];
  if (first == '\'' || first == '"' || first == '`' || first == '[') {
    token.kind = first == '\'' ? Token::Kind::kText : Token::Kind::kName;
    token.end = EndOfQuoted(sql, at);
    token.text = Inside(sql.substr(at, token.end - at));
    return token;
  }
  token.end = at + 1;
  if (IsOfWord(first)) {
    token.kind = first >= '0' && first <= '9' ? Token::Kind::kNumber : Token::Kind::kWord;
    const bool number = token.kind == Token::Kind::kNumber;
    while (token.end < sql.size() && (IsOfWord(sql[token.end]) || (number && sql[token.end] == '.'))) ++token.end;
  }
  token.text = std::string(sql.substr(at, token.end - at));
  return token;
}

/// Behind a cast of PostgreSQL ("::character varying"), which stands at `at`.
std::size_t EndOfCast(std::string_view text, std::size_t at) {
  at += 2;
  while (at < text.size() && ((text[at] >= 'a' && text[at] <= 'z') || text[at] == ' ' || text[at] == '_' || text[at] == '"')) ++at;
  if (at < text.size() && text[at] == '(') at = std::min(text.find(')', at), text.size() - 1) + 1;
  if (text.substr(at).starts_with(" with")) at = text.find("zone", at) == std::string_view::npos ? at : text.find("zone", at) + 4;
  while (text.substr(at, 2) == "[]") at += 2;
  return at;
}

}  // namespace

bool Token::Is(std::string_view word) const {
  if (kind != Kind::kWord && kind != Kind::kSign) return false;
  return base::UpperCase(text) == word;
}

std::vector<Token> Tokens(std::string_view sql) {
  std::vector<Token> tokens;
  int depth = 0;
  for (std::size_t at = SkipBlank(sql, 0); at < sql.size(); at = SkipBlank(sql, tokens.back().end)) {
    Token token = TokenAt(sql, at);
    const bool closes = token.kind == Token::Kind::kSign && token.text == ")";
    if (closes) --depth;
    token.depth = depth;
    if (token.kind == Token::Kind::kSign && token.text == "(") ++depth;
    tokens.push_back(std::move(token));
  }
  return tokens;
}

std::string Condensed(std::string_view expression) {
  std::string condensed;
  for (std::size_t at = 0; at < expression.size();) {
    const char sign = expression[at];
    if (sign == '\'' || sign == '"' || sign == '`') {
      const std::size_t end = EndOfQuoted(expression, at);
      condensed += expression.substr(at, end - at);
      at = end;
    } else if (expression.substr(at, 2) == "::") {
      at = EndOfCast(expression, at);
    } else {
      if (!IsBlank(sign) && sign != '(' && sign != ')') condensed += base::AsciiLower(sign);
      ++at;
    }
  }
  return condensed;
}

std::string_view WithoutParentheses(std::string_view expression) {
  while (true) {
    while (!expression.empty() && IsBlank(expression.front())) expression.remove_prefix(1);
    while (!expression.empty() && IsBlank(expression.back())) expression.remove_suffix(1);
    if (!expression.starts_with('(') || !expression.ends_with(')')) return expression;
    const auto tokens = Tokens(expression);
    const bool whole = std::none_of(tokens.begin() + 1, tokens.end() - 1, [](const Token& token) { return token.depth == 0; });
    if (!whole) return expression;
    expression = expression.substr(1, expression.size() - 2);
  }
}

std::optional<KnownCheck> CheckOf(std::string_view condition, std::string_view column, const Dialect& dialect) {
  const std::string text = Condensed(condition);
  // PostgreSQL leaves the quotes off where it can.
  for (const std::string& name : {Quoted(dialect, column), std::string(column), base::LowerCase(column)}) {
    const std::array<std::string, 5> notEmpty{name + "<>''", name + "!=''", "char_length" + name + ">0", "length" + name + ">0",
                                              "datalength" + name + ">0"};
    if (std::find(notEmpty.begin(), notEmpty.end(), text) != notEmpty.end()) return KnownCheck{KnownCheck::Kind::kNotEmpty, 0};
    if (text == name + "between0and255" || text == name + ">=0and" + name + "<=255") return KnownCheck{KnownCheck::Kind::kByteRange, 0};
    for (const std::string& head : {"octet_length" + name + "<=", "length" + name + "<="})
      if (text.starts_with(head))
        if (const auto limit = base::ReadWhole<int>(std::string_view(text).substr(head.size())))
          return KnownCheck{KnownCheck::Kind::kBytesLimit, *limit};
  }
  return std::nullopt;
}

}  // namespace tamlo::schema

// The tokens of a statement, one after the other, and what is wrong with them.
#include "jet/sql/parse/Parser.h"

#include <algorithm>

namespace jet::sql {

Error SyntaxErrorAt(const std::string& text, const syntax::Spot& spot, const std::string& message) {
  const bool isEnd = spot.offset == spot.end;
  const std::string found =
      isEnd ? ", the text ends here" : " near \"" + text.substr(spot.offset, std::min<std::size_t>(spot.end - spot.offset, 40)) + "\"";
  return SyntaxError(message + found, spot.position);
}

namespace syntax {

Parser::Parser(std::string_view text, int depth) : text_(text), tokens_(Tokenize(text_)), depth_(depth) {}

const Token& Parser::Peek(std::size_t ahead) const {
  const std::size_t at = position_ + ahead;
  return at < tokens_.size() ? tokens_[at] : tokens_.back();
}

const Token& Parser::Take() {
  const Token& token = Peek();
  if (position_ + 1 < tokens_.size()) ++position_;
  return token;
}

bool Parser::AtWord(std::string_view word, std::size_t ahead) const {
  const Token& token = Peek(ahead);
  return token.kind == TokenKind::kWord && token.upper == word;
}

bool Parser::AtSymbol(std::string_view symbol, std::size_t ahead) const {
  const Token& token = Peek(ahead);
  return token.kind == TokenKind::kSymbol && token.upper == symbol;
}

bool Parser::AtAnyWord(std::initializer_list<std::string_view> words, std::size_t ahead) const {
  return std::any_of(words.begin(), words.end(), [&](std::string_view word) { return AtWord(word, ahead); });
}

bool Parser::AtName(std::size_t ahead) const { return Peek(ahead).kind == TokenKind::kWord || Peek(ahead).kind == TokenKind::kBracketed; }

bool Parser::TakeWord(std::string_view word) {
  if (!AtWord(word)) return false;
  Take();
  return true;
}

bool Parser::TakeSymbol(std::string_view symbol) {
  if (!AtSymbol(symbol)) return false;
  Take();
  return true;
}

void Parser::ExpectWord(std::string_view word) {
  if (!TakeWord(word)) Fail(std::string(word) + " expected");
}

void Parser::ExpectSymbol(std::string_view symbol) {
  if (!TakeSymbol(symbol)) Fail("\"" + std::string(symbol) + "\" expected");
}

std::string Parser::TakeName(const char* what) {
  if (!AtName()) Fail(std::string(what) + " expected");
  return Take().text;
}

Name Parser::TakeNamed(const char* what) {
  const Spot spot = Here();
  Name name{TakeName(what), {}, false, spot};
  const Token& token = tokens_[position_ - 1];
  name.upper = token.upper;
  name.bracketed = token.kind == TokenKind::kBracketed;
  return name;
}

void Parser::ExpectEnd() {
  while (TakeSymbol(";")) {
  }
  if (Peek().kind != TokenKind::kEnd) Fail("end of the statement expected");
}

Spot Parser::Here() const { return {Peek().position, Peek().offset, Peek().end}; }

void Parser::Fail(const std::string& message) const { FailAt(Peek(), message); }

void Parser::FailAt(const Token& token, const std::string& message) const {
  throw SyntaxErrorAt(text_, {token.position, token.offset, token.end}, message);
}

void Parser::Deepen(int deepest, const char* message, std::size_t position) {
  if (++depth_ > deepest) throw UnsupportedError(message, position);
}

}  // namespace syntax

syntax::Statement Parse(std::string_view text) { return syntax::Parser(text, 0).Run(); }

syntax::Statement ParseQueryText(std::string_view text, int depth) { return syntax::Parser(text, depth).RunQuery(); }

}  // namespace jet::sql

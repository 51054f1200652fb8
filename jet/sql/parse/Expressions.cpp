// Expressions of the Access language: operators with their precedence, predicates, names, calls.
#include <array>
#include <cmath>
#include <set>

#include "base/DateText.h"
#include "base/Numbers.h"
#include "jet/sql/parse/Parser.h"

namespace jet::sql::syntax {

namespace {

constexpr int kDeepest = 200;  // nesting of parentheses and subqueries, far below what the stack bears
constexpr const char* kTooDeep = "expression nested too deeply";

// A word that cannot be a column where an operand is wanted.
bool IsReserved(const std::string& word) {
  static const std::set<std::string, std::less<>> kWords = {
      "SELECT", "FROM", "WHERE", "GROUP", "HAVING", "ORDER", "UNION",   "INNER", "JOIN", "ON",  "AND",    "OR", "NOT",
      "XOR",    "EQV",  "IMP",   "LIKE",  "IN",     "IS",    "BETWEEN", "AS",    "INTO", "SET", "VALUES", "MOD"};
  return kWords.contains(word);
}

bool IsAggregate(const std::string& function) {
  static const std::set<std::string, std::less<>> kNames = {"COUNT", "SUM",   "AVG",    "MIN", "MAX", "FIRST",
                                                            "LAST",  "STDEV", "STDEVP", "VAR", "VARP"};
  return kNames.contains(function);
}

std::string Unsuffixed(const std::string& upper) {
  return !upper.empty() && upper.back() == '$' ? upper.substr(0, upper.size() - 1) : upper;
}

std::optional<Operator> ComparisonOf(const std::string& symbol) {
  if (symbol == "=") return Operator::kEqual;
  if (symbol == "<") return Operator::kLess;
  if (symbol == ">") return Operator::kGreater;
  if (symbol == "<=") return Operator::kAtMost;
  if (symbol == ">=") return Operator::kAtLeast;
  if (symbol == "<>") return Operator::kDiffers;
  return std::nullopt;
}

}  // namespace

// The operators that stand between two operands, one rank after the other, the loosest first.
struct Parser::Rank {
  struct Entry {
    TokenKind kind;
    std::string_view word;
    Operator op;
  };
  std::array<std::optional<Entry>, 2> entries;
  Expression (Parser::*operand)();  ///< of the tightest one; else the next rank
};

Expression Parser::Whole() {
  static constexpr auto kWord = TokenKind::kWord;
  static const Rank kLogical[] = {
      {{Rank::Entry{kWord, "IMP", Operator::kImp}}, nullptr},          {{Rank::Entry{kWord, "EQV", Operator::kEqv}}, nullptr},
      {{Rank::Entry{kWord, "XOR", Operator::kXor}}, nullptr},          {{Rank::Entry{kWord, "OR", Operator::kOr}}, nullptr},
      {{Rank::Entry{kWord, "AND", Operator::kAnd}}, &Parser::Negated},
  };
  Deepen(kDeepest, kTooDeep, Peek().position);
  Expression expression = Ranked(kLogical);
  --depth_;
  return expression;
}

Condition Parser::Conditional() {
  const Spot at = Here();
  return {Whole(), at};
}

Expression Parser::Concatenation() {
  static constexpr auto kWord = TokenKind::kWord;
  static constexpr auto kSymbol = TokenKind::kSymbol;
  static const Rank kArithmetic[] = {
      {{Rank::Entry{kSymbol, "&", Operator::kConcatenate}}, nullptr},
      {{Rank::Entry{kSymbol, "+", Operator::kAdd}, Rank::Entry{kSymbol, "-", Operator::kSubtract}}, nullptr},
      {{Rank::Entry{kWord, "MOD", Operator::kModulo}}, nullptr},
      {{Rank::Entry{kSymbol, "\\", Operator::kDivideWhole}}, nullptr},
      {{Rank::Entry{kSymbol, "*", Operator::kMultiply}, Rank::Entry{kSymbol, "/", Operator::kDivide}}, &Parser::Unary},
  };
  return Ranked(kArithmetic);
}

Expression Parser::Ranked(const Rank* rank) {
  const auto operand = [&] { return rank->operand != nullptr ? (this->*rank->operand)() : Ranked(rank + 1); };
  const auto here = [&]() -> const Rank::Entry* {
    for (const std::optional<Rank::Entry>& entry : rank->entries) {
      if (entry && Peek().kind == entry->kind && Peek().upper == entry->word) return &*entry;
    }
    return nullptr;
  };
  Expression first = operand();
  std::vector<Link> links;
  while (const Rank::Entry* entry = here()) {
    Link link;
    link.op = entry->op;
    link.at = Here();
    Take();
    link.operands.push_back(operand());
    link.after = Peek().position;
    links.push_back(std::move(link));
  }
  return Chained(std::move(first), std::move(links));
}

ExpressionPointer Parser::Boxed(Expression expression) const { return std::make_unique<Expression>(std::move(expression)); }

Expression Parser::Chained(Expression first, std::vector<Link> links) const {
  if (links.empty()) return first;
  auto chain = std::make_unique<Chain>();
  chain->first = Boxed(std::move(first));
  chain->links = std::move(links);
  return Made(std::move(chain));
}

Expression Parser::Negated() {
  if (!AtWord("NOT")) return Comparison();
  const Spot at = Here();
  Take();
  Deepen(kDeepest, kTooDeep, at.position);
  Expression inner = Negated();
  --depth_;
  return Made(Negation{at, Boxed(std::move(inner))});
}

bool Parser::AtPredicate(bool negated) const {
  return AtAnyWord({"LIKE", "ALIKE", "IN", "BETWEEN"}, negated ? 1 : 0) || (AtWord("IS") && !negated);
}

Expression Parser::Comparison() {
  Expression first = Concatenation();
  std::vector<Link> links;
  for (;;) {
    if (Peek().kind == TokenKind::kSymbol && ComparisonOf(Peek().text)) {
      links.push_back(Compared());
    } else {
      const bool negated = AtWord("NOT");
      if (!AtPredicate(negated)) return Chained(std::move(first), std::move(links));
      if (negated) Take();
      links.push_back(Predicate(negated));
    }
    links.back().after = Peek().position;
  }
}

Link Parser::Compared() {
  Link link;
  link.at = Here();
  link.op = *ComparisonOf(Take().text);
  if (!AtAnyWord({"ALL", "ANY", "SOME"})) {
    link.operands.push_back(Concatenation());
    return link;
  }
  link.quantifier = AtWord("ALL") ? Quantifier::kAll : AtWord("ANY") ? Quantifier::kAny : Quantifier::kSome;
  link.at = Here();
  Take();
  ExpectSymbol("(");
  if (!AtWord("SELECT")) Fail("SELECT expected");
  link.query = Rows();
  ExpectSymbol(")");
  return link;
}

Link Parser::Predicate(bool negated) {
  Link link;
  link.negated = negated;
  link.at = Here();
  const std::string word = Take().upper;
  if (word == "IS") {
    link.op = Operator::kIsNull;
    link.negated = TakeWord("NOT");
    ExpectWord("NULL");
  } else if (word == "BETWEEN") {
    link.op = Operator::kBetween;
    link.operands.push_back(Concatenation());
    ExpectWord("AND");
    link.operands.push_back(Concatenation());
  } else if (word == "IN") {
    InList(link);
  } else {
    link.op = word == "LIKE" ? Operator::kLike : Operator::kALike;
    link.operands.push_back(Concatenation());
  }
  return link;
}

void Parser::InList(Link& link) {
  link.op = Operator::kIn;
  ExpectSymbol("(");
  if (AtWord("SELECT")) {
    link.query = Rows();
  } else {
    for (bool first = true; first || TakeSymbol(","); first = false) link.operands.push_back(Whole());
  }
  ExpectSymbol(")");
}

Expression Parser::Unary() {
  if (!AtSymbol("-") && !AtSymbol("+")) return Power();
  const Token& sign = Take();
  Deepen(kDeepest, kTooDeep, sign.position);
  Expression inner = Unary();
  --depth_;
  if (sign.text == "+") return inner;
  return Made(Minus{Boxed(std::move(inner))});
}

Expression Parser::Power() {
  Expression first = Primary();
  std::vector<Link> links;
  while (AtSymbol("^")) {
    Link link;
    link.op = Operator::kPower;
    link.at = Here();
    Take();
    // The exponent may carry a sign of its own: 2^-1.
    link.operands.push_back(AtSymbol("-") || AtSymbol("+") ? Unary() : Primary());
    link.after = Peek().position;
    links.push_back(std::move(link));
  }
  return Chained(std::move(first), std::move(links));
}

Expression Parser::LiteralNumber() {
  const Token& token = Take();
  if (const auto whole = base::ReadWhole<std::int32_t>(token.text)) return Made(Number{*whole, 0, false});
  const auto real = base::ReadReal(token.text);
  if (!real) throw SyntaxError("number out of range", token.position);
  const std::size_t point = token.text.find('.');
  const bool fewDecimals = point != std::string::npos && token.text.size() - point <= 5 && std::fabs(*real) < 1e10 &&
                           token.text.find_first_not_of("0123456789.") == std::string::npos;
  return Made(Number{std::nullopt, *real, fewDecimals});
}

Expression Parser::LiteralDate() {
  const Token& token = Take();
  const std::optional<double> serial = base::ReadDateText(token.text, base::DateOrder::kMonthFirst);
  if (!serial) throw SyntaxError("not a date: #" + token.text + "#", token.position);
  return Made(DateLiteral{*serial});
}

Expression Parser::LiteralGuid() {
  const Token& token = Take();
  const std::optional<Guid> guid = Guid::Parse(token.text);
  if (!guid) throw SyntaxError("not a GUID: " + token.text, token.position);
  return Made(GuidLiteral{guid->Text()});
}

Expression Parser::Primary() {
  switch (Peek().kind) {
    case TokenKind::kNumber:
      return LiteralNumber();
    case TokenKind::kDate:
      return LiteralDate();
    case TokenKind::kGuid:
      return LiteralGuid();
    case TokenKind::kText: {
      Text text{Take().text};
      return Made(std::move(text));
    }
    case TokenKind::kSymbol:
      if (AtSymbol("(")) return Parenthesised();
      if (AtSymbol("?")) {
        const Spot at = Here();
        Take();
        return Made(Marker{at});
      }
      break;
    case TokenKind::kWord:
    case TokenKind::kBracketed:
      return NameOrCall();
    case TokenKind::kEnd:
      break;
  }
  Fail("expression expected");
}

Expression Parser::Parenthesised() {
  const Spot at = Here();
  Take();
  if (AtWord("SELECT")) {
    Deepen(kDeepest, "subqueries nested too deeply", at.position);
    QueryPointer query = Rows();
    --depth_;
    ExpectSymbol(")");
    return Made(Subquery{at, std::move(query)});
  }
  Expression inner = Whole();
  ExpectSymbol(")");
  return Made(Parenthesis{Boxed(std::move(inner))});
}

// TRUE, NULL and the like; false for a word that is a name.
bool Parser::ReservedWord(Expression& expression) {
  const std::string& word = Peek().upper;
  std::optional<Word> value;
  if (word == "TRUE" || word == "ON") value = Word::kTrue;
  if (word == "FALSE") value = Word::kFalse;
  if (word == "NULL") value = Word::kNull;
  if (word == "@@IDENTITY") value = Word::kIdentity;
  if (value) {
    Take();
    expression = Made(*value);
    return true;
  }
  if (word == "EXISTS") {
    Take();
    ExpectSymbol("(");
    QueryPointer query = Rows();
    ExpectSymbol(")");
    expression = Made(Exists{std::move(query)});
    return true;
  }
  if (IsReserved(word)) Fail("expression expected");
  return false;
}

Expression Parser::NameOrCall() {
  if (Peek().kind == TokenKind::kWord) {
    if (AtSymbol("(", 1) && Peek().upper != "EXISTS") return Function();
    Expression word;
    if (ReservedWord(word)) return word;
  }
  Reference reference;
  reference.name = TakeNamed("name");
  while ((AtSymbol(".") || AtSymbol("!")) && AtName(1)) {
    reference.qualifier += (reference.qualifier.empty() ? "" : "!") + reference.name.text;
    Take();
    reference.name = TakeNamed("name");
  }
  return Made(std::move(reference));
}

std::vector<Expression> Parser::Arguments() {
  std::vector<Expression> arguments;
  if (TakeSymbol(")")) return arguments;
  for (bool first = true; first || TakeSymbol(","); first = false) arguments.push_back(Whole());
  ExpectSymbol(")");
  return arguments;
}

Expression Parser::Function() {
  const Name name = TakeNamed("name");
  ExpectSymbol("(");
  const std::string function = Unsuffixed(name.upper);
  if (IsAggregate(function)) return AggregateOf(name, function);
  auto call = std::make_unique<Call>();
  call->name = name.text;
  call->function = function;
  call->at = name.spot;
  call->arguments = Arguments();
  return Made(std::move(call));
}

Expression Parser::AggregateOf(const Name& name, const std::string& function) {
  auto aggregate = std::make_unique<Aggregate>();
  aggregate->name = name.text;
  aggregate->function = function;
  aggregate->at = name.spot;
  if (function != "COUNT" || !TakeSymbol("*")) {
    if (AtWord("DISTINCT")) throw UnsupportedError("DISTINCT inside an aggregate is not part of this language", Peek().position);
    aggregate->argument = Boxed(Whole());
  }
  ExpectSymbol(")");
  return Made(std::move(aggregate));
}

}  // namespace jet::sql::syntax

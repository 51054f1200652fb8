// Expressions of the Access language: operators with their precedence, predicates, columns.
#include <charconv>
#include <cmath>

#include "base/DateText.h"
#include "jet/sql/functions/Calendar.h"
#include "jet/sql/bind/Coercion.h"
#include "jet/sql/functions/Functions.h"
#include "jet/sql/emit/Literals.h"
#include "jet/sql/Names.h"
#include "jet/sql/bind/Translator.h"

namespace jet::sql {

namespace {

constexpr int kDeepest = 200;  // nesting of parentheses and subqueries, far below what the stack bears
// SQLite's parser keeps at most 100 things in mind at a time: what is nested more deeply it can never read.
constexpr int kDeepestSql = 100;
// From this many levels on the operands of one operator stand side by side. Shorter ones stay nested, so that a grouped expression is
// found again as the beginning of a longer one.
constexpr int kSideBySide = 8;
constexpr int kMostOperands = 100;             // of one call that joins texts; SQLite takes 127
constexpr std::size_t kLongestSql = 16000000;  // columns that use each other by their names can double the text again and again

bool IsWhole(ColumnType type) {
  return type == ColumnType::kByte || type == ColumnType::kInteger || type == ColumnType::kLong || type == ColumnType::kBoolean;
}
bool IsText(ColumnType type) { return type == ColumnType::kText || type == ColumnType::kMemo; }
bool IsLogical(const Expression& e) { return e.condition || e.type.type == ColumnType::kBoolean || e.type.type == kNoType; }

// A word that cannot be a column where an operand is wanted.
bool IsReserved(const std::string& word) {
  static const std::set<std::string, std::less<>> kWords = {
      "SELECT", "FROM", "WHERE", "GROUP", "HAVING", "ORDER", "UNION",   "INNER", "JOIN", "ON",  "AND",    "OR", "NOT",
      "XOR",    "EQV",  "IMP",   "LIKE",  "IN",     "IS",    "BETWEEN", "AS",    "INTO", "SET", "VALUES", "MOD"};
  return kWords.contains(word);
}

}  // namespace

void Translator::RequireShort(const std::string& sql) const {
  if (sql.size() > kLongestSql) throw UnsupportedError("the statement becomes too long", Peek().position);
}

Expression Translator::Made(std::string sql, ColumnType type, std::initializer_list<const Expression*> parts) const {
  Expression made;
  made.sql = std::move(sql);
  made.type.type = type;
  RequireShort(made.sql);
  for (const Expression* part : parts) {
    made.aggregate = made.aggregate || part->aggregate;
    made.nesting = std::max(made.nesting, part->nesting + 1);
    if (made.nesting > kDeepestSql) throw UnsupportedError("expression nested too deeply", Peek().position);
    made.bareColumns.insert(made.bareColumns.end(), part->bareColumns.begin(), part->bareColumns.end());
  }
  return made;
}

Expression Translator::MadeCondition(std::string sql, std::initializer_list<const Expression*> parts) const {
  Expression made = Made(std::move(sql), ColumnType::kBoolean, parts);
  made.condition = true;
  return made;
}

// A further operand for the chain that left is: its text ends with the closing bracket.
Expression Translator::Joined(Expression left, const std::string& glue, const std::string& rightSql, const Expression& right) const {
  left.sql.pop_back();
  left.sql += glue + rightSql + ")";
  RequireShort(left.sql);
  left.aggregate = left.aggregate || right.aggregate;
  left.nesting = std::max(left.nesting, right.nesting + 1);
  left.bareColumns.insert(left.bareColumns.end(), right.bareColumns.begin(), right.bareColumns.end());
  ++left.operands;
  return left;
}

std::string Translator::AsValue(const Expression& e) { return e.condition ? "(-" + e.sql + ")" : e.sql; }
std::string Translator::AsCondition(const Expression& e) { return e.sql; }

std::string Translator::AsNumber(const Expression& e) {
  const ColumnType type = e.type.type;
  if (IsNumber(type) || type == ColumnType::kBoolean || type == ColumnType::kDate) return AsValue(e);
  return "jet_number(" + e.sql + ")";
}

std::string Translator::AsText(const Expression& e) {
  if (IsText(e.type.type)) return e.sql;
  if (e.type.type == ColumnType::kDate) return "jet_datetext(" + e.sql + ")";
  if (e.type.type == ColumnType::kSingle) return "jet_singletext(" + e.sql + ")";
  return "jet_text(" + AsValue(e) + ")";
}

std::string Translator::Collated(const Expression& e) {
  const bool textLike = IsText(e.type.type) || e.type.type == kNoType;
  return textLike && e.source < 0 ? e.sql + " COLLATE JET" : AsValue(e);
}

Expression Translator::ParseExpression() {
  if (++depth_ > kDeepest) throw UnsupportedError("expression nested too deeply", Peek().position);
  Expression e = ParseImplication();
  --depth_;
  return e;
}

Expression Translator::ParseCondition() {
  const Token at = Peek();
  Expression e = ParseExpression();
  if (IsText(e.type.type))
    throw Error(ErrorCode::kTypeMismatch, "a text is no condition (at character " + std::to_string(at.position) + ")");
  return e;
}

Expression Translator::Logical(const char* op, Expression left, Expression right, const Token& at) {
  const std::string name = op;
  if (!IsLogical(left) || !IsLogical(right)) {
    if (IsText(left.type.type) || IsText(right.type.type)) {
      throw Error(ErrorCode::kTypeMismatch, name + " of a text (at character " + std::to_string(at.position) + ")");
    }
    // Between numbers these work bit by bit.
    const std::string a = "jet_clng(" + AsValue(left) + ")";
    const std::string b = "jet_clng(" + AsValue(right) + ")";
    std::string sql = name == "AND"   ? "(" + a + " & " + b + ")"
                      : name == "OR"  ? "(" + a + " | " + b + ")"
                      : name == "XOR" ? "((" + a + " | " + b + ") & ~(" + a + " & " + b + "))"
                      : name == "EQV" ? "(~((" + a + " | " + b + ") & ~(" + a + " & " + b + ")))"
                                      : "(~" + a + " | " + b + ")";
    return Made(std::move(sql), ColumnType::kLong, {&left, &right});
  }
  const std::string b = AsCondition(right);
  if (name == "AND" || name == "OR") {
    if (left.chain == name[0] && left.nesting >= kSideBySide) return Joined(std::move(left), " " + name + " ", b, right);
    Expression made = MadeCondition("(" + AsCondition(left) + " " + name + " " + b + ")", {&left, &right});
    made.chain = name[0];
    return made;
  }
  const std::string a = AsCondition(left);
  std::string sql = name == "XOR"   ? "((NOT " + a + ") <> (NOT " + b + "))"
                    : name == "EQV" ? "((NOT " + a + ") = (NOT " + b + "))"
                                    : "((NOT " + a + ") OR " + b + ")";
  return MadeCondition(std::move(sql), {&left, &right});
}

Expression Translator::ParseImplication() {
  Expression left = ParseEquivalence();
  while (AtWord("IMP")) {
    const Token at = Take();
    left = Logical("IMP", std::move(left), ParseEquivalence(), at);
  }
  return left;
}

Expression Translator::ParseEquivalence() {
  Expression left = ParseExclusiveOr();
  while (AtWord("EQV")) {
    const Token at = Take();
    left = Logical("EQV", std::move(left), ParseExclusiveOr(), at);
  }
  return left;
}

Expression Translator::ParseExclusiveOr() {
  Expression left = ParseOr();
  while (AtWord("XOR")) {
    const Token at = Take();
    left = Logical("XOR", std::move(left), ParseOr(), at);
  }
  return left;
}

Expression Translator::ParseOr() {
  Expression left = ParseAnd();
  while (AtWord("OR")) {
    const Token at = Take();
    left = Logical("OR", std::move(left), ParseAnd(), at);
  }
  return left;
}

Expression Translator::ParseAnd() {
  Expression left = ParseNot();
  while (AtWord("AND")) {
    const Token at = Take();
    left = Logical("AND", std::move(left), ParseNot(), at);
  }
  return left;
}

Expression Translator::ParseNot() {
  if (!AtWord("NOT")) return ParseComparison();
  const Token at = Take();
  if (++depth_ > kDeepest) throw UnsupportedError("expression nested too deeply", at.position);
  Expression inner = ParseNot();
  --depth_;
  if (IsLogical(inner)) return MadeCondition("(NOT " + AsCondition(inner) + ")", {&inner});
  if (IsText(inner.type.type)) throw Error(ErrorCode::kTypeMismatch, "NOT of a text (at character " + std::to_string(at.position) + ")");
  return Made("(~jet_clng(" + AsValue(inner) + "))", ColumnType::kLong, {&inner});
}

void Translator::CheckComparable(const Expression& left, const Expression& right, const Token& at) const {
  const auto numeric = [](const Expression& e) {
    return IsNumber(e.type.type) || e.type.type == ColumnType::kBoolean || e.type.type == ColumnType::kDate;
  };
  const bool mismatch = (IsText(left.type.type) && numeric(right)) || (numeric(left) && IsText(right.type.type));
  const bool guidWithNumber =
      (left.type.type == ColumnType::kGuid && numeric(right)) || (numeric(left) && right.type.type == ColumnType::kGuid);
  if (!mismatch && !guidWithNumber) return;
  throw Error(ErrorCode::kTypeMismatch, "a text is compared with a number or date (at character " + std::to_string(at.position) + ")");
}

Expression Translator::Compare(const std::string& op, Expression left, Expression right, const Token& at) {
  AdaptParameter(left, right);
  AdaptParameter(right, left);
  CheckComparable(left, right, at);
  const bool texts = IsText(left.type.type) || IsText(right.type.type) || left.type.type == kNoType || right.type.type == kNoType;
  std::string a =
      texts && left.source < 0 && !IsNumber(right.type.type) ? left.condition ? AsValue(left) : left.sql + " COLLATE JET" : AsValue(left);
  // A condition compared with a truth value stays in Access' terms on both sides.
  return MadeCondition("(" + a + " " + op + " " + AsValue(right) + ")", {&left, &right});
}

Expression Translator::ParseComparison() {
  Expression left = ParseConcatenation();
  for (;;) {
    const Token at = Peek();
    if (at.kind == TokenKind::kSymbol &&
        (at.text == "=" || at.text == "<" || at.text == ">" || at.text == "<=" || at.text == ">=" || at.text == "<>")) {
      Take();
      if (AtWord("ALL") || AtWord("ANY") || AtWord("SOME")) {
        left = ParseQuantified(std::move(left), at.text);
      } else {
        left = Compare(at.text, std::move(left), ParseConcatenation(), at);
      }
      continue;
    }
    const bool negated = AtWord("NOT");
    const std::size_t ahead = negated ? 1 : 0;
    if (!AtWord("LIKE", ahead) && !AtWord("ALIKE", ahead) && !AtWord("IN", ahead) && !AtWord("BETWEEN", ahead) &&
        !(AtWord("IS") && !negated)) {
      return left;
    }
    if (negated) Take();
    left = ParsePredicate(std::move(left), negated);
  }
}

Expression Translator::ParsePredicate(Expression left, bool negated) {
  const Token at = Take();
  const std::string no = negated ? "NOT " : "";
  if (at.upper == "IS") {
    const bool isNot = TakeWord("NOT");
    ExpectWord("NULL");
    return MadeCondition("(" + AsValue(left) + (isNot ? " IS NOT NULL)" : " IS NULL)"), {&left});
  }
  if (at.upper == "LIKE" || at.upper == "ALIKE") {
    Expression pattern = ParseConcatenation();
    const std::string function = at.upper == "LIKE" ? "jet_like(" : "jet_alike(";
    return MadeCondition("(" + no + function + AsText(left) + ", " + AsText(pattern) + "))", {&left, &pattern});
  }
  if (at.upper == "BETWEEN") {
    Expression low = ParseConcatenation();
    ExpectWord("AND");
    Expression high = ParseConcatenation();
    AdaptParameter(left, low);
    AdaptParameter(low, left);
    AdaptParameter(high, left);
    CheckComparable(left, low, at);
    CheckComparable(left, high, at);
    return MadeCondition("(" + Collated(left) + " " + no + "BETWEEN " + AsValue(low) + " AND " + AsValue(high) + ")", {&left, &low, &high});
  }
  // IN
  ExpectSymbol("(");
  if (AtWord("SELECT")) {
    SelectPlan query = ParseQuery({.orderAllowed = true});
    ExpectSymbol(")");
    if (query.columns.size() != 1) FailAt(at, "the subquery of IN must have one column");
    CheckComparable(left, Made({}, query.columns[0].type.type, {}), at);
    return MadeCondition("(" + Collated(left) + " " + no + "IN (" + query.sql + "))", {&left});
  }
  Expression made = MadeCondition("(" + Collated(left) + " " + no + "IN (", {&left});
  for (bool first = true; first || TakeSymbol(","); first = false) {
    Expression item = ParseExpression();
    AdaptParameter(item, left);
    CheckComparable(left, item, at);
    made.sql += (first ? "" : ", ") + AsValue(item);
    made.bareColumns.insert(made.bareColumns.end(), item.bareColumns.begin(), item.bareColumns.end());
    made.aggregate = made.aggregate || item.aggregate;
  }
  ExpectSymbol(")");
  made.sql += "))";
  RequireShort(made.sql);
  return made;
}

Expression Translator::ParseQuantified(Expression left, const std::string& comparison) {
  const Token at = Take();
  ExpectSymbol("(");
  if (!AtWord("SELECT")) Fail("SELECT expected");
  SelectPlan query = ParseQuery({.orderAllowed = true});
  ExpectSymbol(")");
  if (query.columns.size() != 1) FailAt(at, "the subquery of " + at.upper + " must have one column");
  CheckComparable(left, Made({}, query.columns[0].type.type, {}), at);
  const std::string alias = "q" + std::to_string(nextAlias_++);
  const std::string test = "(" + Collated(left) + " " + comparison + " " + alias + ".c0)";
  const std::string from = "(SELECT 1 FROM (" + query.sql + ") AS " + alias + " WHERE ";
  if (at.upper == "ALL") return MadeCondition("(NOT EXISTS " + from + "NOT COALESCE(" + test + ", 0)))", {&left});
  return MadeCondition("(EXISTS " + from + test + "))", {&left});
}

Expression Translator::ParseConcatenation() {
  Expression left = ParseAdditive();
  while (AtSymbol("&")) {
    Take();
    const Expression right = ParseAdditive();
    if (left.chain == '&' && left.nesting >= kSideBySide && left.operands < kMostOperands) {
      left = Joined(std::move(left), ", ", AsText(right), right);
      continue;
    }
    left = Made("jet_concat(" + AsText(left) + ", " + AsText(right) + ")", ColumnType::kText, {&left, &right});
    left.type.size = 255;
    left.chain = '&';
    left.operands = 2;
  }
  return left;
}

Expression Translator::Arithmetic(const std::string& op, Expression left, Expression right) {
  // A written number with up to four decimals is an amount where it is added to one.
  const auto typeOf = [&](const Expression& e, const Expression& other) {
    return e.amountLiteral && op != "*" && other.type.type == ColumnType::kCurrency ? ColumnType::kCurrency : e.type.type;
  };
  const ColumnType a = typeOf(left, right);
  const ColumnType b = typeOf(right, left);
  if (op == "+" && IsText(a) && IsText(b)) {
    if (left.chain == '|' && left.nesting >= kSideBySide) return Joined(std::move(left), " || ", right.sql, right);
    Expression made = Made("(" + left.sql + " || " + right.sql + ")", ColumnType::kText, {&left, &right});
    made.type.size = 255;
    made.chain = '|';
    return made;
  }
  ColumnType type = ColumnType::kDouble;
  if (a == ColumnType::kDate || b == ColumnType::kDate) {
    type = op == "-" && a == b ? ColumnType::kDouble : op == "*" ? ColumnType::kDouble : ColumnType::kDate;
  } else if ((a == ColumnType::kCurrency || b == ColumnType::kCurrency) && a != ColumnType::kDouble && b != ColumnType::kDouble) {
    type = ColumnType::kCurrency;
  } else if (IsWhole(a) && IsWhole(b)) {
    type = ColumnType::kLong;
  }
  if (op == "+" && (IsText(a) || IsText(b) || (a == kNoType && b == kNoType))) {
    return Made("jet_add(" + AsValue(left) + ", " + AsValue(right) + ")", type, {&left, &right});
  }
  // Amounts are exact: what their doubles are off is taken away where they are added, and where they are multiplied by whole numbers.
  const bool product = op == "*";
  const bool amount = type == ColumnType::kCurrency && (!product || ((a == type || IsWhole(a)) && (b == type || IsWhole(b))));
  const char chain = product ? '*' : amount ? '$' : '+';
  const bool joins = left.chain == chain && left.type.type == type && left.nesting >= kSideBySide && !(amount && product);
  if (joins) return Joined(std::move(left), " " + op + " ", AsNumber(right), right);
  Expression made = Made((amount ? "jet_ccur(" : "(") + AsNumber(left) + " " + op + " " + AsNumber(right) + ")", type, {&left, &right});
  if (!(amount && product)) made.chain = chain;
  return made;
}

// The value of a subquery: more than one row is an error.
Expression Translator::SingleValue(const SelectPlan& query) const {
  Expression made =
      Made(query.singleRow ? "(" + query.sql + ")" : "(SELECT jet_only(c0) FROM (" + query.sql + "))", query.columns[0].type.type, {});
  made.type = query.columns[0].type;
  return made;
}

Expression Translator::ParseAdditive() {
  Expression left = ParseModulo();
  while (AtSymbol("+") || AtSymbol("-")) {
    const std::string op = Take().text;
    left = Arithmetic(op, std::move(left), ParseModulo());
  }
  return left;
}

Expression Translator::ParseModulo() {
  Expression left = ParseIntegerDivision();
  while (AtWord("MOD")) {
    Take();
    Expression right = ParseIntegerDivision();
    left = Made("jet_mod(" + AsNumber(left) + ", " + AsNumber(right) + ")", ColumnType::kLong, {&left, &right});
  }
  return left;
}

Expression Translator::ParseIntegerDivision() {
  Expression left = ParseMultiplicative();
  while (AtSymbol("\\")) {
    Take();
    Expression right = ParseMultiplicative();
    left = Made("jet_idiv(" + AsNumber(left) + ", " + AsNumber(right) + ")", ColumnType::kLong, {&left, &right});
  }
  return left;
}

Expression Translator::ParseMultiplicative() {
  Expression left = ParseUnary();
  while (AtSymbol("*") || AtSymbol("/")) {
    const std::string op = Take().text;
    Expression right = ParseUnary();
    if (op == "*") {
      left = Arithmetic(op, std::move(left), std::move(right));
    } else {
      left = Made("jet_div(" + AsNumber(left) + ", " + AsNumber(right) + ")", ColumnType::kDouble, {&left, &right});
    }
  }
  return left;
}

Expression Translator::ParseUnary() {
  if (!AtSymbol("-") && !AtSymbol("+")) return ParsePower();
  const Token sign = Take();
  if (++depth_ > kDeepest) throw UnsupportedError("expression nested too deeply", sign.position);
  Expression inner = ParseUnary();
  --depth_;
  if (sign.text == "+") return inner;
  ColumnType type = inner.type.type;
  if (type == ColumnType::kBoolean || type == ColumnType::kByte) type = ColumnType::kInteger;
  if (!IsNumber(type) && type != ColumnType::kDate) type = ColumnType::kDouble;
  return Made("(-" + AsNumber(inner) + ")", type, {&inner});
}

Expression Translator::ParsePower() {
  Expression left = ParsePrimary();
  while (AtSymbol("^")) {
    Take();
    // The exponent may carry a sign of its own: 2^-1.
    Expression right = AtSymbol("-") || AtSymbol("+") ? ParseUnary() : ParsePrimary();
    left = Made("jet_pow(" + AsNumber(left) + ", " + AsNumber(right) + ")", ColumnType::kDouble, {&left, &right});
  }
  return left;
}

Expression Translator::Number(const Token& token) {
  std::int64_t whole = 0;
  const char* end = token.text.data() + token.text.size();
  const auto [stop, problem] = std::from_chars(token.text.data(), end, whole);
  if (problem == std::errc() && stop == end && whole >= INT32_MIN && whole <= INT32_MAX) {
    return Made(whole < 0 ? "(" + token.text + ")" : token.text, ColumnType::kLong, {});
  }
  double real = 0;
  const auto [realStop, realProblem] = std::from_chars(token.text.data(), end, real);
  if (realProblem != std::errc() || realStop != end || !std::isfinite(real)) throw SyntaxError("number out of range", token.position);
  Expression made = Made(RealLiteral(real), ColumnType::kDouble, {});
  const std::size_t point = token.text.find('.');
  made.amountLiteral = point != std::string::npos && token.text.size() - point <= 5 && std::fabs(real) < 1e10 &&
                       token.text.find_first_not_of("0123456789.") == std::string::npos;
  return made;
}

Expression Translator::DateLiteral(const Token& token) {
  const std::optional<double> serial = base::ReadDateText(token.text, base::DateOrder::kMonthFirst);
  if (!serial) throw SyntaxError("not a date: #" + token.text + "#", token.position);
  return Made(RealLiteral(*serial), ColumnType::kDate, {});
}

Expression Translator::DateFromText(const Token& at, const Expression& text) {
  if (!text.literalText) {
    if (text.type.type == ColumnType::kDate) return text;
    return Made("jet_cdate(" + AsValue(text) + ")", ColumnType::kDate, {&text});
  }
  const std::optional<double> serial =
      settings_.parseDate ? settings_.parseDate(text.text) : base::ReadDateText(text.text, base::DateOrder::kDayFirst);
  if (!serial) {
    throw Error(ErrorCode::kTypeMismatch, "not a date: '" + text.text + "' (at character " + std::to_string(at.position) + ")");
  }
  return Made(RealLiteral(*serial), ColumnType::kDate, {});
}

Expression Translator::ParsePrimary() {
  const Token& token = Peek();
  switch (token.kind) {
    case TokenKind::kNumber:
      return Number(Take());
    case TokenKind::kDate:
      return DateLiteral(Take());
    case TokenKind::kGuid: {
      const std::optional<Guid> guid = Guid::Parse(token.text);
      if (!guid) throw SyntaxError("not a GUID: " + token.text, token.position);
      Take();
      return Made(TextLiteral(guid->Text()), ColumnType::kGuid, {});
    }
    case TokenKind::kText: {
      Expression made = Made(TextLiteral(token.text), ColumnType::kText, {});
      made.literalText = true;
      made.text = token.text;
      made.type.size = 255;
      Take();
      return made;
    }
    case TokenKind::kSymbol:
      if (token.text == "(") return ParseParenthesis();
      if (token.text == "?") {
        const Token at = Take();
        const std::optional<std::size_t> marker = parameters_->FindMarker(PlaceOf(at));
        if (!marker) NoValue("?", at);
        return UseParameter(*marker, at);
      }
      break;
    case TokenKind::kWord:
    case TokenKind::kBracketed:
      return ParseNameOrCall();
    case TokenKind::kEnd:
      break;
  }
  Fail("expression expected");
}

Expression Translator::ParseParenthesis() {
  const Token at = Take();
  if (AtWord("SELECT")) {
    if (++depth_ > kDeepest) throw UnsupportedError("subqueries nested too deeply", at.position);
    SelectPlan query = ParseQuery({.orderAllowed = true});
    --depth_;
    ExpectSymbol(")");
    if (query.columns.size() != 1) FailAt(at, "a subquery used as a value must have one column");
    return SingleValue(query);
  }
  Expression inner = ParseExpression();
  ExpectSymbol(")");
  inner.literalText = false;
  return inner;
}

Expression Translator::ParseNameOrCall() {
  if (Peek().kind == TokenKind::kWord) {
    const std::string& word = Peek().upper;
    if (AtSymbol("(", 1) && word != "EXISTS") return ParseCall();
    if (word == "TRUE" || word == "FALSE" || word == "ON") return Made(Take().upper == "FALSE" ? "0" : "(-1)", ColumnType::kBoolean, {});
    if (word == "@@IDENTITY") {
      Take();
      return Made("jet_identity()", ColumnType::kLong, {});
    }
    if (word == "NULL") {
      Take();
      return Made("NULL", kNoType, {});
    }
    if (word == "EXISTS") {
      Take();
      ExpectSymbol("(");
      SelectPlan query = ParseQuery({.orderAllowed = true});
      ExpectSymbol(")");
      return MadeCondition("(EXISTS (" + query.sql + "))", {});
    }
    if (IsReserved(word)) Fail("expression expected");
  }
  Token name = Take();
  std::string qualifier;
  while ((AtSymbol(".") || AtSymbol("!")) && AtName(1)) {
    qualifier += (qualifier.empty() ? "" : "!") + name.text;
    Take();
    name = Take();
  }
  return ResolveName(qualifier, name);
}

Expression Translator::ColumnOf(const Scope& scope, std::size_t source, std::size_t column) const {
  const ScopeSource& from = scope.sources[source];
  const ColumnInfo& info = from.columns[column];
  Expression made;
  made.sql = from.sqlAlias + ".c" + std::to_string(column);
  made.type = info.type;
  made.name = info.name;
  made.source = static_cast<int>(source);
  made.column = column;
  made.bareColumns = {made.sql};
  return made;
}

Expression Translator::ResolveName(const std::string& qualifier, const Token& name) {
  const char* const sign = qualifier.find('!') == std::string::npos ? "." : "!";
  const std::string full = qualifier.empty() ? name.text : qualifier + sign + name.text;
  if (const std::optional<std::size_t> declared = parameters_->FindDeclared(full)) return UseParameter(*declared, name);
  if (std::optional<Expression> column = FindColumn(qualifier, name)) return *std::move(column);
  // Truth values have these names too, where nothing else has.
  if (qualifier.empty() && name.kind == TokenKind::kWord && (name.upper == "YES" || name.upper == "NO" || name.upper == "OFF"))
    return Made(name.upper == "YES" ? "(-1)" : "0", ColumnType::kBoolean, {});
  const std::optional<std::size_t> parameter = parameters_->Find(full, PlaceOf(name));
  if (!parameter) NoValue(full, name);
  return UseParameter(*parameter, name);
}

Expression Translator::NeedColumn(const std::string& qualifier, const Token& name) {
  std::optional<Expression> column = FindColumn(qualifier, name);
  if (!column) NoValue(qualifier.empty() ? name.text : qualifier + "." + name.text, name);
  return *std::move(column);
}

std::optional<Expression> Translator::FindColumn(const std::string& qualifier, const Token& name) {
  const std::string folded = FoldName(name.text);
  const std::string foldedQualifier = FoldName(qualifier);
  for (const Scope* scope = scope_; scope != nullptr; scope = scope->parent) {
    int found = -1;
    std::size_t column = 0;
    bool qualifierKnown = false;
    for (std::size_t i = 0; i < scope->sources.size(); ++i) {
      const ScopeSource& source = scope->sources[i];
      if (!qualifier.empty() && source.folded != foldedQualifier) continue;
      qualifierKnown = true;
      const std::size_t place = PlaceOfColumn(source.columns, name.text, folded);
      if (place == source.columns.size()) continue;
      if (found >= 0) throw SyntaxError("column \"" + name.text + "\" is in more than one table of the FROM clause", name.position);
      found = static_cast<int>(i);
      column = place;
    }
    if (found >= 0) {
      Expression made = ColumnOf(*scope, static_cast<std::size_t>(found), column);
      if (scope != scope_) made.bareColumns.clear(), made.source = -1;  // constant for the inner query
      return made;
    }
    if (qualifier.empty()) {
      for (const auto& [outputName, output] : scope->outputs) {
        if (outputName == folded) return output;
      }
    } else if (qualifierKnown) {
      break;
    }
  }
  return std::nullopt;
}

}  // namespace jet::sql

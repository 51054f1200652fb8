// Queries: SELECT with its clauses, UNION, TRANSFORM.
#include "jet/sql/parse/Parser.h"

namespace jet::sql::syntax {

namespace {

constexpr int kDeepestQuery = 100;

bool IsDigits(const std::string& text) { return text.find_first_not_of("0123456789") == std::string::npos; }

}  // namespace

// A union is found by looking ahead: only the last part of one may carry the ORDER BY.
bool Parser::IsUnionAhead() const {
  int level = 0;
  for (std::size_t i = position_; i < tokens_.size(); ++i) {
    const Token& token = tokens_[i];
    if (token.kind == TokenKind::kSymbol && token.text == "(") ++level;
    if (token.kind == TokenKind::kSymbol && token.text == ")" && --level < 0) return false;
    if (level == 0 && token.kind == TokenKind::kWord && token.upper == "UNION") return true;
  }
  return false;
}

QueryPointer Parser::Rows(QueryOptions options) {
  Deepen(kDeepestQuery, "queries nested too deeply", Peek().position);
  QueryPointer query;
  if (IsUnionAhead()) {
    query = std::make_unique<Query>(Query{United()});
  } else if (AtWord("TRANSFORM")) {
    query = std::make_unique<Query>(Query{Transformation()});
  } else if (TakeSymbol("(")) {
    query = Rows(options);
    ExpectSymbol(")");
  } else {
    query = std::make_unique<Query>(Query{Selection(options)});
  }
  --depth_;
  return query;
}

QueryPointer Parser::Rows() { return Rows(QueryOptions{}); }

QueryPointer Parser::UnitedPart() {
  if (TakeSymbol("(")) {
    QueryPointer inner = Rows();
    ExpectSymbol(")");
    return inner;
  }
  TakeWord("TABLE");
  return std::make_unique<Query>(Query{Selection({.orderAllowed = false})});
}

Union Parser::United() {
  Union united;
  united.parts.push_back({{}, false, UnitedPart()});
  while (AtWord("UNION")) {
    UnionPart part;
    part.at = Here();
    Take();
    part.all = TakeWord("ALL");
    part.query = UnitedPart();
    united.parts.push_back(std::move(part));
  }
  if (TakeWord("ORDER")) {
    ExpectWord("BY");
    for (bool first = true; first || TakeSymbol(","); first = false) united.order.push_back(UnitedKey());
  }
  return united;
}

UnionKey Parser::UnitedKey() {
  UnionKey key;
  key.at = Here();
  const Token& token = Take();
  if (token.kind == TokenKind::kNumber) {
    key.column = static_cast<std::size_t>(std::strtoul(token.text.c_str(), nullptr, 10)) - 1;
  } else {
    const bool qualified = AtSymbol(".") && AtName(1);
    if (qualified) Take();
    key.name = qualified ? Take().text : token.text;
  }
  key.descending = Descending();
  return key;
}

bool Parser::Descending() {
  if (TakeWord("DESC")) return true;
  TakeWord("ASC");
  return false;
}

// What the columns mean stands in FROM; so it is read first, and the list when it is known where that ends.
void Parser::SkipToFrom() {
  int level = 0;
  for (; Peek().kind != TokenKind::kEnd; Take()) {
    if (AtSymbol("(")) ++level;
    if (AtSymbol(")") && --level < 0) return;
    if (level > 0) continue;
    if (AtSymbol(";") || AtAnyWord({"FROM", "UNION", "WHERE", "ORDER", "GROUP"})) return;
  }
}

void Parser::Top(Select& select) {
  Take();
  const Token& count = Take();
  if (!IsDigits(count.text) || count.text.size() > 9) FailAt(count, "whole number expected after TOP");
  select.top = std::stoll(count.text);
  select.percent = TakeWord("PERCENT");
  if (select.percent && *select.top > 100) FailAt(count, "at most 100 PERCENT");
}

void Parser::Predicates(Select& select) {
  for (;;) {
    if (TakeWord("ALL")) continue;
    if (TakeWord("DISTINCT")) {
      select.distinct = true;
    } else if (TakeWord("DISTINCTROW")) {
      select.distinctRow = true;
    } else if (AtWord("TOP") && Peek(1).kind == TokenKind::kNumber) {
      Top(select);
    } else {
      return;
    }
  }
}

Select Parser::Selection(QueryOptions options) {
  Select select;
  select.at = Here();
  ExpectWord("SELECT");
  Predicates(select);
  const std::size_t listAt = position_;
  SkipToFrom();
  const bool hasFrom = TakeWord("FROM");
  if (hasFrom) select.from = Sources();
  const std::size_t afterFrom = std::exchange(position_, listAt);
  select.list = Items();
  if (TakeWord("INTO")) {
    if (!options.allowInto) Fail("INTO is not allowed here");
    select.into = Target("name of the new table");
  }
  if (hasFrom && !AtWord("FROM")) Fail("\",\" or FROM expected");
  if (hasFrom) position_ = afterFrom;
  if (TakeWord("WHERE")) select.where = Conditional();
  select.groups = Groups();
  if (TakeWord("HAVING")) select.having = Conditional();
  if (options.orderAllowed) select.order = Order(true);
  if (TakeWord("WITH")) {
    ExpectWord("OWNERACCESS");
    ExpectWord("OPTION");
  }
  return select;
}

std::vector<Expression> Parser::Groups() {
  std::vector<Expression> groups;
  if (!TakeWord("GROUP")) return groups;
  ExpectWord("BY");
  for (bool first = true; first || TakeSymbol(","); first = false) groups.push_back(Whole());
  return groups;
}

// byNumber: a whole number is the position of a column.
std::vector<OrderKey> Parser::Order(bool byNumber) {
  std::vector<OrderKey> keys;
  if (!TakeWord("ORDER")) return keys;
  ExpectWord("BY");
  for (bool first = true; first || TakeSymbol(","); first = false) {
    OrderKey key;
    key.at = Here();
    if (byNumber && Peek().kind == TokenKind::kNumber && IsDigits(Peek().text)) {
      key.column = std::strtoul(Take().text.c_str(), nullptr, 10);
    } else {
      key.expression = Whole();
    }
    key.descending = Descending();
    keys.push_back(std::move(key));
  }
  return keys;
}

SelectList Parser::Items() {
  SelectList list;
  for (bool first = true; first || TakeSymbol(","); first = false) list.items.push_back(Item());
  list.after = Peek().position;
  return list;
}

SelectItem Parser::Item() {
  SelectItem item;
  item.at = Here();
  if (TakeSymbol("*")) {
    item.kind = SelectItem::Kind::kAll;
    return item;
  }
  if (AtName() && (AtSymbol(".", 1) || AtSymbol("!", 1)) && AtSymbol("*", 2)) {
    item.kind = SelectItem::Kind::kAllOf;
    item.table = Take().upper;
    Take();
    Take();
    return item;
  }
  item.expression = Whole();
  if (TakeWord("AS")) item.name = TakeName("name of the column");
  return item;
}

void Parser::SkipToSelect() {
  for (int level = 0; !AtWord("SELECT") || level > 0; Take()) {
    if (Peek().kind == TokenKind::kEnd) Fail("SELECT expected");
    if (AtSymbol("(")) ++level;
    if (AtSymbol(")")) --level;
  }
  Take();
  while (TakeWord("ALL") || TakeWord("DISTINCTROW")) {
  }
}

Crosstab Parser::Transformation() {
  Crosstab crosstab;
  crosstab.at = Here();
  ExpectWord("TRANSFORM");
  const std::size_t valueAt = position_;
  SkipToSelect();
  const std::size_t listAt = position_;
  SkipToFrom();
  ExpectWord("FROM");
  crosstab.from = Sources();
  const std::size_t afterFrom = std::exchange(position_, listAt);
  crosstab.list = Items();
  if (!AtWord("FROM")) Fail("\",\" or FROM expected");
  position_ = afterFrom;
  if (TakeWord("WHERE")) crosstab.where = Conditional();
  crosstab.groups = Groups();
  if (TakeWord("HAVING")) crosstab.having = Conditional();
  crosstab.order = Order(false);
  Pivot(crosstab);
  const std::size_t afterPivot = std::exchange(position_, valueAt);
  crosstab.value = Whole();
  if (TakeWord("AS")) TakeName("name of the value");
  if (!AtWord("SELECT")) Fail("SELECT expected");
  position_ = afterPivot;
  return crosstab;
}

// What follows PIVOT may end with IN and the columns: then IN is no operator of the expression.
void Parser::Pivot(Crosstab& crosstab) {
  ExpectWord("PIVOT");
  const std::size_t begin = position_;
  crosstab.pivot.at = Here();
  crosstab.pivot.expression = Concatenation();
  if (!AtWord("IN") && Peek().kind != TokenKind::kEnd && !AtSymbol(";") && !AtSymbol(")")) {
    position_ = begin;
    crosstab.pivot.expression = Whole();
  }
  crosstab.listed = TakeWord("IN");
  if (!crosstab.listed) return;
  ExpectSymbol("(");
  for (bool first = true; first || TakeSymbol(","); first = false) crosstab.headings.push_back(Whole());
  ExpectSymbol(")");
}

}  // namespace jet::sql::syntax

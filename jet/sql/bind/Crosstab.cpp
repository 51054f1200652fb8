// TRANSFORM: one column for each value of an expression.
#include <algorithm>

#include "jet/sql/bind/Coercion.h"
#include "jet/sql/emit/Literals.h"
#include "jet/sql/Names.h"
#include "jet/sql/bind/Translator.h"

namespace jet::sql {

namespace {

constexpr std::size_t kMostColumns = 255;

std::string Literal(const Value& value) {
  switch (value.Type()) {
    case ValueType::kNull:
      return "NULL";
    case ValueType::kBool:
      return value.AsBool() ? "(-1)" : "0";
    case ValueType::kByte:
      return std::to_string(value.AsByte());
    case ValueType::kInteger:
      return "(" + std::to_string(value.AsInteger()) + ")";
    case ValueType::kLong:
      return "(" + std::to_string(value.AsLong()) + ")";
    case ValueType::kCurrency:
      return RealLiteral(static_cast<double>(value.AsCurrency().scaled) / 10000);
    case ValueType::kSingle:
      return RealLiteral(value.AsSingle());
    case ValueType::kDouble:
      return RealLiteral(value.AsDouble());
    case ValueType::kDate:
      return RealLiteral(value.AsDate().serial);
    case ValueType::kText:
      return TextLiteral(value.AsText());
    case ValueType::kGuid:
      return TextLiteral(value.AsGuid().Text());
    case ValueType::kNumeric:
      return RealLiteral(value.AsNumeric().ToDouble());
    case ValueType::kBytes:
      break;
  }
  throw Error(ErrorCode::kUnsupported, "the columns of a crosstab cannot be binary values");
}

// The name that Access gives to the column of a value.
std::string Heading(const Value& value, const TextSettings& settings) {
  if (value.IsNull()) return "<>";
  TypeInfo text;
  text.type = ColumnType::kText;
  std::string name = Coerced(value, text, settings).AsText();
  std::replace(name.begin(), name.end(), '.', '_');
  return name;
}

}  // namespace

// Reads PIVOT; the columns are those of the list behind it, or those that the rows have.
std::vector<Translator::PivotColumn> Translator::ParsePivot(const std::string& from, const std::string& where) {
  ExpectWord("PIVOT");
  const Token at = Peek();
  const std::size_t begin = position_;
  Expression pivot = ParseConcatenation();
  if (!AtWord("IN") && Peek().kind != TokenKind::kEnd && !AtSymbol(";") && !AtSymbol(")")) {
    position_ = begin;
    pivot = ParseExpression();
  }
  if (pivot.aggregate) FailAt(at, "an aggregate cannot stand in PIVOT");
  std::vector<PivotColumn> columns;
  const std::string value = Collated(pivot);
  const auto add = [&](const Value& heading) {
    const std::string text = Heading(heading, settings_);
    columns.push_back({" FILTER (WHERE " + (pivot.source >= 0 ? value : "(" + value + ")") + " IS " + Literal(heading) + ")",
                       text.empty() ? "Expr" + std::to_string(1000 + columns.size()) : text});
    if (columns.size() > kMostColumns)
      throw Error(ErrorCode::kLimit, "the crosstab has more than 255 columns (at character " + std::to_string(at.position) + ")");
  };
  if (TakeWord("IN")) {
    ExpectSymbol("(");
    for (bool first = true; first || TakeSymbol(","); first = false) {
      Expression heading = ParseExpression();
      CheckComparable(pivot, heading, at);
      if (!parameters_->collecting) add(schema_.Evaluate(Constant("SELECT " + AsValue(heading), heading.type), 1).at(0).at(0));
    }
    ExpectSymbol(")");
  } else if (!parameters_->collecting) {
    TypeInfo type = pivot.type;
    if (pivot.condition) type.type = ColumnType::kBoolean;
    const std::string sql =
        "SELECT DISTINCT " + value + " AS c0" + (from.empty() ? std::string() : " FROM " + from) + where + " ORDER BY 1";
    for (const auto& row : schema_.Evaluate(Constant(sql, type), kMostColumns + 1)) add(row.at(0));
  }
  return columns;
}

SelectPlan Translator::ParseCrosstab() {
  const Token at = Peek();
  ExpectWord("TRANSFORM");
  const std::size_t valueAt = position_;
  for (int level = 0; !AtWord("SELECT") || level > 0; Take()) {
    if (Peek().kind == TokenKind::kEnd) Fail("SELECT expected");
    if (AtSymbol("(")) ++level;
    if (AtSymbol(")")) --level;
  }
  Take();
  while (TakeWord("ALL") || TakeWord("DISTINCTROW")) {
  }

  Scope scope;
  scope.parent = scope_;
  Scope* const before = std::exchange(scope_, &scope);
  const std::size_t listAt = position_;
  SkipToFrom();
  ExpectWord("FROM");
  const std::string from = ParseFrom(scope);
  const std::size_t afterFrom = position_;
  position_ = listAt;
  std::vector<SelectItem> items = ParseSelectList(scope);
  if (!AtWord("FROM")) Fail("\",\" or FROM expected");
  position_ = afterFrom;
  NameItems(scope, items);

  std::string where;
  if (TakeWord("WHERE")) {
    const Expression condition = ParseCondition();
    if (condition.aggregate) FailAt(at, "an aggregate cannot stand in WHERE");
    where = " WHERE " + AsCondition(condition);
  }
  std::string tail;
  std::vector<Expression> groups;
  if (TakeWord("GROUP")) {
    ExpectWord("BY");
    for (bool first = true; first || TakeSymbol(","); first = false) {
      groups.push_back(ParseExpression());
      tail += (first ? " GROUP BY " : ", ") + GroupTerm(groups.back());
    }
  }
  if (TakeWord("HAVING")) {
    const Expression having = ParseCondition();
    CheckGrouping({SelectItem{having, "HAVING", false}}, groups, at);
    tail += " HAVING " + AsCondition(having);
  }
  CheckGrouping(items, groups, at);
  if (TakeWord("ORDER")) {
    ExpectWord("BY");
    for (const SelectItem& item : items) scope.outputs.emplace_back(FoldName(item.name), item.expression);
    for (bool first = true; first || TakeSymbol(","); first = false) {
      const Expression key = ParseExpression();
      CheckGrouping({SelectItem{key, "", false}}, groups, at);
      tail += (first ? " ORDER BY " : ", ") + GroupTerm(key);
      if (TakeWord("DESC"))
        tail += " DESC";
      else
        TakeWord("ASC");
    }
  }
  const std::vector<PivotColumn> columns = ParsePivot(from, where);
  const std::size_t afterPivot = position_;

  // The value is read once for each column; its aggregates look at the rows of that column alone.
  for (const PivotColumn& column : columns) {
    position_ = valueAt;
    filter_ = column.sql;
    SelectItem cell;
    cell.expression = ParseExpression();
    filter_.clear();
    if (TakeWord("AS")) TakeName("name of the value");
    if (!AtWord("SELECT")) Fail("SELECT expected");
    if (!cell.expression.aggregate) FailAt(at, "the value of a crosstab must be an aggregate");
    CheckGrouping({cell}, groups, at);
    cell.name = column.name;
    cell.expression.sql = "(CASE WHEN COUNT(*)" + column.sql + " > 0 THEN " + AsValue(cell.expression) + " END)";
    if (cell.expression.condition) cell.expression.type.type = ColumnType::kBoolean;
    cell.expression.condition = false;
    cell.expression.source = -1;
    items.push_back(std::move(cell));
    RequireShort(items.back().expression.sql);
  }
  if (columns.empty()) {  // what is wrong with the value, and its parameters, show all the same
    position_ = valueAt;
    (void)ParseExpression();
  }
  position_ = afterPivot;
  if (items.size() > kMostColumns)
    throw Error(ErrorCode::kLimit, "a query has at most 255 columns (at character " + std::to_string(at.position) + ")");

  SelectPlan plan;
  std::string list;
  for (std::size_t i = 0; i < items.size(); ++i) {
    const Expression& e = items[i].expression;
    ResultColumn column;
    column.name = items[i].name;
    column.type = e.type;
    column.type.autoNumber = false;
    if (e.condition) column.type.type = ColumnType::kBoolean;
    list += (i > 0 ? ", " : "") + Collated(e) + " AS c" + std::to_string(i);
    plan.columns.push_back(std::move(column));
  }
  RequireShort(list);
  plan.sql = "SELECT " + list + " FROM " + from + where + tail;
  scope_ = before;
  return plan;
}

}  // namespace jet::sql

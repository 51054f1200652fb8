// TRANSFORM: one column for each value of an expression.
#include <algorithm>

#include "jet/sql/Names.h"
#include "jet/sql/bind/Binder.h"
#include "jet/sql/bind/Coercion.h"
#include "jet/sql/bind/Limits.h"
#include "jet/sql/parse/Tokenizer.h"

namespace jet::sql {

using bound::Form;
using bound::NodePointer;

namespace {

NodePointer Real(double number) { return MakeNumber(Form::kReal, number); }
NodePointer Whole(std::int32_t number) {
  NodePointer whole = MakeNumber(Form::kWhole, number);
  return number < 0 ? whole : MakeNode(Form::kParentheses, {std::move(whole)});
}

NodePointer Literal(const Value& value) {
  switch (value.Type()) {
    case ValueType::kNull:
      return MakeNode(Form::kNull, {});
    case ValueType::kBool:
      return MakeNode(value.AsBool() ? Form::kTrue : Form::kFalse, {});
    case ValueType::kByte:
      return MakeNumber(Form::kWhole, value.AsByte());
    case ValueType::kInteger:
      return Whole(value.AsInteger());
    case ValueType::kLong:
      return Whole(value.AsLong());
    case ValueType::kCurrency:
      return Real(static_cast<double>(value.AsCurrency().scaled) / 10000);
    case ValueType::kSingle:
      return Real(value.AsSingle());
    case ValueType::kDouble:
      return Real(value.AsDouble());
    case ValueType::kDate:
      return Real(value.AsDate().serial);
    case ValueType::kText:
      return MakeText(std::string(value.AsText()));
    case ValueType::kGuid:
      return MakeText(value.AsGuid().Text());
    case ValueType::kNumeric:
      return Real(value.AsNumeric().ToDouble());
    case ValueType::kBytes:
      break;
  }
  throw Error(ErrorCode::kUnsupported, "the columns of a crosstab cannot be binary values");
}

// The name that Access gives to the column of a value.
std::string HeadingOf(const Value& value, const TextSettings& settings) {
  if (value.IsNull()) return "<>";
  TypeInfo text;
  text.type = ColumnType::kText;
  std::string name = Coerced(value, text, settings).AsText();
  std::replace(name.begin(), name.end(), '.', '_');
  return name;
}

}  // namespace

struct Binder::Pivot {
  Expression expression;
  NodePointer value;
  syntax::Spot at;
  std::vector<PivotColumn> columns;
};

void Binder::AddHeading(Pivot& pivot, const Value& heading) const {
  const std::string text = HeadingOf(heading, around_.settings);
  NodePointer value = pivot.expression.source >= 0 ? pivot.value : MakeNode(Form::kParentheses, {pivot.value});
  pivot.columns.push_back({MakeNode(Form::kIs, {std::move(value), Literal(heading)}),
                           text.empty() ? "Expr" + std::to_string(1000 + pivot.columns.size()) : text});
  if (pivot.columns.size() > kMostColumns) throw TooMany("the crosstab has more than 255 columns", pivot.at.position);
}

// The columns are those of the list behind PIVOT, or those that the rows have.
std::vector<Binder::PivotColumn> Binder::PivotColumns(const syntax::Crosstab& crosstab, const bound::Select& select) {
  Pivot pivot{Bind(crosstab.pivot.expression), nullptr, crosstab.pivot.at, {}};
  const Expression& expression = pivot.expression;
  if (expression.aggregate) FailAt(pivot.at, "an aggregate cannot stand in PIVOT");
  pivot.value = Collated(expression);
  for (const syntax::Expression& heading : crosstab.headings) {
    const Expression value = Bind(heading);
    CheckComparable(expression, value, pivot.at);
    if (!parameters_.collecting) AddHeading(pivot, ValueOf(value));
  }
  if (crosstab.listed || parameters_.collecting) return std::move(pivot.columns);
  TypeInfo type = expression.type;
  if (expression.condition) type.type = ColumnType::kBoolean;
  bound::Select values;
  values.distinct = true;
  values.items.push_back({pivot.value, "c0"});
  values.from = select.from;
  values.where = select.where;
  values.order.push_back({MakeNumber(Form::kWhole, 1), false, 0});
  for (const auto& row : around_.evaluate(Constant(std::move(values), type), kMostColumns + 1)) AddHeading(pivot, row.at(0));
  return std::move(pivot.columns);
}

BoundRows Binder::Constant(bound::Select select, const TypeInfo& type) const {
  BoundRows rows;
  ResultColumn column;
  column.type = type;
  rows.plan.columns.push_back(std::move(column));
  rows.plan.reads = reads_;
  rows.plan.parameters = std::make_shared<const std::vector<Value>>(parameters_.Values());
  rows.query = Finished(std::move(select));
  return rows;
}

// Of an expression without columns.
Value Binder::ValueOf(const Expression& expression) const {
  bound::Select select;
  select.items.push_back({AsValue(expression), {}});
  return around_.evaluate(Constant(std::move(select), expression.type), 1).at(0).at(0);
}

// The value is bound once for each column; its aggregates look at the rows of that column alone.
Binder::SelectItem Binder::Cell(const syntax::Crosstab& crosstab, const PivotColumn& column, const std::vector<Expression>& groups) {
  SelectItem cell;
  filter_ = column.filter;
  cell.expression = Bind(crosstab.value);
  Expression& e = cell.expression;
  if (!e.aggregate) FailAt(crosstab.at, "the value of a crosstab must be an aggregate");
  CheckGrouping(cell, groups, crosstab.at);
  cell.name = column.name;
  NodePointer any = MakeNode(Form::kAboveZero, {AggregateNode("COUNT", {})});
  e.node = MakeNode(Form::kCase, {std::move(any), AsValue(e)});
  filter_ = nullptr;
  if (e.condition) e.type.type = ColumnType::kBoolean;
  e.condition = false;
  e.source = -1;
  RequireShort(e);
  return cell;
}

BoundRows Binder::BindCrosstab(const syntax::Crosstab& crosstab) {
  Scope scope;
  scope.parent = scope_;
  const ScopeGuard guard(scope_, &scope);
  bound::Select select;
  select.from = BindFrom(crosstab.from, scope);
  std::vector<SelectItem> items = BindList(crosstab.list, scope);
  NameItems(scope, items);
  const std::vector<Expression> groups = BindHeads(crosstab, scope, items, select);
  const std::vector<PivotColumn> columns = PivotColumns(crosstab, select);
  for (const PivotColumn& column : columns) items.push_back(Cell(crosstab, column, groups));
  // What is wrong with the value, and its parameters, show all the same.
  if (columns.empty()) (void)Bind(crosstab.value);
  if (items.size() > kMostColumns) throw TooMany("a query has at most 255 columns", crosstab.at.position);

  BoundRows rows;
  for (const SelectItem& item : items) {
    const Expression& e = item.expression;
    ResultColumn column;
    column.name = item.name;
    column.type = e.type;
    column.type.autoNumber = false;
    if (e.condition) column.type.type = ColumnType::kBoolean;
    select.items.push_back({Collated(e), "c" + std::to_string(rows.plan.columns.size())});
    rows.plan.columns.push_back(std::move(column));
  }
  rows.query = Finished(std::move(select));
  if (rows.query->weight > kLongest) throw UnsupportedError("the statement becomes too long", here_);
  return rows;
}

// What stands at the head of each row: WHERE, GROUP BY, HAVING and ORDER BY.
std::vector<Expression> Binder::BindHeads(const syntax::Crosstab& crosstab, Scope& scope, const std::vector<SelectItem>& items,
                                          bound::Select& select) {
  if (crosstab.where) {
    const Expression where = BindCondition(*crosstab.where);
    if (where.aggregate) FailAt(crosstab.at, "an aggregate cannot stand in WHERE");
    select.where = where.node;
  }
  std::vector<Expression> groups;
  for (const syntax::Expression& group : crosstab.groups) {
    groups.push_back(Bind(group));
    select.groups.push_back(GroupTerm(groups.back()));
  }
  if (crosstab.having) {
    const Expression having = BindCondition(*crosstab.having);
    CheckGrouping({having, "HAVING", false}, groups, crosstab.at);
    select.having = having.node;
  }
  for (const SelectItem& item : items) CheckGrouping(item, groups, crosstab.at);
  if (crosstab.order.empty()) return groups;
  for (const SelectItem& item : items) scope.outputs.emplace_back(FoldName(item.name), item.expression);
  for (const syntax::OrderKey& order : crosstab.order) {
    const Expression key = Bind(order.expression);
    CheckGrouping({key, "", false}, groups, crosstab.at);
    select.order.push_back({GroupTerm(key), order.descending, 0});
  }
  return groups;
}

}  // namespace jet::sql

// Comparisons and the other conditions: LIKE, BETWEEN, IN, ALL and ANY, EXISTS.
#include "jet/sql/bind/Binder.h"
#include "jet/sql/bind/Coercion.h"

namespace jet::sql {

using bound::Form;
using bound::NodePointer;
using syntax::Operator;

namespace {

Form FormOf(Operator op) {
  switch (op) {
    case Operator::kLess:
      return Form::kLess;
    case Operator::kGreater:
      return Form::kGreater;
    case Operator::kAtMost:
      return Form::kAtMost;
    case Operator::kAtLeast:
      return Form::kAtLeast;
    case Operator::kDiffers:
      return Form::kDiffers;
    default:
      return Form::kEqual;
  }
}

bool IsMeasure(ColumnType type) { return IsNumber(type) || type == ColumnType::kBoolean || type == ColumnType::kDate; }

NodePointer QueryNode(Form form, std::vector<NodePointer> parts, const BoundRows& rows, std::string text = {}) {
  NodePointer node = MakeNode(form, std::move(parts), std::move(text));
  node->query = rows.query;
  node->weight += rows.query->weight;
  return node;
}

Expression ColumnOfQuery(const BoundRows& rows) {
  Expression column;
  column.type.type = rows.plan.columns[0].type.type;
  return column;
}

}  // namespace

Expression Binder::BindCondition(const syntax::Condition& condition) {
  Expression e = Bind(condition.expression);
  if (IsText(e.type.type))
    throw Error(ErrorCode::kTypeMismatch, "a text is no condition (at character " + std::to_string(condition.at.position) + ")");
  return e;
}

void Binder::CheckComparable(const Expression& left, const Expression& right, const syntax::Spot& at) const {
  const ColumnType a = left.type.type;
  const ColumnType b = right.type.type;
  const bool mismatch = (IsText(a) && IsMeasure(b)) || (IsMeasure(a) && IsText(b));
  const bool guidWithNumber = (a == ColumnType::kGuid && IsMeasure(b)) || (IsMeasure(a) && b == ColumnType::kGuid);
  if (!mismatch && !guidWithNumber) return;
  throw Error(ErrorCode::kTypeMismatch, "a text is compared with a number or date (at character " + std::to_string(at.position) + ")");
}

Expression Binder::Compared(Expression left, const syntax::Link& link) {
  Expression right = Bind(link.operands[0]);
  AdaptParameter(left, right);
  AdaptParameter(right, left);
  CheckComparable(left, right, link.at);
  const ColumnType a = left.type.type;
  const ColumnType b = right.type.type;
  const bool texts = IsText(a) || IsText(b) || a == kNoType || b == kNoType;
  const bool collated = texts && left.source < 0 && !IsNumber(b) && !left.condition;
  // A condition compared with a truth value stays in Access' terms on both sides.
  NodePointer on = collated ? MakeNode(Form::kCollated, {left.node}) : AsValue(left);
  return MadeCondition(MakeNode(FormOf(link.op), {std::move(on), AsValue(right)}), {&left, &right});
}

Expression Binder::Quantified(Expression left, const syntax::Link& link) {
  const BoundRows rows = BindQuery(*link.query, false);
  here_ = link.after;
  const bool all = link.quantifier == syntax::Quantifier::kAll;
  const char* const word = all ? "ALL" : link.quantifier == syntax::Quantifier::kAny ? "ANY" : "SOME";
  if (rows.plan.columns.size() != 1) FailAt(link.at, std::string("the subquery of ") + word + " must have one column");
  CheckComparable(left, ColumnOfQuery(rows), link.at);
  std::string alias = NewAlias("q");
  NodePointer column = MakeNode(Form::kOuterColumn, {}, alias + ".c0");
  NodePointer test = MakeNode(FormOf(link.op), {Collated(left), std::move(column)});
  return MadeCondition(QueryNode(all ? Form::kAllOf : Form::kAnyOf, {std::move(test)}, rows, std::move(alias)), {&left});
}

Expression Binder::Like(Expression left, const syntax::Link& link) {
  Expression pattern = Bind(link.operands[0]);
  const char* const function = link.op == Operator::kLike ? "jet_like" : "jet_alike";
  NodePointer call = MakeCall(function, {AsText(left), AsText(pattern)});
  return MadeCondition(MakeNode(link.negated ? Form::kNot : Form::kParentheses, {std::move(call)}), {&left, &pattern});
}

Expression Binder::Between(Expression left, const syntax::Link& link) {
  Expression low = Bind(link.operands[0]);
  Expression high = Bind(link.operands[1]);
  AdaptParameter(left, low);
  AdaptParameter(low, left);
  AdaptParameter(high, left);
  CheckComparable(left, low, link.at);
  CheckComparable(left, high, link.at);
  const Form form = link.negated ? Form::kNotBetween : Form::kBetween;
  return MadeCondition(MakeNode(form, {Collated(left), AsValue(low), AsValue(high)}), {&left, &low, &high});
}

Expression Binder::InQuery(Expression left, const syntax::Link& link) {
  const BoundRows rows = BindQuery(*link.query, false);
  here_ = link.after;
  if (rows.plan.columns.size() != 1) FailAt(link.at, "the subquery of IN must have one column");
  CheckComparable(left, ColumnOfQuery(rows), link.at);
  return MadeCondition(QueryNode(link.negated ? Form::kNotIn : Form::kIn, {Collated(left)}, rows), {&left});
}

Expression Binder::In(Expression left, const syntax::Link& link) {
  Expression made = MadeCondition(MakeNode(link.negated ? Form::kNotIn : Form::kIn, {Collated(left)}), {&left});
  const int nesting = made.nesting;
  for (const syntax::Expression& operand : link.operands) {
    Expression item = Bind(operand);
    AdaptParameter(item, left);
    CheckComparable(left, item, link.at);
    made = Extended(std::move(made), AsValue(item), item);
  }
  made.nesting = nesting;
  made.operands = 0;
  return made;
}

Expression Binder::Of(const syntax::Exists& exists) {
  const BoundRows rows = BindQuery(*exists.query, false);
  return MadeCondition(QueryNode(Form::kExists, {}, rows), {});
}

Expression Binder::Of(const syntax::Subquery& subquery) {
  const BoundRows rows = BindQuery(*subquery.query, false);
  if (rows.plan.columns.size() != 1) FailAt(subquery.at, "a subquery used as a value must have one column");
  return SingleValue(rows);
}

Expression Binder::SingleValue(const BoundRows& rows) const {
  Expression made = Made(QueryNode(rows.plan.singleRow ? Form::kOneRow : Form::kOnlyRow, {}, rows), rows.plan.columns[0].type.type, {});
  made.type = rows.plan.columns[0].type;
  return made;
}

}  // namespace jet::sql

// Operators: what they mean for the types on their sides.
#include <algorithm>

#include "jet/sql/bind/Binder.h"
#include "jet/sql/bind/Coercion.h"
#include "jet/sql/bind/Limits.h"
#include "jet/sql/parse/Tokenizer.h"

namespace jet::sql {

using bound::Form;
using bound::NodePointer;
using syntax::Operator;

namespace {

// SQLite's parser keeps at most 100 things in mind at a time: what is nested more deeply it can never read.
constexpr int kDeepestSql = 100;
// From this many levels on the operands of one operator stand side by side. Shorter ones stay nested, so that a grouped expression is
// found again as the beginning of a longer one.
constexpr int kSideBySide = 8;
constexpr int kMostOperands = 100;  // of one call that joins texts; SQLite takes 127

bool IsWhole(ColumnType type) {
  return type == ColumnType::kByte || type == ColumnType::kInteger || type == ColumnType::kLong || type == ColumnType::kBoolean;
}
bool IsLogical(const Expression& e) { return e.condition || e.type.type == ColumnType::kBoolean || e.type.type == kNoType; }

Error Mismatch(const std::string& what, const syntax::Spot& at) {
  return {ErrorCode::kTypeMismatch, what + " (at character " + std::to_string(at.position) + ")"};
}

const char* NameOf(Operator op) {
  switch (op) {
    case Operator::kImp:
      return "IMP";
    case Operator::kEqv:
      return "EQV";
    case Operator::kXor:
      return "XOR";
    case Operator::kOr:
      return "OR";
    default:
      return "AND";
  }
}

char SignOf(Operator op) { return op == Operator::kAdd ? '+' : op == Operator::kSubtract ? '-' : '*'; }

}  // namespace

void Binder::RequireShort(const Expression& expression) const {
  if (expression.node->weight > kLongest) throw UnsupportedError("the statement becomes too long", here_);
}

void Binder::Absorb(Expression& made, const Expression& part) {
  made.aggregate = made.aggregate || part.aggregate;
  made.nesting = std::max(made.nesting, part.nesting + 1);
}

Expression Binder::Made(NodePointer node, ColumnType type, std::initializer_list<const Expression*> parts) const {
  Expression made;
  made.node = std::move(node);
  made.type.type = type;
  RequireShort(made);
  for (const Expression* part : parts) Absorb(made, *part);
  if (made.nesting > kDeepestSql) throw UnsupportedError("expression nested too deeply", here_);
  return made;
}

Expression Binder::MadeCondition(NodePointer node, std::initializer_list<const Expression*> parts) const {
  Expression made = Made(std::move(node), ColumnType::kBoolean, parts);
  made.condition = true;
  return made;
}

Expression Binder::Extended(Expression left, NodePointer part, const Expression& right, char sign) const {
  if (left.node.use_count() > 1) left.node = std::make_shared<bound::Node>(*left.node);
  bound::Node& node = *left.node;
  node.weight += part->weight + 2;
  node.parts.push_back(std::move(part));
  if (sign != 0) node.text += sign;
  RequireShort(left);
  Absorb(left, right);
  ++left.operands;
  return left;
}

Expression Binder::Of(const std::unique_ptr<syntax::Chain>& chain) {
  Expression left = Bind(*chain->first);
  for (const syntax::Link& link : chain->links) {
    left = Linked(std::move(left), link);
    here_ = link.after;
  }
  return left;
}

Expression Binder::Linked(Expression left, const syntax::Link& link) {
  switch (link.op) {
    case Operator::kImp:
    case Operator::kEqv:
    case Operator::kXor:
    case Operator::kOr:
    case Operator::kAnd:
      return Logical(std::move(left), link);
    case Operator::kIsNull:
      here_ = link.after;
      return MadeCondition(MakeNode(link.negated ? Form::kIsNotNull : Form::kIsNull, {AsValue(left)}), {&left});
    case Operator::kLike:
    case Operator::kALike:
      return Like(std::move(left), link);
    case Operator::kBetween:
      return Between(std::move(left), link);
    case Operator::kIn:
      return link.query != nullptr ? InQuery(std::move(left), link) : In(std::move(left), link);
    case Operator::kConcatenate:
      return Concatenated(std::move(left), link);
    case Operator::kAdd:
    case Operator::kSubtract:
    case Operator::kMultiply:
      return Arithmetic(std::move(left), link);
    case Operator::kModulo:
    case Operator::kDivideWhole:
    case Operator::kDivide:
    case Operator::kPower:
      return NumberCall(std::move(left), link);
    default:
      return link.query != nullptr ? Quantified(std::move(left), link) : Compared(std::move(left), link);
  }
}

// Between numbers the logical operators work bit by bit.
Expression Binder::Bitwise(Expression left, Expression right, const syntax::Link& link) {
  if (IsText(left.type.type) || IsText(right.type.type)) throw Mismatch(std::string(NameOf(link.op)) + " of a text", link.at);
  const NodePointer a = MakeCall("jet_clng", {AsValue(left)});
  const NodePointer b = MakeCall("jet_clng", {AsValue(right)});
  const auto exclusive = [&] {
    NodePointer both = MakeNode(Form::kComplement, {MakeNode(Form::kBitAnd, {a, b})});
    return MakeNode(Form::kBitAnd, {MakeNode(Form::kBitOr, {a, b}), std::move(both)});
  };
  NodePointer node;
  switch (link.op) {
    case Operator::kAnd:
      node = MakeNode(Form::kBitAnd, {a, b});
      break;
    case Operator::kOr:
      node = MakeNode(Form::kBitOr, {a, b});
      break;
    case Operator::kXor:
      node = exclusive();
      break;
    case Operator::kEqv:
      node = MakeNode(Form::kBitNot, {exclusive()});
      break;
    default:
      node = MakeNode(Form::kBitOr, {MakeNode(Form::kComplement, {a}), b});
      break;
  }
  return Made(std::move(node), ColumnType::kLong, {&left, &right});
}

Expression Binder::Logical(Expression left, const syntax::Link& link) {
  Expression right = Bind(link.operands[0]);
  if (!IsLogical(left) || !IsLogical(right)) return Bitwise(std::move(left), std::move(right), link);
  if (link.op == Operator::kAnd || link.op == Operator::kOr) {
    const char chain = link.op == Operator::kAnd ? 'A' : 'O';
    if (left.chain == chain && left.nesting >= kSideBySide) return Extended(std::move(left), right.node, right);
    Expression made = MadeCondition(MakeNode(chain == 'A' ? Form::kAnd : Form::kOr, {left.node, right.node}), {&left, &right});
    made.chain = chain;
    return made;
  }
  const auto no = [](const Expression& e) { return MakeNode(Form::kNot, {e.node}); };
  NodePointer node = link.op == Operator::kXor   ? MakeNode(Form::kDiffers, {no(left), no(right)})
                     : link.op == Operator::kEqv ? MakeNode(Form::kEqual, {no(left), no(right)})
                                                 : MakeNode(Form::kOr, {no(left), right.node});
  return MadeCondition(std::move(node), {&left, &right});
}

Expression Binder::Of(const syntax::Negation& negation) {
  Expression inner = Bind(*negation.operand);
  if (IsLogical(inner)) return MadeCondition(MakeNode(Form::kNot, {inner.node}), {&inner});
  if (IsText(inner.type.type)) throw Mismatch("NOT of a text", negation.at);
  return Made(MakeNode(Form::kBitNot, {MakeCall("jet_clng", {AsValue(inner)})}), ColumnType::kLong, {&inner});
}

Expression Binder::Of(const syntax::Minus& minus) {
  Expression inner = Bind(*minus.operand);
  ColumnType type = inner.type.type;
  if (type == ColumnType::kBoolean || type == ColumnType::kByte) type = ColumnType::kInteger;
  if (!IsNumber(type) && type != ColumnType::kDate) type = ColumnType::kDouble;
  Expression made = Made(MakeNode(Form::kMinus, {AsNumber(inner)}), type, {&inner});
  made.type.precision = inner.type.precision;
  made.type.scale = inner.type.scale;
  return made;
}

Expression Binder::Concatenated(Expression left, const syntax::Link& link) {
  const Expression right = Bind(link.operands[0]);
  if (left.chain == '&' && left.nesting >= kSideBySide && left.operands < kMostOperands)
    return Extended(std::move(left), AsText(right), right);
  Expression made = Made(MakeCall("jet_concat", {AsText(left), AsText(right)}), ColumnType::kText, {&left, &right});
  made.type.size = 255;
  made.chain = '&';
  made.operands = 2;
  return made;
}

Expression Binder::NumberCall(Expression left, const syntax::Link& link) {
  const Expression right = Bind(link.operands[0]);
  const bool whole = link.op == Operator::kModulo || link.op == Operator::kDivideWhole;
  const char* function = link.op == Operator::kModulo        ? "jet_mod"
                         : link.op == Operator::kDivideWhole ? "jet_idiv"
                         : link.op == Operator::kDivide      ? "jet_div"
                                                             : "jet_pow";
  return Made(MakeCall(function, {AsNumber(left), AsNumber(right)}), whole ? ColumnType::kLong : ColumnType::kDouble, {&left, &right});
}

Expression Binder::JoinedTexts(Expression left, const Expression& right) const {
  if (left.chain == '|' && left.nesting >= kSideBySide) return Extended(std::move(left), right.node, right);
  Expression made = Made(MakeNode(Form::kTextJoin, {left.node, right.node}), ColumnType::kText, {&left, &right});
  made.type.size = 255;
  made.chain = '|';
  return made;
}

namespace {

ColumnType ArithmeticType(Operator op, ColumnType a, ColumnType b) {
  if (a == ColumnType::kDate || b == ColumnType::kDate) {
    const bool span = op == Operator::kSubtract && a == b;
    return span || op == Operator::kMultiply ? ColumnType::kDouble : ColumnType::kDate;
  }
  if ((a == ColumnType::kCurrency || b == ColumnType::kCurrency) && a != ColumnType::kDouble && b != ColumnType::kDouble)
    return ColumnType::kCurrency;
  return IsWhole(a) && IsWhole(b) ? ColumnType::kLong : ColumnType::kDouble;
}

}  // namespace

Expression Binder::Arithmetic(Expression left, const syntax::Link& link) {
  const Expression right = Bind(link.operands[0]);
  const bool product = link.op == Operator::kMultiply;
  // A written number with up to four decimals is an amount where it is added to one.
  const auto typeOf = [&](const Expression& e, const Expression& other) {
    return e.amountLiteral && !product && other.type.type == ColumnType::kCurrency ? ColumnType::kCurrency : e.type.type;
  };
  const ColumnType a = typeOf(left, right);
  const ColumnType b = typeOf(right, left);
  if (link.op == Operator::kAdd && IsText(a) && IsText(b)) return JoinedTexts(std::move(left), right);
  const ColumnType type = ArithmeticType(link.op, a, b);
  if (link.op == Operator::kAdd && (IsText(a) || IsText(b) || (a == kNoType && b == kNoType)))
    return Made(MakeCall("jet_add", {AsValue(left), AsValue(right)}), type, {&left, &right});
  // Amounts are exact: what their doubles are off is taken away where they are added, and where they are multiplied by whole numbers.
  const bool amount = type == ColumnType::kCurrency && (!product || ((a == type || IsWhole(a)) && (b == type || IsWhole(b))));
  const char chain = product ? '*' : amount ? '$' : '+';
  const char sign = SignOf(link.op);
  const bool joins = left.chain == chain && left.type.type == type && left.nesting >= kSideBySide && !(amount && product);
  if (joins) return Extended(std::move(left), AsNumber(right), right, sign);
  Expression made = Made(MakeNode(amount ? Form::kAmount : Form::kArithmetic, {AsNumber(left), AsNumber(right)}, std::string(1, sign)),
                         type, {&left, &right});
  if (!(amount && product)) made.chain = chain;
  return made;
}

}  // namespace jet::sql

#include "jet/sql/bind/Expression.h"

#include "jet/sql/bind/Coercion.h"

namespace jet::sql {

using bound::Form;
using bound::NodePointer;

namespace {

// To SQLite such a term would be the position of a column.
bool IsWholeConstant(const bound::Node& node) {
  switch (node.form) {
    case Form::kWhole:
    case Form::kTrue:
    case Form::kFalse:
      return true;
    case Form::kMinus:
    case Form::kParentheses:
      return IsWholeConstant(*node.parts[0]);
    default:
      return false;
  }
}

}  // namespace

NodePointer MakeNode(Form form, std::vector<NodePointer> parts, std::string text) {
  constexpr std::size_t kAround = 2;  // blanks and brackets, about
  auto node = std::make_shared<bound::Node>();
  node->form = form;
  node->weight = text.size() + kAround;
  for (const NodePointer& part : parts) node->weight += part->weight + kAround;
  node->text = std::move(text);
  node->parts = std::move(parts);
  return node;
}

NodePointer MakeNumber(Form form, double number) {
  NodePointer node = MakeNode(form, {});
  node->number = number;
  return node;
}

NodePointer AsValue(const Expression& e) { return e.condition ? MakeNode(Form::kTruth, {e.node}) : e.node; }

NodePointer AsNumber(const Expression& e) {
  const ColumnType type = e.type.type;
  if (IsNumber(type) || type == ColumnType::kBoolean || type == ColumnType::kDate) return AsValue(e);
  return MakeCall("jet_number", {e.node});
}

NodePointer AsText(const Expression& e) {
  if (IsText(e.type.type)) return e.node;
  if (e.type.type == ColumnType::kDate) return MakeCall("jet_datetext", {e.node});
  if (e.type.type == ColumnType::kSingle) return MakeCall("jet_singletext", {e.node});
  return MakeCall("jet_text", {AsValue(e)});
}

NodePointer Collated(const Expression& e) {
  const bool textLike = IsText(e.type.type) || e.type.type == kNoType;
  return textLike && e.source < 0 ? MakeNode(Form::kCollated, {e.node}) : AsValue(e);
}

NodePointer GroupTerm(const Expression& e) {
  NodePointer term = Collated(e);
  if (!IsWholeConstant(*term)) return term;
  return MakeNode(Form::kArithmetic, {std::move(term), MakeNumber(Form::kWhole, 0)}, "+");
}

}  // namespace jet::sql

// Whether what stands beside aggregates is grouped.
#include <algorithm>

#include "jet/sql/bind/Binder.h"

namespace jet::sql {

namespace {

// Constants, groups, aggregates, and what is made of these.
bool IsGrouped(const bound::Node& node, const std::vector<Expression>& groups) {
  if (node.form == bound::Form::kAggregate) return true;
  if (std::any_of(groups.begin(), groups.end(), [&](const Expression& group) { return IsSame(*group.node, node); })) return true;
  if (node.form == bound::Form::kColumn) return false;
  return std::all_of(node.parts.begin(), node.parts.end(), [&](const bound::NodePointer& part) { return IsGrouped(*part, groups); });
}

}  // namespace

void Binder::CheckGrouping(const SelectItem& item, const std::vector<Expression>& groups, const syntax::Spot& at) const {
  if (IsGrouped(*item.expression.node, groups)) return;
  FailAt(at, "\"" + (item.name.empty() ? item.expression.name : item.name) + "\" is neither grouped nor part of an aggregate");
}

}  // namespace jet::sql

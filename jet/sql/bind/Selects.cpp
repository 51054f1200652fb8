// SELECT with its clauses.
#include <algorithm>
#include <map>
#include <set>

#include "jet/sql/Names.h"
#include "jet/sql/bind/Binder.h"
#include "jet/sql/bind/Limits.h"

namespace jet::sql {

using bound::Cut;
using bound::Form;
using bound::NodePointer;

/// One SELECT while it is bound.
struct Binder::Selection {
  const syntax::Select& select;
  bool outermost;
  Scope scope;
  std::vector<SelectItem> items;
  std::vector<Expression> groups;
  bool aggregated = false;     ///< the rows are groups
  bool rowsOfSources = false;  ///< the rows are rows of the sources
  SelectPlan plan;
  bound::Select result;

  [[nodiscard]] bool GivesIdentities() const { return rowsOfSources && outermost && !select.distinctRow; }
  [[nodiscard]] bool HasTies() const { return select.top && !select.percent && outermost; }
};

BoundRows Binder::BindSelect(const syntax::Select& select, bool outermost) {
  Selection selection{select, outermost, {}, {}, {}, false, false, {}, {}};
  Scope& scope = selection.scope;
  scope.parent = scope_;
  const ScopeGuard guard(scope_, &scope);
  selection.result.from = BindFrom(select.from, scope);
  selection.items = BindList(select.list, scope);
  if (select.into) into_ = select.into;
  NameItems(scope, selection.items);
  BindClauses(selection);
  BindResult(selection);
  KeepDistinctRows(selection);
  BindOrder(selection);

  SelectPlan& plan = selection.plan;
  if (selection.GivesIdentities()) {
    AddIdentities(scope, plan, selection.result.items);
  } else {
    for (ResultColumn& column : plan.columns) column.source = -1;
  }
  plan.singleRow = (selection.aggregated && select.groups.empty()) || select.from.empty();
  CutRows(selection);
  return {std::move(plan), Finished(std::move(selection.result))};
}

// WHERE, GROUP BY and HAVING, and whether the columns go with them.
void Binder::BindClauses(Selection& selection) {
  const syntax::Select& select = selection.select;
  bound::Select& result = selection.result;
  if (select.where) {
    const Expression where = BindCondition(*select.where);
    if (where.aggregate) FailAt(select.where->at, "an aggregate cannot stand in WHERE");
    result.where = where.node;
  }
  for (const syntax::Expression& group : select.groups) {
    selection.groups.push_back(Bind(group));
    result.groups.push_back(GroupTerm(selection.groups.back()));
  }
  const auto holdsAggregate = [](const SelectItem& item) { return item.expression.aggregate; };
  selection.aggregated = !select.groups.empty() || std::any_of(selection.items.begin(), selection.items.end(), holdsAggregate);
  if (select.having) {
    const Expression having = BindCondition(*select.having);
    CheckGrouping({having, "HAVING", false}, selection.groups, select.having->at);
    // Without an aggregate in the list SQLite wants a group to have a condition on.
    result.oneGroup = !selection.aggregated;
    selection.aggregated = true;
    result.having = having.node;
  }
  if (!selection.aggregated) return;
  for (const SelectItem& item : selection.items) CheckGrouping(item, selection.groups, select.at);
}

void Binder::BindResult(Selection& selection) const {
  const Scope& scope = selection.scope;
  selection.rowsOfSources = !selection.aggregated && !selection.select.distinct;
  selection.result.distinct = selection.select.distinct;
  const bool mayReadLater = selection.outermost && !selection.select.distinctRow;
  for (const SelectItem& item : selection.items) {
    const Expression& e = item.expression;
    ResultColumn column;
    column.name = item.name;
    column.type = e.type;
    column.parameter = e.parameter;
    if (e.condition) column.type.type = ColumnType::kBoolean;
    const TableInfo* table = selection.rowsOfSources ? scope.TableOf(e) : nullptr;
    if (table != nullptr) {
      column.source = e.source;
      column.column = e.column;
    }
    const bool later = table != nullptr && mayReadLater && IsReadFromRow(e.type.type, *table);
    selection.result.items.push_back(
        {later ? MakeNode(Form::kNull, {}) : Collated(e), "c" + std::to_string(selection.plan.columns.size())});
    selection.plan.columns.push_back(std::move(column));
  }
}

// DISTINCTROW: one row for each combination of rows of the tables that give columns.
void Binder::KeepDistinctRows(Selection& selection) {
  const Scope& scope = selection.scope;
  if (!selection.select.distinctRow || scope.sources.size() <= 1 || !selection.rowsOfSources) return;
  std::set<int> used;
  for (const SelectItem& item : selection.items) {
    if (item.expression.source >= 0) used.insert(item.expression.source);
  }
  if (used.size() >= scope.sources.size()) return;
  std::vector<NodePointer> identities;
  for (const int source : used) {
    const ScopeSource& from = scope.sources[static_cast<std::size_t>(source)];
    if (from.table == nullptr) return;
    identities.push_back(MakeNode(Form::kColumn, {}, from.sqlAlias + scope.identity));
  }
  selection.result.groups = std::move(identities);
}

Expression Binder::OrderKey(const Selection& selection, const syntax::OrderKey& key) {
  if (!key.column) return Bind(key.expression);
  if (*key.column < 1 || *key.column > selection.items.size()) FailAt(key.at, "no such column to order by");
  return selection.items[*key.column - 1].expression;
}

void Binder::BindOrder(Selection& selection) {
  const std::vector<SelectItem>& items = selection.items;
  if (selection.select.order.empty()) return;
  for (const SelectItem& item : items) selection.scope.outputs.emplace_back(FoldName(item.name), item.expression);
  for (const syntax::OrderKey& order : selection.select.order) {
    const Expression key = OrderKey(selection, order);
    std::size_t same = 0;
    while (same < items.size() && !IsSame(*items[same].expression.node, *key.node)) ++same;
    const bool isNew = same == items.size();
    if (isNew && selection.select.distinct) FailAt(order.at, "with DISTINCT the order must be by columns of the list");
    if (isNew && selection.aggregated) CheckGrouping({key, "", false}, selection.groups, order.at);
    selection.result.order.push_back({GroupTerm(key), order.descending, same});
    if (!selection.HasTies()) continue;
    if (isNew || IsReadFromRow(key.type.type, {})) {
      same = selection.result.items.size();
      selection.result.items.push_back({Collated(key), "k" + std::to_string(same)});
    }
    selection.plan.tieColumns.push_back(same);
  }
}

// TOP, and whether the rows are simply those of a table.
void Binder::CutRows(Selection& selection) {
  const syntax::Select& select = selection.select;
  SelectPlan& plan = selection.plan;
  bound::Select& result = selection.result;
  const bool ordered = !select.order.empty();
  const bool share = select.top && select.percent;
  const auto isColumn = [](const ResultColumn& column) { return column.source >= 0; };
  plan.plainScan = selection.GivesIdentities() && !ordered && !select.where && !(share && !ordered) && plan.sources.size() == 1 &&
                   plan.sources[0].table != nullptr && std::all_of(plan.columns.begin(), plan.columns.end(), isColumn);
  if (!select.top) return;
  result.top = *select.top;
  if (selection.outermost && !share) plan.limit = select.top;
  if (ordered) {
    if (!selection.HasTies()) result.cut = share ? Cut::kRanksShare : Cut::kRanks;
  } else if (share) {
    result.cut = Cut::kShare;
  } else {
    result.cut = Cut::kRows;
    plan.singleRow = plan.singleRow || *select.top <= 1;
  }
}

void Binder::AddIdentities(const Scope& scope, SelectPlan& plan, std::vector<bound::Item>& items) {
  for (const ScopeSource& source : scope.sources) {
    SelectPlan::Source entry;
    entry.table = source.table;
    entry.optional = source.optional;
    if (source.table != nullptr) {
      const std::size_t column = items.size();
      entry.rowIdColumn = static_cast<int>(column);
      items.push_back({MakeNode(Form::kColumn, {}, source.sqlAlias + scope.identity), "r" + std::to_string(column)});
    }
    plan.sources.push_back(std::move(entry));
  }
}

void Binder::AddStar(const Scope& scope, const syntax::SelectItem& star, std::vector<SelectItem>& items) const {
  const bool all = star.kind == syntax::SelectItem::Kind::kAll;
  bool found = false;
  for (std::size_t source = 0; source < scope.sources.size() && (all || !found); ++source) {
    const ScopeSource& from = scope.sources[source];
    if (!all && from.folded != star.table) continue;
    found = true;
    for (std::size_t i = 0; i < from.columns.size(); ++i) items.push_back({ColumnOf(scope, source, i), from.columns[i].name, false});
  }
  if (!found && all) FailAt(star.at, "* without FROM");
  if (!found) FailAt(star.at, "no such table in FROM");
}

std::vector<Binder::SelectItem> Binder::BindList(const syntax::SelectList& list, Scope& scope) {
  std::vector<SelectItem> items;
  for (const syntax::SelectItem& from : list.items) {
    if (items.size() > kMostColumns) throw TooMany("a query has at most 255 columns", from.at.position);
    if (from.kind != syntax::SelectItem::Kind::kExpression) {
      AddStar(scope, from, items);
      continue;
    }
    SelectItem item{Bind(from.expression), from.name, !from.name.empty()};
    if (item.named) {
      scope.outputs.emplace_back(FoldName(item.name), item.expression);
    } else {
      item.name = item.expression.name;
    }
    items.push_back(std::move(item));
  }
  if (items.size() > kMostColumns) throw TooMany("a query has at most 255 columns", list.after);
  return items;
}

void Binder::NameItems(const Scope& scope, std::vector<SelectItem>& items) {
  int unnamed = 1000;
  std::map<std::string, int> uses;
  for (const SelectItem& item : items) {
    if (!item.name.empty()) ++uses[FoldName(item.name)];
  }
  for (SelectItem& item : items) {
    if (item.name.empty()) {
      item.name = "Expr" + std::to_string(unnamed++);
    } else if (!item.named && uses[FoldName(item.name)] > 1 && item.expression.source >= 0 && scope.sources.size() > 1) {
      item.name = scope.sources[static_cast<std::size_t>(item.expression.source)].alias + "." + item.name;
    }
  }
}

}  // namespace jet::sql

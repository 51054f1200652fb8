// Queries of any kind, and UNION.
#include "jet/sql/Names.h"
#include "jet/sql/bind/Binder.h"
#include "jet/sql/bind/Coercion.h"

namespace jet::sql {

using bound::Form;

namespace {

std::size_t WeightOf(const bound::Joined& joined);

std::size_t WeightOf(const bound::Source& source) {
  if (source.group != nullptr) return WeightOf(*source.group);
  return source.alias.size() + (source.query != nullptr ? source.query->weight : source.table.size()) + 8;
}

std::size_t WeightOf(const bound::Joined& joined) {
  std::size_t weight = WeightOf(joined.first);
  for (const bound::Join& join : joined.joins) weight += WeightOf(join.right) + join.on->weight + 16;
  return weight;
}

std::size_t WeightOf(const bound::Select& select) {
  std::size_t weight = 32;
  for (const bound::Item& item : select.items) weight += item.value->weight + item.name.size() + 6;
  for (const bound::Joined& joined : select.from) weight += WeightOf(joined);
  for (const bound::NodePointer& group : select.groups) weight += group->weight + 2;
  for (const bound::OrderTerm& term : select.order) weight += term.key->weight + 7;
  if (select.where != nullptr) weight += select.where->weight;
  if (select.having != nullptr) weight += select.having->weight;
  return weight;
}

}  // namespace

bound::QueryPointer Binder::Finished(bound::Select select) {
  const std::size_t weight = WeightOf(select);
  return std::make_shared<const bound::Query>(bound::Query{std::move(select), weight});
}

BoundRows Binder::BindQuery(const syntax::Query& query, bool outermost) {
  // What a crosstab asks of its aggregates is not asked of those inside a subquery.
  struct Unfiltered {
    explicit Unfiltered(bound::NodePointer& filter) : filter_(filter), before_(std::exchange(filter, nullptr)) {}
    ~Unfiltered() { filter_ = std::move(before_); }
    Unfiltered(const Unfiltered&) = delete;
    Unfiltered& operator=(const Unfiltered&) = delete;
    bound::NodePointer& filter_;
    bound::NodePointer before_;
  } const unfiltered(filter_);
  if (const auto* select = std::get_if<syntax::Select>(&query.what)) return BindSelect(*select, outermost);
  if (const auto* crosstab = std::get_if<syntax::Crosstab>(&query.what)) return BindCrosstab(*crosstab);
  return BindUnion(std::get<syntax::Union>(query.what));
}

// Where a text meets a number or date in one column, all become texts.
void Binder::AddUnionPart(bound::Union& united, const BoundRows& part, const std::vector<ResultColumn>& columns, bool all) const {
  std::vector<bound::Item> items;
  bool converted = false;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    Expression column;
    const std::string name = "c" + std::to_string(i);
    column.node = MakeNode(Form::kColumn, {}, name);
    column.type = part.plan.columns[i].type;
    const bool toText = IsText(columns[i].type.type) && column.type.type != kNoType && !IsText(column.type.type);
    converted = converted || toText;
    items.push_back(toText ? bound::Item{MakeNode(Form::kCollated, {AsText(column)}), name} : bound::Item{column.node, {}});
  }
  if (!converted) items.clear();
  united.parts.push_back({all, part.query, std::move(items)});
}

BoundRows Binder::BindUnion(const syntax::Union& united) {
  std::vector<BoundRows> parts;
  std::vector<ResultColumn> columns;
  for (const syntax::UnionPart& part : united.parts) {
    parts.push_back(BindQuery(*part.query, false));
    const std::vector<ResultColumn>& next = parts.back().plan.columns;
    if (parts.size() == 1) {
      columns = next;
      continue;
    }
    if (next.size() != columns.size()) FailAt(part.at, "the parts of a UNION must have the same number of columns");
    for (std::size_t i = 0; i < next.size(); ++i) columns[i].type = CommonType(columns[i].type, next[i].type);
  }
  bound::Query whole{bound::Union{}, 0};
  auto& bound = std::get<bound::Union>(whole.what);
  for (std::size_t i = 0; i < parts.size(); ++i) {
    AddUnionPart(bound, parts[i], columns, united.parts[i].all);
    whole.weight += parts[i].query->weight + 32;
  }
  for (const syntax::UnionKey& key : united.order) {
    std::size_t column = key.column.value_or(0);
    while (!key.column && column < columns.size() && !SameName(columns[column].name, key.name)) ++column;
    if (column >= columns.size()) FailAt(key.at, "no such column in the UNION");
    bound.order.push_back({nullptr, key.descending, column});
  }
  BoundRows rows;
  for (ResultColumn& column : columns) {
    column.source = -1;
    column.parameter = -1;
    column.type.autoNumber = false;
  }
  rows.plan.columns = std::move(columns);
  rows.query = std::make_shared<const bound::Query>(std::move(whole));
  return rows;
}

}  // namespace jet::sql

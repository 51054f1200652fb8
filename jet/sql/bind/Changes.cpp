// INSERT, UPDATE and DELETE.
#include <algorithm>

#include "jet/sql/Names.h"
#include "jet/sql/bind/Binder.h"
#include "jet/sql/parse/Tokenizer.h"

namespace jet::sql {

using bound::Form;

namespace {

std::string ItemName(const SelectPlan& plan) { return "c" + std::to_string(plan.columns.size()); }

}  // namespace

TablePointer Binder::NeedTable(const TableTarget& target, const syntax::Spot& at) {
  TablePointer table = around_.schema.FindTable(target.name, target.file);
  if (table == nullptr) throw NoSuchTable("no table \"" + target.name + "\" (at character " + std::to_string(at.position) + ")");
  return table;
}

void Binder::NameTargets(const syntax::Insert& insert, InsertPlan& plan) const {
  for (const syntax::Name& name : insert.columns) {
    const std::size_t column = PlaceOfColumn(plan.table->columns, name.text, name.upper);
    if (column == plan.table->columns.size())
      throw Error(ErrorCode::kNotFound,
                  "the table has no column \"" + name.text + "\" (at character " + std::to_string(name.spot.position) + ")");
    if (std::find(plan.columns.begin(), plan.columns.end(), column) != plan.columns.end())
      FailAt(name.spot, "the same column stands twice");
    plan.columns.push_back(column);
  }
}

bound::QueryPointer Binder::BindValues(const syntax::Insert& insert, InsertPlan& plan) {
  Scope empty;
  const ScopeGuard guard(scope_, &empty);
  bound::Select select;
  for (const syntax::Expression& expression : insert.values) {
    const Expression value = Bind(expression);
    ResultColumn column;
    column.type = value.type;
    column.parameter = value.parameter;
    select.items.push_back({AsValue(value), ItemName(plan.query)});
    plan.query.columns.push_back(std::move(column));
  }
  return Finished(std::move(select));
}

// Without a list of its columns the table takes those of the query by their names.
void Binder::MatchTargets(const syntax::Insert& insert, InsertPlan& plan) const {
  const std::size_t none = plan.table->columns.size();
  const auto place = [&](const std::string& name) { return PlaceOfColumn(plan.table->columns, name, FoldName(name)); };
  for (const ResultColumn& column : plan.query.columns) {
    const std::size_t dot = column.name.rfind('.');
    std::size_t position = place(column.name);
    if (position == none && dot != std::string::npos) position = place(column.name.substr(dot + 1));
    if (position == none) throw Error(ErrorCode::kNotFound, "the table \"" + plan.table->name + "\" has no column \"" + column.name + "\"");
    if (std::find(plan.columns.begin(), plan.columns.end(), position) != plan.columns.end())
      FailAt(insert.body, "two columns of the query go into the column \"" + column.name + "\"");
    plan.columns.push_back(position);
  }
}

BoundStatement Binder::Of(const syntax::Insert& insert) {
  InsertPlan plan;
  plan.target = insert.target;
  plan.table = NeedTable(plan.target, insert.at);
  if (insert.laterFile) {
    plan.target.file = *insert.laterFile;
    plan.table = NeedTable(plan.target, insert.at);
  }
  NameTargets(insert, plan);
  bound::QueryPointer query;
  if (insert.query == nullptr) {
    query = BindValues(insert, plan);
    for (std::size_t i = 0; insert.columns.empty() && i < plan.table->columns.size(); ++i) plan.columns.push_back(i);
  } else {
    BoundRows rows = BindQuery(*insert.query, true);
    plan.query = std::move(rows.plan);
    query = std::move(rows.query);
    if (insert.columns.empty()) MatchTargets(insert, plan);
  }
  if (plan.columns.size() != plan.query.columns.size()) FailAt(insert.body, "number of values and of columns differ");
  plan.query.reads = reads_;
  return {std::move(plan), std::move(query)};
}

void Binder::BindAssignment(const syntax::Assignment& assignment, const Scope& scope, UpdatePlan& plan, bound::Select& select) {
  const Expression target = NeedColumn(assignment.qualifier, assignment.name);
  if (scope.TableOf(target) == nullptr)
    throw UnsupportedError("this column cannot be updated: it belongs to a query", assignment.at.position);
  const Expression value = Bind(assignment.value);
  if (value.aggregate) FailAt(assignment.at, "an aggregate cannot stand in SET");
  ResultColumn column;
  column.type = value.type;
  column.parameter = value.parameter;
  const TableInfo* from = scope.TableOf(value);
  const bool later = from != nullptr && IsReadFromRow(value.type.type, *from);
  if (later) {
    column.source = value.source;
    column.column = value.column;
  }
  select.items.push_back({later ? MakeNode(Form::kNull, {}) : AsValue(value), ItemName(plan.query)});
  plan.items.push_back({static_cast<std::size_t>(target.source), target.column, plan.query.columns.size()});
  plan.query.columns.push_back(std::move(column));
}

BoundStatement Binder::Of(const syntax::Update& update) {
  UpdatePlan plan;
  bound::Select select;
  Scope scope;
  const ScopeGuard guard(scope_, &scope);
  select.from = BindFrom(update.from, scope);
  for (const syntax::Assignment& assignment : update.assignments) BindAssignment(assignment, scope, plan, select);
  if (update.where) select.where = BindCondition(*update.where).node;
  AddIdentities(scope, plan.query, select.items);
  plan.query.reads = reads_;
  return {std::move(plan), Finished(std::move(select))};
}

// A table may be named by its own name where FROM gives it an alias.
std::size_t Binder::DeletedSource(const syntax::Delete& gone, const Scope& scope) const {
  const auto& sources = scope.sources;
  std::size_t source = 0;
  if (gone.target.empty()) {
    if (sources.size() > 1) FailAt(gone.at, "the table to delete from must be named");
  } else {
    const std::string folded = FoldName(gone.target);
    const auto find = [&](auto&& is) {
      return static_cast<std::size_t>(std::find_if(sources.begin(), sources.end(), is) - sources.begin());
    };
    source = find([&](const ScopeSource& one) { return one.folded == folded; });
    if (source == sources.size())
      source = find([&](const ScopeSource& one) { return one.table != nullptr && FoldName(one.table->name) == folded; });
    if (source == sources.size()) FailAt(gone.at, "no such table in FROM");
  }
  if (sources[source].table == nullptr) throw UnsupportedError("rows of a query cannot be deleted", gone.at.position);
  return source;
}

BoundStatement Binder::Of(const syntax::Delete& gone) {
  DeletePlan plan;
  bound::Select select;
  Scope scope;
  const ScopeGuard guard(scope_, &scope);
  select.from = BindFrom(gone.from, scope);
  plan.source = DeletedSource(gone, scope);
  if (gone.where) select.where = BindCondition(*gone.where).node;
  AddIdentities(scope, plan.query, select.items);
  plan.query.reads = reads_;
  return {std::move(plan), Finished(std::move(select))};
}

}  // namespace jet::sql

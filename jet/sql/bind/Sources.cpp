// FROM: tables, queries and joins.
#include <algorithm>

#include "jet/sql/Names.h"
#include "jet/sql/bind/Binder.h"
#include "jet/sql/bind/Limits.h"
#include "jet/sql/parse/Parser.h"

namespace jet::sql {

namespace {

bound::JoinKind KindOf(syntax::JoinKind kind) {
  switch (kind) {
    case syntax::JoinKind::kLeft:
      return bound::JoinKind::kLeft;
    case syntax::JoinKind::kRight:
      return bound::JoinKind::kRight;
    default:
      return bound::JoinKind::kInner;
  }
}

}  // namespace

std::vector<bound::Joined> Binder::BindFrom(const syntax::From& from, Scope& scope) {
  std::vector<bound::Joined> bound;
  for (const syntax::Joined& joined : from) bound.push_back(BindJoined(joined, scope));
  if (bound.size() > 1 && std::any_of(bound.begin(), bound.end(), bound::HoldsJoin)) scope.identity = ".rid";
  return bound;
}

bound::Joined Binder::BindJoined(const syntax::Joined& joined, Scope& scope) {
  const std::size_t first = scope.sources.size();
  bound::Joined bound{BindFactor(joined.first, scope), {}};
  for (const syntax::Join& join : joined.joins) {
    const std::size_t right = scope.sources.size();
    bound::Source source = BindFactor(join.right, scope);
    const Expression on = BindCondition(join.on);
    bound.joins.push_back({KindOf(join.kind), std::move(source), on.node});
    for (std::size_t i = first; i < scope.sources.size(); ++i) {
      const syntax::JoinKind missing = i < right ? syntax::JoinKind::kRight : syntax::JoinKind::kLeft;
      if (join.kind == missing) scope.sources[i].optional = true;
    }
  }
  return bound;
}

bound::Source Binder::BindFactor(const syntax::Factor& factor, Scope& scope) {
  if (scope.sources.size() >= kMostTables) throw TooMany("a FROM clause names at most 64 tables", factor.position);
  return std::visit([&](const auto& what) { return Of(what, scope); }, factor.what);
}

bound::Source Binder::Of(const std::unique_ptr<syntax::Joined>& group, Scope& scope) {
  bound::Joined inner = BindJoined(*group, scope);
  if (!HoldsJoin(inner)) return std::move(inner.first);
  scope.identity = ".rid";
  bound::Source source;
  source.group = std::make_shared<const bound::Joined>(std::move(inner));
  return source;
}

bound::Source Binder::Of(const syntax::QueryInFrom& inner, Scope& scope) {
  BoundRows rows;
  {
    const ScopeGuard guard(scope_, scope.parent);
    rows = BindQuery(*inner.query, false);
  }
  return AddQuery(scope, rows, inner.alias);
}

bound::Source Binder::Of(const syntax::QuotedQuery& quoted, Scope& scope) {
  BoundRows rows;
  {
    const ScopeGuard guard(scope_, scope.parent);
    rows = OtherText(quoted.text, quoted.at, quoted.depth);
  }
  return AddQuery(scope, rows, quoted.alias);
}

bound::Source Binder::Of(const syntax::TableName& named, Scope& scope) {
  const TablePointer table = around_.schema.FindTable(named.name, named.file);
  if (table == nullptr) {
    const std::optional<std::string> query = named.file.empty() ? around_.schema.FindQuery(named.name) : std::nullopt;
    if (!query) throw NoSuchTable("no table or query \"" + named.name + "\" (at character " + std::to_string(named.at.position) + ")");
    return AddQuery(scope, StoredQuery(named, *query), named.alias.empty() ? named.name : named.alias);
  }
  NoteRead(table);
  ScopeSource source;
  source.alias = named.alias.empty() ? table->name : named.alias;
  source.folded = FoldName(named.alias.empty() ? named.name : named.alias);
  source.sqlAlias = NewAlias("s");
  source.table = table;
  source.columns = table->columns;
  for (const ScopeSource& other : scope.sources) {
    if (other.folded == source.folded) FailAt(named.at, "the same name stands twice in FROM: give one of them an alias");
  }
  bound::Source bound;
  bound.table = table->sqlName;
  bound.alias = source.sqlAlias;
  scope.sources.push_back(std::move(source));
  return bound;
}

bound::Source Binder::AddQuery(Scope& scope, const BoundRows& rows, const std::string& name) {
  ScopeSource source;
  source.alias = name.empty() ? "%$##@_Alias" + std::to_string(nextAlias_) : name;
  source.folded = FoldName(source.alias);
  source.sqlAlias = NewAlias("s");
  for (const ResultColumn& column : rows.plan.columns) source.columns.push_back({column.name, FoldName(column.name), column.type});
  bound::Source bound;
  bound.query = rows.query;
  bound.alias = source.sqlAlias;
  scope.sources.push_back(std::move(source));
  return bound;
}

// A query whose text stands elsewhere is bound in place.
BoundRows Binder::OtherText(const std::string& text, const syntax::Spot& at, int depth) {
  const std::size_t outer = std::exchange(outerAt_, outerAt_ == 0 ? at.position : outerAt_);
  const syntax::Statement other = ParseQueryText(text, depth);
  const std::string* const before = std::exchange(text_, &other.text);
  Declare(other.parameters);
  BoundRows rows = BindQuery(*std::get<syntax::QueryPointer>(other.what), false);
  text_ = before;
  outerAt_ = outer;
  return rows;
}

BoundRows Binder::StoredQuery(const syntax::TableName& table, const std::string& text) {
  const std::string folded = FoldName(table.name);
  if (std::find(openQueries_.begin(), openQueries_.end(), folded) != openQueries_.end())
    throw UnsupportedError("the query \"" + table.name + "\" uses itself", table.at.position);
  openQueries_.push_back(folded);
  const ScopeGuard guard(scope_, nullptr);
  try {
    BoundRows rows = OtherText(text, table.at, table.depth);
    openQueries_.pop_back();
    return rows;
  } catch (const Error& error) {
    throw Error(error.Code(), "in the query \"" + table.name + "\": " + error.what());
  }
}

}  // namespace jet::sql

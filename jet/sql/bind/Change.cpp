// INSERT, UPDATE and DELETE.
#include <algorithm>

#include "jet/sql/Names.h"
#include "jet/sql/bind/Translator.h"

namespace jet::sql {

TableTarget Translator::ParseTarget(const char* what) {
  TableTarget target;
  target.name = TakeName(what);
  if (AtSymbol(".") && AtName(1)) {  // [file].[table]
    Take();
    target.file = std::exchange(target.name, Take().text);
  }
  if (AtWord("IN") && (Peek(1).kind == TokenKind::kText || Peek(1).kind == TokenKind::kBracketed)) {
    Take();
    target.file = FileName(Take());
  }
  const std::size_t key = FoldName(target.file).find("DATABASE=");
  if (key != std::string::npos) target.file = target.file.substr(key + 9, target.file.find(';', key) - key - 9);
  return target;
}

TablePointer Translator::NeedTable(const TableTarget& target, const Token& at) {
  TablePointer table = schema_.FindTable(target.name, target.file);
  if (table == nullptr)
    throw NoSuchTable("no table \"" + target.name + "\" (at character " + std::to_string(at.position) + ")");
  return table;
}

Statement Translator::ParseInsert() {
  ExpectWord("INTO");
  const Token at = Peek();
  InsertPlan plan;
  plan.target = ParseTarget("name of the table");
  plan.table = NeedTable(plan.target, at);

  std::vector<Token> names;
  if (AtSymbol("(") && !AtWord("SELECT", 1)) {
    Take();
    for (bool first = true; first || TakeSymbol(","); first = false) {
      names.push_back(Peek());
      TakeName("name of the column");
    }
    ExpectSymbol(")");
    if (AtWord("IN") && Peek(1).kind == TokenKind::kText) {
      Take();
      plan.target.file = FileName(Take());
      plan.table = NeedTable(plan.target, at);
    }
  }
  const auto columnOf = [&](const std::string& name) { return PlaceOfColumn(plan.table->columns, name, FoldName(name)); };
  for (const Token& name : names) {
    const std::size_t column = columnOf(name.text);
    if (column == plan.table->columns.size()) {
      throw Error(ErrorCode::kNotFound,
                  "the table has no column \"" + name.text + "\" (at character " + std::to_string(name.position) + ")");
    }
    if (std::find(plan.columns.begin(), plan.columns.end(), column) != plan.columns.end()) FailAt(name, "the same column stands twice");
    plan.columns.push_back(column);
  }

  const Token body = Peek();
  if (TakeWord("VALUES")) {
    ExpectSymbol("(");
    Scope empty;
    scope_ = &empty;
    for (bool first = true; first || TakeSymbol(","); first = false) {
      const Expression value = ParseExpression();
      ResultColumn column;
      column.type = value.type;
      column.parameter = value.parameter;
      plan.query.sql += (first ? "SELECT " : ", ") + AsValue(value) + " AS c" + std::to_string(plan.query.columns.size());
      plan.query.columns.push_back(std::move(column));
    }
    scope_ = nullptr;
    ExpectSymbol(")");
    if (names.empty()) {
      for (std::size_t i = 0; i < plan.table->columns.size(); ++i) plan.columns.push_back(i);
    }
  } else {
    const bool parenthesised = AtSymbol("(");
    if (!AtWord("SELECT") && !parenthesised) Fail("VALUES or SELECT expected");
    plan.query = ParseQuery({.outermost = true});
    if (names.empty()) {
      // Without a list the columns go by their names.
      for (const ResultColumn& column : plan.query.columns) {
        const std::size_t dot = column.name.rfind('.');
        std::size_t position = columnOf(column.name);
        if (position == plan.table->columns.size() && dot != std::string::npos) position = columnOf(column.name.substr(dot + 1));
        if (position == plan.table->columns.size()) {
          throw Error(ErrorCode::kNotFound, "the table \"" + plan.table->name + "\" has no column \"" + column.name + "\"");
        }
        if (std::find(plan.columns.begin(), plan.columns.end(), position) != plan.columns.end()) {
          FailAt(body, "two columns of the query go into the column \"" + column.name + "\"");
        }
        plan.columns.push_back(position);
      }
    }
  }
  if (plan.columns.size() != plan.query.columns.size()) FailAt(body, "number of values and of columns differ");
  plan.query.reads = reads_;
  return plan;
}

Statement Translator::ParseUpdate() {
  UpdatePlan plan;
  Scope scope;
  scope_ = &scope;
  TakeWord("DISTINCTROW");
  const std::string tables = ParseFrom(scope);
  ExpectWord("SET");
  std::string list;
  for (bool first = true; first || TakeSymbol(","); first = false) {
    const Token at = Peek();
    Token name = at;
    std::string qualifier;
    TakeName("name of the column");
    if (TakeSymbol(".") || TakeSymbol("!")) {
      qualifier = name.text;
      name = Peek();
      TakeName("name of the column");
    }
    const Expression target = NeedColumn(qualifier, name);
    if (target.source < 0 || scope.sources[static_cast<std::size_t>(target.source)].table == nullptr) {
      throw UnsupportedError("this column cannot be updated: it belongs to a query", at.position);
    }
    ExpectSymbol("=");
    const Expression value = ParseExpression();
    if (value.aggregate) FailAt(at, "an aggregate cannot stand in SET");
    const std::size_t position = plan.query.columns.size();
    ResultColumn column;
    column.type = value.type;
    column.parameter = value.parameter;
    const ScopeSource* from = value.source >= 0 ? &scope.sources[static_cast<std::size_t>(value.source)] : nullptr;
    const bool later = from != nullptr && from->table != nullptr && IsReadFromRow(value.type.type, *from->table);
    if (later) {
      column.source = value.source;
      column.column = value.column;
    }
    list += (first ? "" : ", ") + (later ? "NULL" : AsValue(value)) + " AS c" + std::to_string(position);
    plan.query.columns.push_back(std::move(column));
    plan.items.push_back({static_cast<std::size_t>(target.source), target.column, position});
  }
  std::string where;
  if (TakeWord("WHERE")) where = " WHERE " + AsCondition(ParseCondition());
  list += RowIdentities(scope, plan.query, plan.query.columns.size());
  plan.query.sql = "SELECT " + list + " FROM " + tables + where;
  plan.query.reads = reads_;
  scope_ = nullptr;
  return plan;
}

Statement Translator::ParseDelete() {
  DeletePlan plan;
  TakeWord("DISTINCTROW");
  std::string target;
  Token at = Peek();
  if (TakeSymbol("*")) {
    // all of the one table
  } else if (!AtWord("FROM")) {
    target = TakeName("FROM");
    if (TakeSymbol(".")) {
      ExpectSymbol("*");
    } else if (!AtWord("FROM")) {
      Fail("FROM expected");
    }
  }
  ExpectWord("FROM");
  Scope scope;
  scope_ = &scope;
  const std::string from = ParseFrom(scope);
  if (!target.empty()) {
    const std::string folded = FoldName(target);
    while (plan.source < scope.sources.size() && scope.sources[plan.source].folded != folded) ++plan.source;
    if (plan.source == scope.sources.size()) {
      // The table may be named by its own name where FROM gives it an alias.
      plan.source = 0;
      while (plan.source < scope.sources.size() &&
             (scope.sources[plan.source].table == nullptr || FoldName(scope.sources[plan.source].table->name) != folded)) {
        ++plan.source;
      }
    }
    if (plan.source == scope.sources.size()) FailAt(at, "no such table in FROM");
  } else if (scope.sources.size() > 1) {
    FailAt(at, "the table to delete from must be named");
  }
  if (scope.sources[plan.source].table == nullptr) throw UnsupportedError("rows of a query cannot be deleted", at.position);
  std::string where;
  if (TakeWord("WHERE")) where = " WHERE " + AsCondition(ParseCondition());
  const std::string list = RowIdentities(scope, plan.query, 0);
  plan.query.sql = "SELECT " + list.substr(2) + " FROM " + from + where;
  plan.query.reads = reads_;
  scope_ = nullptr;
  return plan;
}

}  // namespace jet::sql

#include "ado/odbc/rows/ReadQuery.h"

#include <algorithm>
#include <set>

#include "ado/odbc/rows/ServerExpression.h"
#include "ado/odbc/statement/SqlText.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

constexpr std::size_t kHexBytes = 64;

/// True when each column of a query can be named from outside of it: a table that has changed since can then never give the values of another
/// column. SQLite names its expressions as it likes.
bool NamesTell(const std::vector<ColumnDescription>& described, ServerForms forms) {
  std::set<std::string> names;
  return std::all_of(described.begin(), described.end(), [&](const ColumnDescription& column) {
    if (column.name.empty() || (forms == ServerForms::kLiterals && column.table.empty())) return false;
    return names.insert(runtime::UpperCase(column.name)).second;
  });
}

/// The columns of the query as the expressions around it name them. MySQL before 8 has no list of names behind a query in brackets.
std::vector<std::string> NamesOutside(const std::vector<ColumnDescription>& described, const Session& session) {
  const ServerForms forms = session.Facts().serverForms;
  const bool own = forms == ServerForms::kFunctions || NamesTell(described, forms);
  std::vector<std::string> names;
  for (std::size_t i = 0; i < described.size(); ++i) {
    names.push_back("tamlo_q." + (own ? session.Quoted(described[i].name) : "c" + std::to_string(i + 1)));
  }
  return names;
}

/// "SELECT expressions FROM (query)", under the names that the query gives. Where these repeat, the query's columns get others in between.
/// SQLite computes the expressions of a query again for each time that they are named, unless it keeps the rows.
std::string Around(const std::string& query, const std::vector<ServerExpression>& expressions,
                   const std::vector<ColumnDescription>& described, const Session& session) {
  std::string selected;
  for (std::size_t i = 0; i < expressions.size(); ++i) {
    selected += (i == 0 ? "" : ", ") + expressions[i].text;
    if (!described[i].name.empty()) selected += " AS " + session.Quoted(described[i].name);
  }
  for (const auto& expression : expressions) {
    if (!expression.companion.empty()) selected += ", " + expression.companion;
  }
  const ServerForms forms = session.Facts().serverForms;
  if (forms == ServerForms::kFunctions) return "SELECT " + selected + " FROM (" + query + ") tamlo_q";
  std::string names;
  if (!NamesTell(described, forms)) {
    for (std::size_t i = 1; i <= described.size(); ++i) names += (i == 1 ? "(c" : ", c") + std::to_string(i);
    names += ")";
  }
  if (forms == ServerForms::kLiterals) {
    const bool computes =
        std::any_of(described.begin(), described.end(), [](const ColumnDescription& column) { return column.table.empty(); });
    return "WITH tamlo_q" + names + " AS " + (computes ? "MATERIALIZED " : "") + "(" + query + ") SELECT " + selected + " FROM tamlo_q";
  }
  return "SELECT " + selected + " FROM (" + query + ") AS tamlo_q" + names;
}

/// A plan without any expression.
ReadPlan AsItStands(const std::vector<FieldInfo>& fields, const DriverFacts& facts, ReadMode mode) {
  ReadPlan plan;
  for (const auto& field : fields) plan.forms.push_back(PlanFor(field, facts));
  plan.companions.assign(fields.size(), ReadPlan::kNone);
  plan.singly = mode == ReadMode::kServerText;
  plan.asksTypes = facts.firstRowTellsTypes;
  return plan;
}

bool HasExpressions(const DriverFacts& facts, ReadMode mode) {
  if (facts.serverForms == ServerForms::kFunctions) return mode == ReadMode::kServerText;
  return facts.serverForms != ServerForms::kNone;
}

ServerExpression ExpressionOf(const NamedColumn& column, const DriverFacts& facts, ReadMode mode) {
  const bool fast = mode == ReadMode::kFast;
  switch (facts.serverForms) {
    case ServerForms::kLiterals:
      return fast ? LiteralOf(column, facts) : LiteralOrBytesOf(column, facts);
    case ServerForms::kCasts:
      return fast ? CastOf(column, facts) : CastTextOf(column);
    default:
      return FunctionTextOf(column);
  }
}

}  // namespace

ReadPlan PlanReading(const std::string& sql, const std::vector<FieldInfo>& fields, const std::vector<ColumnDescription>& columns,
                     const Session& session, ReadMode mode) {
  const DriverFacts& facts = session.Facts();
  ReadPlan plan = AsItStands(fields, facts, mode);
  const auto query = QueryOf(sql);
  if (!query || fields.empty() || !HasExpressions(facts, mode)) return plan;
  std::vector<ServerExpression> expressions;
  const auto names = NamesOutside(columns, session);
  bool plain = true;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const std::string& name = names[i];
    expressions.push_back(ExpressionOf({name, fields[i], columns[i]}, facts, mode));
    plain = plain && expressions.back().text == name && expressions.back().companion.empty();
  }
  if (plain && mode == ReadMode::kFast) return plan;
  plan.asksTypes = false;
  plan.forms.clear();
  for (const auto& expression : expressions) plan.forms.push_back(expression.form);
  for (std::size_t i = 0; i < expressions.size(); ++i) {
    if (expressions[i].companion.empty()) continue;
    plan.companions[i] = plan.forms.size();
    plan.forms.push_back(AsciiPlan(FetchPlan::Form::kHexText, kHexBytes));
  }
  plan.sql = Around(std::string(*query), expressions, columns, session);
  return plan;
}

}  // namespace tamlo::ado::odbc

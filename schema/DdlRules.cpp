// Validation rules as checks.
#include <algorithm>

#include "schema/DdlWriter.h"
#include "schema/RuleCheck.h"

namespace tamlo::schema {

/// The rule as a condition; empty, and told, where it cannot be one.
std::string DdlWriter::RuleCondition(const Table& table, const Column* column, const std::string& rule) {
  const auto leave = [&](What what, std::vector<std::string> parts) {
    Lost(table.name, column == nullptr ? std::string() : column->name, what, std::move(parts));
    return std::string();
  };
  const bool tried = dialect_.engine == Engine::kMariaDb || dialect_.engine == Engine::kPostgreSql || dialect_.engine == Engine::kSqlite;
  if (!database_.rulesOfAccess || !tried) return leave(What::kValidationRule, {rule});
  const auto check = CheckOfRule(rule, table, column, dialect_, [&](const Column& one) { return ColumnName(table.name, one.name); });
  if (check.condition.empty()) {
    if (check.why == RuleCheck::Why::kNulls) return leave(What::kRuleOfNulls, {rule, check.column});
    if (check.why == RuleCheck::Why::kTexts) return leave(What::kRuleOfTexts, {rule, EngineName()});
    return leave(What::kValidationRule, {rule});
  }
  const auto isUnchecked = [&](const Column* one) {
    return CascadesInto(table, *one) || (one->counter && dialect_.engine == Engine::kMariaDb);
  };
  if (std::any_of(check.about.begin(), check.about.end(), isUnchecked)) return leave(What::kRuleUnchecked, {rule, EngineName()});
  return check.condition;
}

std::vector<std::string> DdlWriter::RuleConditions(const Table& table) {
  std::vector<std::string> conditions;
  const auto add = [&](const Column* column, const std::string& rule) {
    if (rule.empty()) return;
    const std::string condition = RuleCondition(table, column, rule);
    if (condition.empty()) return;
    conditions.push_back(condition);
    // SQLite takes a check with the table alone: what the source holds against its rule is not taken then.
    if (dialect_.engine == Engine::kSqlite)
      Lost(table.name, column == nullptr ? std::string() : column->name, What::kRuleBeforeRows, {rule});
  };
  for (const Column& column : table.columns) add(&column, column.rule);
  add(nullptr, table.rule);
  return conditions;
}

/// Behind the rows: a rule that they do not obey is told then, and they stay.
void DdlWriter::AddRules(const Table& table) {
  const auto checks = checks_.find(table.name);
  if (checks == checks_.end()) return;
  int number = 0;
  for (const std::string& condition : checks->second)
    script_.statements.push_back({Phase::kIndexes, table.name,
                                  "ALTER TABLE " + TableName(table.name) + " ADD CONSTRAINT " +
                                      Quoted(dialect_, "rule" + std::to_string(++number)) + " CHECK (" + condition + ")"});
}

}  // namespace tamlo::schema

// Whether what stands beside aggregates is grouped.
#include <algorithm>
#include <set>

#include "jet/sql/bind/Translator.h"

namespace jet::sql {

namespace {

bool IsWordPart(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '.'; }

// Where the text stands in sql as whole words, from a place on; npos when it does not.
std::size_t FindWords(const std::string& sql, const std::string& text, std::size_t from) {
  for (std::size_t at = from; (at = sql.find(text, at)) != std::string::npos; ++at) {
    const bool begins = at == 0 || !IsWordPart(text.front()) || !IsWordPart(sql[at - 1]);
    const std::size_t after = at + text.size();
    const bool ends = after == sql.size() || !IsWordPart(text.back()) || !IsWordPart(sql[after]);
    if (begins && ends) return at;
  }
  return std::string::npos;
}

// The place behind the bracket that closes the one at "open"; brackets inside of texts do not count.
std::size_t BehindBracket(const std::string& sql, std::size_t open) {
  int level = 0;
  bool inText = false;
  for (std::size_t at = open; at < sql.size(); ++at) {
    if (sql[at] == '\'') inText = !inText;
    if (inText) continue;
    if (sql[at] == '(') ++level;
    if (sql[at] == ')' && --level == 0) return at + 1;
  }
  return sql.size();
}

void TakeAggregatesOut(std::string& sql) {
  static const char* const kCalls[] = {"COUNT(",    "SUM(",       "AVG(",        "MIN(",     "MAX(",     "jet_first(",
                                       "jet_last(", "jet_stdev(", "jet_stdevp(", "jet_var(", "jet_varp("};
  for (const std::string call : kCalls) {
    for (std::size_t at = 0; (at = FindWords(sql, call, at)) != std::string::npos;)
      sql.replace(at, BehindBracket(sql, at + call.size() - 1) - at, "0");
  }
}

}  // namespace

void Translator::CheckGrouping(const std::vector<SelectItem>& items, const std::vector<Expression>& groups, const Token& at) const {
  const auto grouped = [&](const std::string& sql) {
    return std::any_of(groups.begin(), groups.end(), [&](const Expression& group) { return group.sql == sql; });
  };
  for (const SelectItem& item : items) {
    if (item.expression.bareColumns.empty() || grouped(item.expression.sql)) continue;
    std::string rest = item.expression.sql;
    TakeAggregatesOut(rest);
    for (const Expression& group : groups) {
      if (group.sql.empty()) continue;
      for (std::size_t found = 0; (found = FindWords(rest, group.sql, found)) != std::string::npos;)
        rest.replace(found, group.sql.size(), "0");
    }
    const std::set<std::string> columns(item.expression.bareColumns.begin(), item.expression.bareColumns.end());
    for (const std::string& column : columns) {
      if (FindWords(rest, column, 0) == std::string::npos) continue;
      FailAt(at, "\"" + (item.name.empty() ? item.expression.name : item.name) + "\" is neither grouped nor part of an aggregate");
    }
  }
}

}  // namespace jet::sql

#include <algorithm>
#include <cstddef>
#include <map>
#include <utility>

#include "ado/odbc/catalog/ReadKeys.h"
#include "ado/odbc/catalog/SqliteText.h"
#include "ado/odbc/statement/Statement.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

using Rows = std::vector<std::vector<std::string>>;

/// All rows at once: the driver has one statement of the file at a time.
Rows Read(const std::shared_ptr<Session>& session, const std::string& sql, std::size_t columns) {
  Statement statement(session);
  statement.ExecuteDirect(sql);
  Rows rows;
  while (statement.FetchCatalogRow()) {
    auto& row = rows.emplace_back();
    for (std::size_t i = 1; i <= columns; ++i) row.push_back(statement.Text(i).value_or(""));
  }
  return rows;
}

std::vector<KeyColumn> PrimaryColumns(const std::shared_ptr<Session>& session, const std::string& table) {
  std::vector<KeyColumn> columns;
  for (auto& row : Read(session, "SELECT name FROM pragma_table_info(" + Literal(table) + ") WHERE pk > 0 ORDER BY pk", 1)) {
    columns.push_back({std::move(row[0]), {}});
  }
  return columns;
}

std::vector<Key> UniqueKeys(const std::shared_ptr<Session>& session, const std::string& table) {
  std::vector<Key> keys;
  for (auto& row : Read(session, "SELECT name FROM pragma_index_list(" + Literal(table) + ") WHERE origin = 'u' ORDER BY seq DESC", 1)) {
    Key& key = keys.emplace_back();
    key.type = adKeyUnique;
    key.name = std::move(row[0]);
    for (auto& column : Read(session, "SELECT name FROM pragma_index_info(" + Literal(key.name) + ") ORDER BY seqno", 1)) {
      key.columns.push_back({std::move(column[0]), {}});
    }
  }
  return keys;
}

std::vector<Key> ForeignKeys(const std::shared_ptr<Session>& session, const std::string& table) {
  std::map<std::string, Key> byId;
  std::vector<std::string> ids;
  const std::string sql = "SELECT id, \"table\", \"from\", \"to\", on_update, on_delete FROM pragma_foreign_key_list(" + Literal(table) +
                          ") ORDER BY id DESC, seq";
  for (auto& row : Read(session, sql, 6)) {
    const auto [place, isNew] = byId.try_emplace(row[0]);
    if (isNew) ids.push_back(row[0]);
    Key& key = place->second;
    key.type = adKeyForeign;
    key.name = "FK_" + row[1];
    key.relatedTable = row[1];
    key.updateRule = RuleOf(row[4]);
    key.deleteRule = RuleOf(row[5]);
    key.columns.push_back({std::move(row[2]), std::move(row[3])});
  }
  std::vector<Key> keys;
  for (const auto& id : ids) {
    Key& key = byId.at(id);
    // What the definition leaves out is the primary key.
    const std::vector<KeyColumn> primary =
        key.columns[0].relatedColumn.empty() ? PrimaryColumns(session, key.relatedTable) : std::vector<KeyColumn>();
    for (std::size_t i = 0; i < std::min(primary.size(), key.columns.size()); ++i) key.columns[i].relatedColumn = primary[i].name;
    keys.push_back(std::move(key));
  }
  return keys;
}

bool HasColumns(const Key& key, const Key& constraint) {
  return key.type == constraint.type &&
         std::equal(key.columns.begin(), key.columns.end(), constraint.columns.begin(), constraint.columns.end(),
                    [](const KeyColumn& a, const KeyColumn& b) { return runtime::UpperCase(a.name) == runtime::UpperCase(b.name); });
}

}  // namespace

std::vector<Key> ReadSqliteKeys(const std::shared_ptr<Session>& session, const std::string& table) {
  std::vector<Key> keys;
  Key primary;
  primary.name = "PRIMARY";
  primary.columns = PrimaryColumns(session, table);
  if (!primary.columns.empty()) keys.push_back(std::move(primary));
  for (auto& key : UniqueKeys(session, table)) keys.push_back(std::move(key));
  for (auto& key : ForeignKeys(session, table)) keys.push_back(std::move(key));
  const Rows definition =
      Read(session, "SELECT sql FROM sqlite_master WHERE type = 'table' AND name = " + Literal(table) + " COLLATE NOCASE", 1);
  if (definition.empty()) return keys;
  std::vector<Key> named = NamedConstraints(definition[0][0]);
  for (Key& key : keys) {
    const auto found = std::find_if(named.begin(), named.end(), [&](const Key& constraint) { return HasColumns(key, constraint); });
    if (found == named.end()) continue;
    key.name = std::move(found->name);
    named.erase(found);  // two keys may be on the same columns
  }
  return keys;
}

}  // namespace tamlo::ado::odbc

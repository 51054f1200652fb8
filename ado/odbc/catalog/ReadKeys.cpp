#include "ado/odbc/catalog/ReadKeys.h"

#include <algorithm>
#include <map>
#include <utility>

#include "ado/odbc/catalog/BaseTable.h"
#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/driver/WideText.h"
#include "ado/odbc/statement/Statement.h"
#include "runtime/Error.h"

namespace tamlo::ado::odbc {
namespace {

RuleType RuleOfNumber(std::int64_t odbc) {
  switch (odbc) {
    case SQL_CASCADE:
      return adRICascade;
    case SQL_SET_NULL:
      return adRISetNull;
    case SQL_SET_DEFAULT:
      return adRISetDefault;
    default:
      return adRINone;
  }
}

Key& KeyNamed(std::vector<Key>& keys, KeyType type, const std::string& name) {
  const auto found = std::find_if(keys.begin(), keys.end(), [&](const Key& key) { return key.name == name; });
  if (found != keys.end()) return *found;
  Key& key = keys.emplace_back();
  key.name = name;
  key.type = type;
  return key;
}

std::vector<Key> UniqueIndexes(const std::shared_ptr<Session>& session, const std::string& schema, const std::string& table,
                               const std::string& primary) {
  std::vector<Key> keys;
  for (auto& line : IndexColumns(session, schema, table)) {
    if (line.unique && line.index != primary) KeyNamed(keys, adKeyUnique, line.index).columns.push_back({std::move(line.column), {}});
  }
  return keys;
}

/// What a query gives: table, key, column, related table, related column and the rules, a row for each column in its order.
std::vector<Key> ForeignKeysBy(const std::shared_ptr<Session>& session, const std::string& query, const std::string& table) {
  Statement statement(session);
  statement.ExecuteDirect(query);
  std::vector<Key> keys;
  while (statement.FetchCatalogRow()) {
    if (statement.Text(1).value_or("") != table) continue;  // one that differs by case alone
    Key& key = KeyNamed(keys, adKeyForeign, statement.Text(2).value_or(""));
    KeyColumn column;
    column.name = statement.Text(3).value_or("");
    key.relatedTable = statement.Text(4).value_or("");
    column.relatedColumn = statement.Text(5).value_or("");
    key.columns.push_back(std::move(column));
    key.updateRule = RuleOf(statement.Text(6).value_or(""));
    key.deleteRule = RuleOf(statement.Text(7).value_or(""));
  }
  return keys;
}

std::string HexOf(const std::string& text) {
  std::string hex;
  for (const char c : text) {
    hex.push_back("0123456789ABCDEF"[static_cast<unsigned char>(c) >> 4U]);
    hex.push_back("0123456789ABCDEF"[static_cast<unsigned char>(c) & 15U]);
  }
  return hex;
}

std::string TextOf(const ConstraintQuery& query, const std::string& schema, const std::string& table) {
  std::string text(query.beforeTable);
  text += query.tableAsHex ? HexOf(table) : Literal(table);
  text += query.afterTable;
  if (!schema.empty() && !query.beforeSchema.empty()) text += std::string(query.beforeSchema) + Literal(schema);
  return text + std::string(query.order);
}

std::vector<Key> KeysByIndexes(const std::shared_ptr<Session>& session, const std::string& table) {
  std::vector<Key> keys;
  for (auto& line : IndexColumns(session, {}, table)) {
    if (!line.unique) continue;
    KeyNamed(keys, line.index == "PRIMARY" ? adKeyPrimary : adKeyUnique, line.index).columns.push_back({std::move(line.column), {}});
  }
  std::stable_sort(keys.begin(), keys.end(), [](const Key& a, const Key& b) { return a.type < b.type; });
  for (auto& key : ForeignKeysBy(session, TextOf(session->Facts().foreignKeys, {}, table), table)) keys.push_back(std::move(key));
  return keys;
}

std::vector<Key> UniqueKeys(const std::shared_ptr<Session>& session, const std::string& schema, const std::string& table,
                            const std::string& primary) {
  const DriverFacts& facts = session->Facts();
  std::vector<Key> keys;
  Statement statement(session);
  const auto asked = [&] {
    statement.ExecuteDirect(TextOf(facts.uniqueKeys, schema, table));
    while (statement.FetchCatalogRow()) {
      Key& key = KeyNamed(keys, adKeyUnique, statement.Text(1).value_or(""));
      key.columns.push_back({statement.Text(2).value_or(""), {}});
    }
  };
  if (!facts.catalogsMayFail) {
    asked();
  } else if (runtime::IgnoringErrors(asked)) {
    return UniqueIndexes(session, schema, table, primary);
  }
  return keys;
}

/// The foreign keys as the driver tells them, one line for each column; those of one key need not stand together.
std::vector<Key> ForeignKeys(const std::shared_ptr<Session>& session, const std::string& schema, const std::string& table) {
  Statement statement(session);
  auto catalog = ToUtf16(session->Facts().catalog);
  auto owner = ToUtf16(schema);
  auto name = ToUtf16(table);
  const auto text = [](std::u16string& one) { return one.empty() ? nullptr : reinterpret_cast<SQLWCHAR*>(one.data()); };
  const auto length = [](const std::u16string& one) { return static_cast<SQLSMALLINT>(one.size()); };
  const DriverFacts& facts = session->Facts();
  const auto byQuery = [&] { return ForeignKeysBy(session, TextOf(facts.foreignKeys, schema, table), table); };
  if (!facts.asksDriverForForeignKeys) return byQuery();
  const auto result = SQLForeignKeysW(statement.Native(), nullptr, 0, nullptr, 0, nullptr, 0, text(catalog), length(catalog), text(owner),
                                      length(owner), text(name), length(name));
  if (!SQL_SUCCEEDED(result) && facts.catalogsMayFail) return byQuery();
  statement.Check(result);
  std::vector<Key> keys;
  std::map<std::string, std::map<std::int64_t, KeyColumn>> columns;
  while (statement.FetchCatalogRow()) {
    std::string related = statement.Text(3).value_or("");
    KeyColumn column{statement.Text(8).value_or(""), statement.Text(4).value_or("")};
    const std::int64_t place = statement.Integer(9, 1);
    const RuleType updates = RuleOfNumber(statement.Integer(10, SQL_NO_ACTION));
    const RuleType deletes = RuleOfNumber(statement.Integer(11, SQL_NO_ACTION));
    const std::string title = statement.Text(12).value_or("");
    Key& key = KeyNamed(keys, adKeyForeign, title.empty() ? "FK_" + related : title);
    key.relatedTable = std::move(related);
    key.updateRule = updates;
    key.deleteRule = deletes;
    columns[key.name][place] = std::move(column);
  }
  for (Key& key : keys) {
    for (auto& [place, column] : columns[key.name]) key.columns.push_back(std::move(column));
  }
  return keys;
}

}  // namespace

RuleType RuleOf(const std::string& text) {
  if (text == "CASCADE") return adRICascade;
  if (text == "SET NULL") return adRISetNull;
  return text == "SET DEFAULT" ? adRISetDefault : adRINone;
}

std::string Literal(const std::string& text) {
  std::string literal = "'";
  for (const char c : text) literal += c == '\'' ? std::string("''") : std::string(1, c);
  return literal + "'";
}

std::vector<Key> ReadKeys(const std::shared_ptr<Session>& session, const std::string& schema, const std::string& table) {
  if (session->Facts().keySource == KeySource::kPragmas) return ReadSqliteKeys(session, table);
  if (session->Facts().keySource == KeySource::kIndexes) return KeysByIndexes(session, table);
  std::vector<Key> keys;
  std::string name;
  Key primary;
  for (auto& column : PrimaryKeyColumns(session, schema, table, &name)) primary.columns.push_back({std::move(column), {}});
  primary.name = name.empty() ? "PRIMARY" : name;
  if (!primary.columns.empty()) keys.push_back(primary);
  for (auto& key : UniqueKeys(session, schema, table, primary.name)) keys.push_back(std::move(key));
  for (auto& key : ForeignKeys(session, schema, table)) keys.push_back(std::move(key));
  return keys;
}

}  // namespace tamlo::ado::odbc

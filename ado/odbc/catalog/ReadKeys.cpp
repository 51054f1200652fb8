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

/// Of MySQL, whose catalog calls lose the order of a primary key, and foreign keys that refer to another unique one: its driver 3.1.15.
std::string MySqlForeignQuery(const std::string& table) {
  // No literal: a backslash may count in it or not.
  std::string hex;
  for (const char c : table) {
    hex.push_back("0123456789ABCDEF"[static_cast<unsigned char>(c) >> 4U]);
    hex.push_back("0123456789ABCDEF"[static_cast<unsigned char>(c) & 15U]);
  }
  return "SELECT K.TABLE_NAME, K.CONSTRAINT_NAME, K.COLUMN_NAME, K.REFERENCED_TABLE_NAME, K.REFERENCED_COLUMN_NAME, R.UPDATE_RULE, "
         "R.DELETE_RULE FROM INFORMATION_SCHEMA.KEY_COLUMN_USAGE K JOIN INFORMATION_SCHEMA.REFERENTIAL_CONSTRAINTS R ON "
         "R.CONSTRAINT_SCHEMA = K.CONSTRAINT_SCHEMA AND R.CONSTRAINT_NAME = K.CONSTRAINT_NAME AND R.TABLE_NAME = K.TABLE_NAME "
         "WHERE K.TABLE_SCHEMA = DATABASE() AND K.TABLE_NAME = CONVERT(X'" +
         hex + "' USING utf8mb4) ORDER BY K.CONSTRAINT_NAME, K.ORDINAL_POSITION";
}

/// Where the driver cannot tell, of backends whose constraints have names of their own in a schema.
std::string StandardForeignQuery(const std::string& schema, const std::string& table) {
  return "SELECT F.TABLE_NAME, F.CONSTRAINT_NAME, F.COLUMN_NAME, P.TABLE_NAME, P.COLUMN_NAME, R.UPDATE_RULE, R.DELETE_RULE "
         "FROM INFORMATION_SCHEMA.REFERENTIAL_CONSTRAINTS R JOIN INFORMATION_SCHEMA.KEY_COLUMN_USAGE F ON "
         "F.CONSTRAINT_SCHEMA = R.CONSTRAINT_SCHEMA AND F.CONSTRAINT_NAME = R.CONSTRAINT_NAME JOIN INFORMATION_SCHEMA.KEY_COLUMN_USAGE P ON "
         "P.CONSTRAINT_SCHEMA = R.UNIQUE_CONSTRAINT_SCHEMA AND P.CONSTRAINT_NAME = R.UNIQUE_CONSTRAINT_NAME AND "
         "P.ORDINAL_POSITION = F.POSITION_IN_UNIQUE_CONSTRAINT WHERE F.TABLE_NAME = " +
         Literal(table) + (schema.empty() ? "" : " AND F.TABLE_SCHEMA = " + Literal(schema)) +
         " ORDER BY F.CONSTRAINT_NAME, F.ORDINAL_POSITION";
}

std::vector<Key> MySqlKeys(const std::shared_ptr<Session>& session, const std::string& table) {
  std::vector<Key> keys;
  for (auto& line : IndexColumns(session, {}, table)) {
    if (!line.unique) continue;
    KeyNamed(keys, line.index == "PRIMARY" ? adKeyPrimary : adKeyUnique, line.index).columns.push_back({std::move(line.column), {}});
  }
  std::stable_sort(keys.begin(), keys.end(), [](const Key& a, const Key& b) { return a.type < b.type; });
  for (auto& key : ForeignKeysBy(session, MySqlForeignQuery(table), table)) keys.push_back(std::move(key));
  return keys;
}

std::string UniqueQuery(Backend backend, const std::string& schema, const std::string& table) {
  if (backend == Backend::kOracle) {
    return "SELECT C.CONSTRAINT_NAME, K.COLUMN_NAME FROM ALL_CONSTRAINTS C JOIN ALL_CONS_COLUMNS K ON K.OWNER = C.OWNER AND "
           "K.CONSTRAINT_NAME = C.CONSTRAINT_NAME WHERE C.CONSTRAINT_TYPE = 'U' AND C.TABLE_NAME = " +
           Literal(table) + (schema.empty() ? "" : " AND C.OWNER = " + Literal(schema)) + " ORDER BY C.CONSTRAINT_NAME, K.POSITION";
  }
  return "SELECT C.CONSTRAINT_NAME, K.COLUMN_NAME FROM INFORMATION_SCHEMA.TABLE_CONSTRAINTS C JOIN INFORMATION_SCHEMA.KEY_COLUMN_USAGE K ON "
         "K.CONSTRAINT_SCHEMA = C.CONSTRAINT_SCHEMA AND K.CONSTRAINT_NAME = C.CONSTRAINT_NAME AND K.TABLE_NAME = C.TABLE_NAME "
         "WHERE C.CONSTRAINT_TYPE = 'UNIQUE' AND C.TABLE_NAME = " +
         Literal(table) + (schema.empty() ? "" : " AND C.TABLE_SCHEMA = " + Literal(schema)) +
         " ORDER BY C.CONSTRAINT_NAME, K.ORDINAL_POSITION";
}

std::vector<Key> UniqueKeys(const std::shared_ptr<Session>& session, const std::string& schema, const std::string& table,
                            const std::string& primary) {
  const Backend backend = session->Facts().backend;
  std::vector<Key> keys;
  Statement statement(session);
  const auto asked = [&] {
    statement.ExecuteDirect(UniqueQuery(backend, schema, table));
    while (statement.FetchCatalogRow()) {
      Key& key = KeyNamed(keys, adKeyUnique, statement.Text(1).value_or(""));
      key.columns.push_back({statement.Text(2).value_or(""), {}});
    }
  };
  if (backend != Backend::kOther) {
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
  // psqlODBC asks in a way that PostgreSQL's own server alone understands.
  if (facts.backend == Backend::kPostgres && !facts.castsToText) return ForeignKeysBy(session, StandardForeignQuery(schema, table), table);
  const auto result = SQLForeignKeysW(statement.Native(), nullptr, 0, nullptr, 0, nullptr, 0, text(catalog), length(catalog), text(owner),
                                      length(owner), text(name), length(name));
  if (!SQL_SUCCEEDED(result) && facts.backend == Backend::kOther) return ForeignKeysBy(session, StandardForeignQuery(schema, table), table);
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
  if (session->Facts().backend == Backend::kSqlite) return ReadSqliteKeys(session, table);
  if (session->Facts().backend == Backend::kMySql) return MySqlKeys(session, table);
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

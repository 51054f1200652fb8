#include "ado/odbc/catalog/TableDefinition.h"

#include "ado/Errors.h"
#include "ado/ExactNumber.h"
#include "ado/odbc/values/TypeMap.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

/// A text literal of the backend out of one between quotes of one or the other kind, of which doubled ones stand for themselves; empty for
/// what is none.
std::string TextLiteral(std::string_view text, const CatalogFacts& facts) {
  const char quote = text.size() < 2 ? '\0' : text.front();
  if ((quote != '\'' && quote != '"') || text.back() != quote) return {};
  text = text.substr(1, text.size() - 2);
  std::string literal = "'";
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == quote && (i + 1 == text.size() || text[++i] != quote)) return {};
    if (text[i] == '\'' || (text[i] == '\\' && facts.backslashEscapes)) literal.push_back(text[i]);
    literal.push_back(text[i]);
  }
  return literal + "'";
}

std::string DefaultLiteral(const Variant& value, const CatalogFacts& facts) {
  const auto truth = [&](bool yes) { return std::string(yes ? facts.trueText : facts.falseText); };
  if (const auto* yes = value.If<bool>()) return truth(*yes);
  const auto* given = value.If<std::string>();
  const std::string text(given != nullptr ? runtime::Trim(*given) : runtime::ToText(value, {"", '.'}));
  if (ExactNumber::Read(text)) return text;
  const std::string upper = runtime::UpperCase(text);
  if (upper == "NULL") return upper;
  if (upper == "NOW()") return "CURRENT_TIMESTAMP";
  if (upper == "TRUE" || upper == "YES") return truth(true);
  if (upper == "FALSE" || upper == "NO") return truth(false);
  return TextLiteral(text, facts);
}

/// " DEFAULT ..." of a column that has one; a blank text is none.
std::string DefaultText(const Column& column, const CatalogFacts& facts) {
  if (!column.properties.Has("Default")) return {};
  const Variant& value = column.properties.Item("Default");
  const auto* text = value.If<std::string>();
  if (value.IsEmpty() || value.IsNull() || (text != nullptr && runtime::Trim(*text).empty())) return {};
  const std::string literal = IsCounter(column) || value.Is<runtime::Bytes>() ? std::string() : DefaultLiteral(value, facts);
  if (literal.empty()) {
    throw runtime::Error(runtime::kProviderFailure, "La valeur par défaut du champ " + column.name + " ne peut pas être reprise.", "odbc");
  }
  return " DEFAULT " + literal;
}

std::string ColumnText(const Session& session, const Column& column) {
  const CatalogFacts& facts = session.Facts();
  return session.Quoted(column.name) + " " + (IsCounter(column) ? std::string(facts.types.counter) : ColumnTypeText(column, facts.types)) +
         DefaultText(column, facts);
}

std::string ColumnList(const Session& session, const Index& index) {
  std::string list;
  for (const auto& column : index.columns) {
    list += (list.empty() ? "" : ", ") + session.Quoted(column.name) + (column.sortOrder == adSortDescending ? " DESC" : "");
  }
  return "(" + list + ")";
}

std::string ColumnList(const Session& session, const Key& key, std::string KeyColumn::*name) {
  std::string list;
  for (const auto& column : key.columns) list += (list.empty() ? "" : ", ") + session.Quoted(column.*name);
  return "(" + list + ")";
}

/// What stands behind ON UPDATE and ON DELETE; empty where the default will do.
std::string RuleText(RuleType rule) {
  switch (rule) {
    case adRICascade:
      return "CASCADE";
    case adRISetNull:
      return "SET NULL";
    case adRISetDefault:
      return "SET DEFAULT";
    default:
      return {};
  }
}

void RequireRules(const Key& key, const CatalogFacts& facts) {
  const bool defaults = key.updateRule == adRISetDefault || key.deleteRule == adRISetDefault;
  const bool refused = (facts.refusesDefaultRules && defaults) || (facts.refusesUpdateRules && key.updateRule != adRINone);
  if (refused) throw AdoError(runtime::kOperationNotSupported, key.name);
}

std::string ConstraintText(const Session& session, const Key& key) {
  const std::string head = "CONSTRAINT " + session.Quoted(key.name);
  const std::string own = ColumnList(session, key, &KeyColumn::name);
  if (key.type != adKeyForeign) return head + (key.type == adKeyPrimary ? " PRIMARY KEY " : " UNIQUE ") + own;
  RequireRules(key, session.Facts());
  std::string text = head + " FOREIGN KEY " + own + " REFERENCES " + session.Quoted(key.relatedTable) + " " +
                     ColumnList(session, key, &KeyColumn::relatedColumn);
  if (const auto rule = RuleText(key.updateRule); !rule.empty()) text += " ON UPDATE " + rule;
  if (const auto rule = RuleText(key.deleteRule); !rule.empty()) text += " ON DELETE " + rule;
  return text;
}

}  // namespace

bool IsCounter(const Column& column) {
  return column.properties.Has("AutoIncrement") && column.properties.Item("AutoIncrement") == Variant(true);
}

std::string CreateTableText(const Session& session, Table& table) {
  std::string parts;
  for (const auto& column : table.Columns()) {
    parts += (parts.empty() ? "" : ", ") + ColumnText(session, column);
    // ADO creates a column as required unless it is marked as nullable.
    if ((column.attributes & adColNullable) == 0 && !IsCounter(column)) parts += " NOT NULL";
  }
  for (const auto& index : table.Indexes()) {
    const bool counter = index.columns.size() == 1 && IsCounter(table.ColumnNamed(index.columns[0].name));
    if (index.primaryKey && !(counter && session.Facts().counterIsPrimaryKey)) {
      parts += ", CONSTRAINT " + session.Quoted(index.name) + " PRIMARY KEY " + ColumnList(session, index);
    }
  }
  for (const auto& key : table.Keys()) {
    const bool counter = key.type == adKeyPrimary && key.columns.size() == 1 && IsCounter(table.ColumnNamed(key.columns[0].name));
    if (!(counter && session.Facts().counterIsPrimaryKey)) parts += ", " + ConstraintText(session, key);
  }
  return "CREATE TABLE " + session.Quoted(table.Name()) + " (" + parts + ")";
}

std::string AddColumnText(const Session& session, const std::string& table, const Column& column) {
  // A required column cannot be added to a table that has rows: it is added as a nullable one on every backend.
  const std::string definition = ColumnText(session, column);
  const std::string head = "ALTER TABLE " + session.Quoted(table) + " ADD ";
  return session.Facts().bracketsNewColumns ? head + "(" + definition + ")" : head + definition;
}

std::string AddIndexText(const Session& session, const std::string& table, const Index& index) {
  const std::string name = session.Quoted(index.name);
  if (index.primaryKey && !session.Facts().keysAreFixed) {
    return "ALTER TABLE " + session.Quoted(table) + " ADD CONSTRAINT " + name + " PRIMARY KEY " + ColumnList(session, index);
  }
  const std::string kind = index.unique || index.primaryKey ? "CREATE UNIQUE INDEX " : "CREATE INDEX ";
  return kind + name + " ON " + session.Quoted(table) + " " + ColumnList(session, index);
}

std::string AddKeyText(const Session& session, const std::string& table, const Key& key) {
  if (session.Facts().keysAreFixed) return {};
  return "ALTER TABLE " + session.Quoted(table) + " ADD " + ConstraintText(session, key);
}

std::string DropKeyText(const Session& session, const std::string& table, const Key& key) {
  if (session.Facts().keysAreFixed) return {};
  const std::string alter = "ALTER TABLE " + session.Quoted(table) + " DROP ";
  if (!session.Facts().dropsKeysByKind) return alter + "CONSTRAINT " + session.Quoted(key.name);
  if (key.type == adKeyPrimary) return alter + "PRIMARY KEY";
  return alter + (key.type == adKeyForeign ? "FOREIGN KEY " : "INDEX ") + session.Quoted(key.name);
}

std::string RenameTableText(const Session& session, const std::string& table, const std::string& name) {
  if (!session.Facts().renamesTables) return {};
  return "ALTER TABLE " + session.Quoted(table) + " RENAME TO " + session.Quoted(name);
}

std::string DropIndexText(const Session& session, const std::string& table, const std::string& index, bool primaryKey) {
  if (!primaryKey)
    return "DROP INDEX " + session.Quoted(index) + (session.Facts().indexesAreOfTables ? " ON " + session.Quoted(table) : "");
  Key key;
  key.type = adKeyPrimary;
  key.name = index;
  return DropKeyText(session, table, key);
}

}  // namespace tamlo::ado::odbc

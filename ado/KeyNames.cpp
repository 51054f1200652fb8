#include "ado/KeyNames.h"

#include <algorithm>

#include "ado/Errors.h"
#include "runtime/Text.h"

namespace tamlo::ado {
namespace {

bool IsRule(RuleType rule) { return rule >= adRINone && rule <= adRISetDefault; }

bool IsWhole(const Key& key) {
  if (IsBlank(key.name) || key.columns.empty() || key.type < adKeyPrimary || key.type > adKeyUnique) return false;
  const bool foreign = key.type == adKeyForeign;
  if (foreign && (IsBlank(key.relatedTable) || !IsRule(key.updateRule) || !IsRule(key.deleteRule))) return false;
  return std::none_of(key.columns.begin(), key.columns.end(),
                      [&](const KeyColumn& column) { return IsBlank(column.name) || (foreign && IsBlank(column.relatedColumn)); });
}

std::vector<std::string> NamesOf(const std::vector<Column>& columns) {
  std::vector<std::string> names;
  for (const Column& column : columns) names.push_back(column.name);
  return names;
}

const std::string& Needed(const std::vector<std::string>& names, const std::string& name) {
  const std::string* meant = MeantName(names, name);
  if (meant == nullptr) throw AdoError(runtime::kItemNotFound, name);
  return *meant;
}

}  // namespace

bool IsBlank(const std::string& text) { return text.find_first_not_of(" \t\r\n") == std::string::npos; }

const std::string* MeantName(const std::vector<std::string>& names, const std::string& name) {
  auto found = std::find(names.begin(), names.end(), name);
  if (found == names.end()) {
    const std::string upper = runtime::UpperCase(name);
    found = std::find_if(names.begin(), names.end(), [&](const std::string& one) { return runtime::UpperCase(one) == upper; });
  }
  return found == names.end() ? nullptr : &*found;
}

void RequireWhole(const Key& key) {
  if (!IsWhole(key)) throw AdoError(runtime::kBadArguments, key.name);
}

Key Resolved(const Key& key, const std::string& table, const std::vector<Column>& columns, ProviderCatalog& provider) {
  RequireWhole(key);
  Key resolved = key;
  const std::vector<std::string> own = NamesOf(columns);
  for (KeyColumn& column : resolved.columns) column.name = Needed(own, column.name);
  if (key.type != adKeyForeign) return resolved;
  std::vector<std::string> tables{table};
  for (auto& [name, type] : provider.Tables()) tables.push_back(std::move(name));
  resolved.relatedTable = Needed(tables, key.relatedTable);
  const std::vector<std::string> related = resolved.relatedTable == table ? own : NamesOf(provider.Columns(resolved.relatedTable));
  for (KeyColumn& column : resolved.columns) column.relatedColumn = Needed(related, column.relatedColumn);
  return resolved;
}

}  // namespace tamlo::ado

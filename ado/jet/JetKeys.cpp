#include "ado/jet/JetKeys.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "ado/Errors.h"
#include "ado/jet/JetCatalog.h"
#include "ado/jet/JetErrors.h"
#include "jet/table/Table.h"
#include "jet/sql/Names.h"
#include "jet/sql/Session.h"

namespace tamlo::ado::jetprovider {

namespace {

bool Cascades(RuleType rule) {
  if (rule == adRISetNull || rule == adRISetDefault) throw AdoError(runtime::kOperationNotSupported);
  return rule == adRICascade;
}

Key KeyFrom(const jet::IndexDef& index, jet::Table& table) {
  Key key;
  key.name = index.name;
  key.type = index.kind == jet::IndexKind::kPrimary ? adKeyPrimary : adKeyUnique;
  for (const jet::IndexColumn& part : index.columns) key.columns.push_back({table.Columns()[part.column].name, {}});
  return key;
}

Key KeyFrom(jet::Relationship relationship) {
  Key key;
  key.name = std::move(relationship.name);
  key.type = adKeyForeign;
  key.relatedTable = std::move(relationship.referencedTable);
  for (auto& [own, related] : relationship.columns) key.columns.push_back({std::move(own), std::move(related)});
  key.updateRule = relationship.cascadeUpdates ? adRICascade : adRINone;
  key.deleteRule = relationship.cascadeDeletes ? adRICascade : adRINone;
  return key;
}

}  // namespace

jet::IndexSpec IndexOf(const Key& key) {
  jet::IndexSpec index;
  index.name = key.name;
  index.primary = key.type == adKeyPrimary;
  index.unique = true;
  for (const KeyColumn& column : key.columns) index.columns.push_back({column.name, false});
  return index;
}

jet::Relationship RelationshipOf(const std::string& table, const Key& key) {
  jet::Relationship relationship;
  relationship.name = key.name;
  relationship.table = table;
  relationship.referencedTable = key.relatedTable;
  for (const KeyColumn& column : key.columns) relationship.columns.emplace_back(column.name, column.relatedColumn);
  relationship.cascadeUpdates = Cascades(key.updateRule);
  relationship.cascadeDeletes = Cascades(key.deleteRule);
  return relationship;
}

std::vector<Key> JetCatalog::Keys(const std::string& table) {
  return OnEngine([&] {
    const jet::Database::ReadScope scope(connection_.Database());
    std::vector<Key> keys;
    const jet::CatalogObject* object = connection_.Database().FindObject(table);
    if (object == nullptr) throw jet::Error(jet::ErrorCode::kNotFound, table);
    if (object->kind == jet::ObjectKind::kQuery || object->kind == jet::ObjectKind::kOdbcLink) return keys;
    // The keys of a linked Access table are those of the table behind the link.
    const auto found = connection_.Session().FindTable(table);
    if (found == nullptr || found->table == nullptr) return keys;
    const jet::Database::ReadScope scopeOfLinked(*found->database);
    jet::sql::RequireCurrent(*found);
    for (const jet::IndexDef& index : found->table->Indexes()) {
      if (index.kind != jet::IndexKind::kForeignKey && index.unique) keys.push_back(KeyFrom(index, *found->table));
    }
    std::stable_sort(keys.begin(), keys.end(), [](const Key& a, const Key& b) { return a.type < b.type; });
    const std::string name = found->table->Name();
    for (jet::Relationship& relationship : found->database->Relationships()) {
      if (relationship.enforced && jet::sql::SameName(relationship.table, name)) keys.push_back(KeyFrom(std::move(relationship)));
    }
    return keys;
  });
}

void JetCatalog::RequireLocal(const std::string& table) {
  const jet::CatalogObject* object = OnEngine([&] { return connection_.Database().FindObject(table); });
  if (object != nullptr && object->kind != jet::ObjectKind::kTable && object->kind != jet::ObjectKind::kSystemTable) {
    throw AdoError(runtime::kOperationNotSupported, table);
  }
}

void JetCatalog::AppendKey(const std::string& table, const Key& key) {
  RequireLocal(table);
  connection_.BeforeChange();
  if (key.type == adKeyForeign) {
    if (!jet::sql::SameName(key.relatedTable, table)) RequireLocal(key.relatedTable);
    const jet::Relationship relationship = RelationshipOf(table, key);
    OnEngine([&] { connection_.Database().CreateRelationship(relationship); });
  } else {
    OnEngine([&] { connection_.Database().CreateIndex(table, IndexOf(key)); });
  }
}

void JetCatalog::DeleteKey(const std::string& table, const Key& key) {
  RequireLocal(table);
  connection_.BeforeChange();
  OnEngine([&] {
    if (key.type == adKeyForeign) {
      connection_.Database().DropRelationship(key.name);
    } else {
      connection_.Database().DropIndex(table, key.name);
    }
  });
}

}  // namespace tamlo::ado::jetprovider

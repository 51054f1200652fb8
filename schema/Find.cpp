#include "schema/Find.h"

namespace tamlo::schema {
namespace {

void Spell(const Table* table, std::string& column) {
  if (table == nullptr) return;
  if (const Column* found = Find(table->columns, column)) column = found->name;
}

}  // namespace

void SpellReferences(Database& database) {
  for (Table& table : database.tables)
    for (Index& index : table.indexes)
      for (IndexPart& part : index.parts) Spell(&table, part.column);
  for (Relation& relation : database.relations) {
    const Table* table = Find(database.tables, relation.table);
    const Table* referenced = Find(database.tables, relation.referenced);
    if (table != nullptr) relation.table = table->name;
    if (referenced != nullptr) relation.referenced = referenced->name;
    for (auto& [own, other] : relation.columns) {
      Spell(table, own);
      Spell(referenced, other);
    }
  }
}

}  // namespace tamlo::schema

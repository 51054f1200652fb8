#include "schema/Ddl.h"

#include "schema/DdlWriter.h"
#include "schema/Find.h"

namespace tamlo::schema {
namespace {

/// False for a relation of a link, of a table of the system, or of what has been dropped since.
bool BothSidesAreThere(const Database& database, const Relation& relation) {
  const Table* table = Find(database.tables, relation.table);
  const Table* referenced = Find(database.tables, relation.referenced);
  if (table == nullptr || referenced == nullptr) return false;
  for (const auto& [from, to] : relation.columns)
    if (Find(table->columns, from) == nullptr || Find(referenced->columns, to) == nullptr) return false;
  return true;
}

/// MariaDB: a relation stands on an index over whole values.
bool IsTooWide(const Database& database, const Dialect& dialect, const Relation& relation) {
  if (dialect.engine != Engine::kMariaDb) return false;
  int bytes = 0;
  for (const auto& [from, to] : relation.columns)
    for (const auto& [name, column] : {std::pair(&relation.table, &from), std::pair(&relation.referenced, &to)}) {
      const Type type = Find(Find(database.tables, *name)->columns, *column)->type;
      if (type.kind == Kind::kMemo || type.kind == Kind::kBlob) return true;
      if (column == &from) bytes += KeyBytes(type);
    }
  return bytes > kMostKeyBytes;
}

/// The relations that the engine is to enforce, each with what it may not do there taken away.
std::vector<Relation> Enforceable(const Database& database, const Dialect& dialect, DdlWriter& writer) {
  std::vector<Relation> relations;
  for (const Relation& read : database.relations) {
    Relation relation = read;
    if (!BothSidesAreThere(database, relation)) {
      writer.Lost(relation.table, {}, What::kRelationNoSides, {relation.name});
      continue;
    }
    if (!relation.enforced) {
      writer.Lost(relation.table, {}, What::kRelationLoose, {relation.name});
      continue;
    }
    if (IsTooWide(database, dialect, relation)) {
      writer.Lost(relation.table, {}, What::kRelationTooWide, {relation.name, writer.EngineName()});
      continue;
    }
    const bool itself = relation.table == relation.referenced;
    if (relation.cascadeUpdates && (!dialect.onUpdate || (itself && !dialect.cascadesOnItself))) {
      writer.Lost(relation.table, {}, What::kNoCascade, {relation.name, writer.EngineName()});
      relation.cascadeUpdates = false;
    }
    relations.push_back(std::move(relation));
  }
  return relations;
}

}  // namespace

Script WriteDdl(const Database& database, const Dialect& dialect) {
  Script script;
  DdlWriter writer(database, dialect, script);
  writer.NameAll();
  const auto relations = Enforceable(database, dialect, writer);
  for (const Table& table : database.tables) writer.CreateTable(table, relations);
  for (const Table& table : database.tables) writer.CreateIndexes(table, relations);
  for (const Table& table : database.tables) writer.AddRules(table);
  if (!dialect.keysInside)
    for (const Relation& relation : relations) writer.AddRelation(relation);
  for (const Table& table : database.tables) writer.RestartCounter(table);
  for (const Query& query : database.queries) writer.Lost({}, {}, What::kQueryStays, {query.name});
  for (const Link& link : database.links) writer.Lost({}, {}, What::kLinkStays, {link.name, link.target});
  return script;
}

}  // namespace tamlo::schema

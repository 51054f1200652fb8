// Indexes and relations in an Access file: at most 32 trees a table, 10 columns in a key, and a relation that is enforced needs a unique
// index over exactly the columns that it refers to, of the same types.
#include <algorithm>

#include "schema/AccessPlanner.h"

namespace tamlo::schema {
namespace {

constexpr std::size_t kMostParts = 10;
constexpr std::size_t kMostTrees = 32;

/// Whether the index stands on exactly these columns, upwards, in this order.
template <typename NameAt>
bool StandsOn(const Index& index, std::size_t count, const NameAt& nameAt) {
  if (index.parts.size() != count) return false;
  for (std::size_t i = 0; i < count; ++i)
    if (index.parts[i].descending || !base::SameName(index.parts[i].column, nameAt(i))) return false;
  return true;
}

bool OnReferring(const Index& index, const Relation& relation) {
  return StandsOn(index, relation.columns.size(), [&](std::size_t i) { return relation.columns[i].first; });
}

/// Puts the pairs into the order of a unique index over what is referred to. False when there is none.
bool FollowIndex(Relation& relation, const Table& referenced) {
  for (const Index& index : referenced.indexes) {
    if (!index.unique || index.parts.size() != relation.columns.size()) continue;
    std::vector<std::pair<std::string, std::string>> ordered;
    for (const IndexPart& part : index.parts) {
      const auto pair = std::find_if(relation.columns.begin(), relation.columns.end(),
                                     [&](const auto& held) { return base::SameName(held.second, part.column); });
      if (!part.descending && pair != relation.columns.end()) ordered.push_back(*pair);
    }
    if (ordered.size() != relation.columns.size()) continue;
    relation.columns = std::move(ordered);
    return true;
  }
  return false;
}

}  // namespace

/// Why Access has no such index; nothing when it has.
std::optional<Finding> AccessPlanner::WhyNot(std::size_t place, const Index& index) const {
  const Table& table = plan_.there.tables[place];
  const auto why = [&](What what, std::vector<std::string> parts) { return Finding{NameOf(place), {}, what, std::move(parts)}; };
  if (index.parts.empty() || index.parts.size() > kMostParts)
    return why(What::kIndexParts, {index.name, std::to_string(index.parts.size())});
  for (std::size_t i = 0; i < index.parts.size(); ++i) {
    const Column* column = Find(table.columns, index.parts[i].column);
    if (column == nullptr) return why(What::kIndexNoColumns, {index.name});
    if (column->type.kind == Kind::kBlob) return why(What::kIndexOverOle, {index.name, column->name});
    for (std::size_t k = 0; k < i; ++k)
      if (base::SameName(index.parts[k].column, column->name)) return why(What::kIndexTwice, {index.name, column->name});
  }
  return std::nullopt;
}

void AccessPlanner::PlanIndexes(std::size_t place) {
  Table& table = plan_.there.tables[place];
  bool primary = false;
  std::vector<Index> kept;
  for (Index& index : table.indexes) {
    if (auto why = WhyNot(place, index)) {
      plan_.findings.push_back(std::move(*why));
      continue;
    }
    if (index.primary && primary) Lost(NameOf(place), {}, What::kSecondPrimary, {index.name});
    if (index.primary) index.unique = index.required = true;
    index.primary = index.primary && !primary;
    primary = primary || index.primary;
    kept.push_back(std::move(index));
  }
  table.indexes = std::move(kept);
}

/// Tables and columns by their names there. False when one of them is none of the source's own.
bool AccessPlanner::Translate(Relation& relation) const {
  const auto table = PlaceOf(source_.tables, relation.table);
  const auto referenced = PlaceOf(source_.tables, relation.referenced);
  if (!table || !referenced) return false;
  for (auto& [own, other] : relation.columns) {
    const auto ownPlace = PlaceOf(source_.tables[*table].columns, own);
    const auto otherPlace = PlaceOf(source_.tables[*referenced].columns, other);
    if (!ownPlace || !otherPlace) return false;
    own = plan_.there.tables[*table].columns[*ownPlace].name;
    other = plan_.there.tables[*referenced].columns[*otherPlace].name;
  }
  relation.table = plan_.there.tables[*table].name;
  relation.referenced = plan_.there.tables[*referenced].name;
  return !relation.columns.empty() && relation.columns.size() <= kMostParts;
}

void AccessPlanner::PlanRelations() {
  std::vector<Relation> kept;
  for (const Relation& source : source_.relations) {
    Relation relation = source;
    if (!Translate(relation)) {
      Lost(source.table, {}, What::kRelationNoTables, {source.name, source.referenced});
      continue;
    }
    if (relation.enforced) PlanEnforcement(relation);
    if (source.enforced && !relation.enforced) relation.cascadeUpdates = relation.cascadeDeletes = false;
    kept.push_back(std::move(relation));
  }
  plan_.there.relations = std::move(kept);
}

void AccessPlanner::PlanEnforcement(Relation& relation) {
  const Table& table = *There(relation.table);
  const Table& referenced = *There(relation.referenced);
  const std::string& told = NameOf(static_cast<std::size_t>(&table - plan_.there.tables.data()));
  const auto loosen = [&](What why, std::vector<std::string> parts) {
    Lost(told, {}, why, std::move(parts));
    relation.enforced = false;
  };
  for (const auto& [own, other] : relation.columns)
    if (Find(table.columns, own)->type.kind != Find(referenced.columns, other)->type.kind)
      return loosen(What::kRelationOfTypes, {relation.name, own, other});
  const auto before = relation.columns;
  if (!FollowIndex(relation, referenced)) return loosen(What::kRelationNoIndex, {relation.name, relation.referenced});
  if (relation.columns != before) Lost(told, {}, What::kRelationOrder, {relation.name});
}

/// An index that some engines make for a relation, under its name, is made by the relation here.
void AccessPlanner::LeaveToRelations(std::size_t place) {
  Table& table = plan_.there.tables[place];
  std::erase_if(table.indexes, [&](const Index& index) {
    const bool own = std::any_of(plan_.there.relations.begin(), plan_.there.relations.end(), [&](const Relation& relation) {
      return relation.enforced && !index.unique && base::SameName(relation.table, table.name) &&
             base::SameName(relation.name, index.name) && OnReferring(index, relation);
    });
    if (own) Lost(NameOf(place), {}, What::kIndexOfRelation, {index.name});
    return own;
  });
}

/// Those that need not be go first, from the last on.
void AccessPlanner::CountTrees(std::size_t place) {
  Table& table = plan_.there.tables[place];
  std::size_t trees = table.indexes.size();
  for (const Relation& relation : plan_.there.relations) {
    if (!relation.enforced || !base::SameName(relation.table, table.name)) continue;
    const bool shared = std::any_of(table.indexes.begin(), table.indexes.end(), [&](const Index& index) {
      return (index.unique || !relation.oneToOne) && OnReferring(index, relation);
    });
    trees += shared ? 0 : 1;
  }
  for (std::size_t i = table.indexes.size(); i-- > 0 && trees > kMostTrees;) {
    if (table.indexes[i].unique) continue;
    Lost(NameOf(place), {}, What::kManyIndexes, {table.indexes[i].name});
    table.indexes.erase(table.indexes.begin() + static_cast<std::ptrdiff_t>(i));
    --trees;
  }
  if (trees > kMostTrees) Refuse(place, What::kNeedsIndexes, {std::to_string(trees)});
}

}  // namespace tamlo::schema

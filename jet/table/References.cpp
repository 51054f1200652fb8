#include "jet/table/References.h"

#include <algorithm>

#include "jet/table/TableSpace.h"
#include "jet/table/Convert.h"
#include "jet/value/Error.h"
#include "jet/table/TableCore.h"

namespace jet {
namespace {

constexpr std::uint8_t kForeignKey = 2;
constexpr std::uint8_t kReferenced = 1;
constexpr std::uint8_t kReferencing = 2;
constexpr std::uint8_t kDeletesSetNull = 2;

using Index = TableDefinition::Index;

/// The other side of a foreign key.
struct Partner {
  TableCore* table = nullptr;
  const Index* index = nullptr;
  TableCore::Tree* tree = nullptr;
};

Partner FindPartner(TableCore& table, const Index& index) {
  Partner partner;
  if (index.partnerTable == 0 || index.partnerIndex < 0) return partner;
  partner.table = &table.space.TableAt(index.partnerTable, {}).Core();
  partner.table->Refresh();
  for (const auto& candidate : partner.table->Definition().indexes)
    if (candidate.number == static_cast<std::uint32_t>(index.partnerIndex) && candidate.type == kForeignKey) partner.index = &candidate;
  if (partner.index != nullptr) partner.tree = &partner.table->Trees()[partner.index->tree];
  return partner;
}

/// The key that these values make in a tree of `target`; false when one of them is null. once: as some programs write it.
bool MakePartnerKey(const TableCore::Tree& own, const Partner& partner, const NewValueOf& valueOf, Bytes& key, bool once = false) {
  key.clear();
  if (own.columns.size() != partner.tree->columns.size()) return false;
  Value scratch;
  for (std::size_t i = 0; i < own.columns.size(); ++i) {
    const Value* value = valueOf(own.columns[i]);
    if (value == nullptr || value->IsNull()) return false;
    const auto& column = partner.table->Stored()[partner.tree->columns[i]];
    KeyColumn part = partner.tree->keyColumns[i];
    if (once && column.IsText() && part.order == TextOrder::kGeneral) part.order = TextOrder::kGeneralOnce;
    AppendKey(part, ConvertToColumn(*value, column, scratch), key);
  }
  return true;
}

bool Concerns(const TableCore::Tree& tree, const std::vector<bool>* assigned) {
  if (assigned == nullptr || assigned->empty()) return true;
  return std::any_of(tree.columns.begin(), tree.columns.end(), [&](std::size_t position) { return (*assigned)[position]; });
}

std::vector<RowId> RowsWithKey(BTree& tree, const Bytes& key) {
  std::vector<RowId> rows;
  BTreeCursor cursor(tree);
  cursor.SeekBefore(key);
  while (cursor.Next() && std::equal(key.begin(), key.end(), cursor.Key().begin(), cursor.Key().end())) rows.push_back(cursor.Row());
  return rows;
}

bool AnyForeignKey(const TableCore& table) {
  const auto& indexes = table.Definition().indexes;
  return std::any_of(indexes.begin(), indexes.end(), [](const Index& index) { return index.type == kForeignKey; });
}

}  // namespace

void CheckParents(TableCore& table, const NewValueOf& valueOf, const std::vector<bool>& assigned) {
  if (!AnyForeignKey(table)) return;
  Bytes key;
  Bytes ownKey;
  for (const auto& index : table.Definition().indexes) {
    if (index.type != kForeignKey || index.side != kReferencing) continue;
    const auto& tree = table.Trees()[index.tree];
    if (!Concerns(tree, &assigned)) continue;
    const Partner partner = FindPartner(table, index);
    if (partner.tree == nullptr || !MakePartnerKey(tree, partner, valueOf, key)) continue;
    if (partner.tree->tree->Find(key)) continue;
    if (Bytes other; MakePartnerKey(tree, partner, valueOf, other, true) && other != key && partner.tree->tree->Find(other)) continue;
    // A row may refer to itself.
    if (partner.table == &table) {
      ownKey.clear();
      bool whole = true;
      for (std::size_t i = 0; i < partner.tree->columns.size() && whole; ++i) {
        const Value* value = valueOf(partner.tree->columns[i]);
        whole = value != nullptr && !value->IsNull();
        if (whole) AppendKey(partner.tree->keyColumns[i], *value, ownKey);
      }
      if (whole && ownKey == key) continue;
    }
    throw Error(ErrorCode::kRelationViolated, "The table \"" + partner.table->name + "\" must first have the row that \"" + table.name +
                                                  "\" refers to by \"" + index.name + "\"");
  }
}

ChildWork CollectChildren(TableCore& table, RowId id, Row& row, const std::vector<bool>* assigned, const NewValueOf& valueOf) {
  ChildWork work;
  if (!AnyForeignKey(table)) return work;
  Value held;
  const NewValueOf oldValueOf = [&](std::size_t position) {
    row.Get(position, held);
    return &held;
  };
  Bytes oldKey;
  Bytes newKey;
  for (const auto& index : table.Definition().indexes) {
    if (index.type != kForeignKey || index.side != kReferenced) continue;
    const auto& tree = table.Trees()[index.tree];
    if (!Concerns(tree, assigned)) continue;
    const Partner partner = FindPartner(table, index);
    if (partner.tree == nullptr || !MakePartnerKey(tree, partner, oldValueOf, oldKey)) continue;
    const bool haveNew =
        assigned != nullptr &&
        MakePartnerKey(
            tree, partner,
            [&](std::size_t position) -> const Value* { return (*assigned)[position] ? valueOf(position) : oldValueOf(position); }, newKey);
    if (haveNew && newKey == oldKey) continue;
    auto children = RowsWithKey(*partner.tree->tree, oldKey);
    if (Bytes other; MakePartnerKey(tree, partner, oldValueOf, other, true) && other != oldKey) {
      const auto more = RowsWithKey(*partner.tree->tree, other);
      children.insert(children.end(), more.begin(), more.end());
    }
    if (partner.table == &table && assigned == nullptr) std::erase(children, id);
    if (children.empty()) continue;

    const std::uint8_t deletes = index.cascadeDeletes | partner.index->cascadeDeletes;
    const bool setNull = assigned == nullptr && (deletes & kDeletesSetNull) != 0;
    const bool allowed = assigned == nullptr ? deletes != 0 : (index.cascadeUpdates | partner.index->cascadeUpdates) != 0 && haveNew;
    if (!allowed)
      throw Error(ErrorCode::kRelationViolated, "The row cannot be deleted or changed: the table \"" + partner.table->name +
                                                    "\" has rows that refer to it by \"" + partner.index->name + "\"");
    for (const RowId child : children) {
      ChildWork::Change change{partner.table->page, child, assigned == nullptr && !setNull, {}, {}};
      if (!change.remove) {
        for (std::size_t i = 0; i < tree.columns.size(); ++i) {
          change.columns.push_back(partner.tree->columns[i]);
          if (setNull)
            change.values.emplace_back();
          else
            change.values.push_back((*assigned)[tree.columns[i]] ? *valueOf(tree.columns[i]) : *oldValueOf(tree.columns[i]));
        }
      }
      work.changes.push_back(std::move(change));
    }
  }
  return work;
}

void FollowChildren(TableSpace& space, const ChildWork& work) {
  for (const auto& change : work.changes) {
    TableCore& table = space.TableAt(change.table, {}).Core();
    Row row;
    table.Refresh();
    if (!table.ReadRow(change.row, row)) continue;  // another cascade has taken it already
    row = {};
    if (change.remove) {
      table.DeleteRow(change.row, {});
      continue;
    }
    std::vector<Assignment> assignments;
    for (std::size_t i = 0; i < change.columns.size(); ++i) assignments.push_back({change.columns[i], &change.values[i], nullptr});
    table.UpdateRow(change.row, assignments, {});
  }
}

}  // namespace jet

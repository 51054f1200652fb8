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

/// The row itself has that key in the partner's tree, which is of its own table.
bool HasOwnKey(const Partner& partner, const NewValueOf& valueOf, const Bytes& key) {
  Bytes own;
  for (std::size_t i = 0; i < partner.tree->columns.size(); ++i) {
    const Value* value = valueOf(partner.tree->columns[i]);
    if (value == nullptr || value->IsNull()) return false;
    AppendKey(partner.tree->keyColumns[i], *value, own);
  }
  return own == key;
}

/// True also for a row that refers to nothing, having a null in its key. key: memory that is used.
bool HasParent(const TableCore& table, const TableCore::Tree& tree, const Partner& partner, const NewValueOf& valueOf, Bytes& key) {
  if (!MakePartnerKey(tree, partner, valueOf, key) || partner.tree->tree->Find(key)) return true;
  if (Bytes other; MakePartnerKey(tree, partner, valueOf, other, true) && other != key && partner.tree->tree->Find(other)) return true;
  return partner.table == &table && HasOwnKey(partner, valueOf, key);  // a row may refer to itself
}

/// A row that others may refer to, about to be deleted or changed.
struct Parent {
  const TableCore& table;
  RowId id;
  bool deleted;
  NewValueOf oldValueOf;
  NewValueOf newValueOf;  ///< of a changed one
};

enum class Follow : std::uint8_t { kDelete, kSetNull, kTakeNewKey };

/// What the rows that refer to the parent do. Errors: kRelationViolated when nothing cascades to them.
Follow RuleFor(const Parent& parent, const Index& index, const Partner& partner, bool haveNewKey) {
  const unsigned deletes = index.cascadeDeletes | partner.index->cascadeDeletes;
  const unsigned updates = index.cascadeUpdates | partner.index->cascadeUpdates;
  if (parent.deleted && deletes != 0) return (deletes & kDeletesSetNull) != 0 ? Follow::kSetNull : Follow::kDelete;
  if (!parent.deleted && updates != 0 && haveNewKey) return Follow::kTakeNewKey;
  throw Error(ErrorCode::kRelationViolated, "The row cannot be deleted or changed: the table \"" + partner.table->name +
                                                "\" has rows that refer to it by \"" + partner.index->name + "\"");
}

std::vector<RowId> ChildrenOf(const Parent& parent, const TableCore::Tree& tree, const Partner& partner, const Bytes& key) {
  auto children = RowsWithKey(*partner.tree->tree, key);
  if (Bytes other; MakePartnerKey(tree, partner, parent.oldValueOf, other, true) && other != key) {
    const auto more = RowsWithKey(*partner.tree->tree, other);
    children.insert(children.end(), more.begin(), more.end());
  }
  if (partner.table == &parent.table && parent.deleted) std::erase(children, parent.id);
  return children;
}

ChildWork::Change ChangeOf(RowId child, const Parent& parent, const TableCore::Tree& tree, const Partner& partner, Follow follow) {
  ChildWork::Change change{partner.table->page, child, follow == Follow::kDelete, {}, {}};
  if (change.remove) return change;
  for (std::size_t i = 0; i < tree.columns.size(); ++i) {
    change.columns.push_back(partner.tree->columns[i]);
    change.values.push_back(follow == Follow::kSetNull ? Value() : *parent.newValueOf(tree.columns[i]));
  }
  return change;
}

void CollectChildrenBy(const Index& index, const Parent& parent, const TableCore::Tree& tree, const Partner& partner, ChildWork& work) {
  Bytes oldKey;
  Bytes newKey;
  if (partner.tree == nullptr || !MakePartnerKey(tree, partner, parent.oldValueOf, oldKey)) return;
  const bool haveNewKey = !parent.deleted && MakePartnerKey(tree, partner, parent.newValueOf, newKey);
  if (haveNewKey && newKey == oldKey) return;
  const auto children = ChildrenOf(parent, tree, partner, oldKey);
  if (children.empty()) return;
  const Follow follow = RuleFor(parent, index, partner, haveNewKey);
  for (const RowId child : children) work.changes.push_back(ChangeOf(child, parent, tree, partner, follow));
}

}  // namespace

void CheckParents(TableCore& table, const NewValueOf& valueOf, const std::vector<bool>& assigned) {
  if (!AnyForeignKey(table)) return;
  Bytes key;
  for (const auto& index : table.Definition().indexes) {
    if (index.type != kForeignKey || index.side != kReferencing) continue;
    const auto& tree = table.Trees()[index.tree];
    if (!Concerns(tree, &assigned)) continue;
    const Partner partner = FindPartner(table, index);
    if (partner.tree == nullptr || HasParent(table, tree, partner, valueOf, key)) continue;
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
  const NewValueOf newValueOf = [&](std::size_t position) -> const Value* {
    return (*assigned)[position] ? valueOf(position) : oldValueOf(position);
  };
  const Parent parent{table, id, assigned == nullptr, oldValueOf, newValueOf};
  for (const auto& index : table.Definition().indexes) {
    if (index.type != kForeignKey || index.side != kReferenced) continue;
    const auto& tree = table.Trees()[index.tree];
    if (Concerns(tree, assigned)) CollectChildrenBy(index, parent, tree, FindPartner(table, index), work);
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

#include <algorithm>

#include "jet/page/ChangeScope.h"
#include "jet/schema/AceSchema.h"
#include "jet/schema/Engine.h"
#include "jet/value/Error.h"
#include "jet/schema/Schema.h"
#include "jet/schema/SchemaParts.h"
#include "jet/table/TableCore.h"
#include "jet/value/Text.h"

namespace jet {
namespace {

using Index = TableDefinition::Index;

constexpr std::uint32_t kOneToOne = 0x1;
constexpr std::uint32_t kNotEnforced = 0x2;
constexpr std::uint32_t kCascadeUpdates = 0x100;
constexpr std::uint32_t kCascadeDeletes = 0x1000;
constexpr std::uint32_t kLeftJoin = 0x1000000;
constexpr std::uint32_t kRightJoin = 0x2000000;

std::uint32_t BitsOf(const Relationship& relationship) {
  std::uint32_t bits = 0;
  if (relationship.oneToOne) bits |= kOneToOne;
  if (!relationship.enforced) bits |= kNotEnforced;
  if (relationship.cascadeUpdates) bits |= kCascadeUpdates;
  if (relationship.cascadeDeletes) bits |= kCascadeDeletes;
  if (relationship.leftJoin) bits |= kLeftJoin;
  if (relationship.rightJoin) bits |= kRightJoin;
  return bits;
}

std::uint16_t NumberOf(const TableCore& table, const std::string& name) {
  const auto& columns = table.Stored();
  const auto found = std::find_if(columns.begin(), columns.end(), [&](const auto& column) { return EqualNames(column.name, name); });
  if (found == columns.end()) throw Error(ErrorCode::kNotFound, "The table \"" + table.name + "\" has no column \"" + name + "\"");
  return found->number;
}

/// The columns of the two sides by their numbers.
struct Sides {
  std::vector<std::uint16_t> child;
  std::vector<std::uint16_t> parent;
};

Sides SidesOf(const Relationship& relationship, const TableCore& child, const TableCore& parent) {
  Sides sides;
  for (const auto& pair : relationship.columns) sides.child.push_back(NumberOf(child, pair.first));
  for (const auto& pair : relationship.columns) sides.parent.push_back(NumberOf(parent, pair.second));
  return sides;
}

void RequireSameTypes(const Relationship& relationship, const Sides& sides, const TableCore& child, const TableCore& parent) {
  for (std::size_t i = 0; i < sides.child.size(); ++i) {
    const auto& [own, other] = relationship.columns[i];
    RequireNotComplex(*child.Definition().FindByNumber(sides.child[i]));
    if (child.Definition().FindByNumber(sides.child[i])->type != parent.Definition().FindByNumber(sides.parent[i])->type)
      throw Error(ErrorCode::kUnsupported, "The columns \"" + own + "\" and \"" + other + "\" are of different types");
  }
}

/// A tree on exactly these columns in this order, ascending.
std::optional<std::size_t> FindTree(const TableDefinition& definition, const std::vector<std::uint16_t>& numbers, bool unique) {
  for (std::size_t i = 0; i < definition.trees.size(); ++i) {
    const auto& tree = definition.trees[i];
    if (unique && (tree.flags & TableDefinition::Tree::kUnique) == 0) continue;
    bool same = true;
    for (std::size_t k = 0; k < tree.columns.size() && same; ++k)
      same = tree.columns[k].number == (k < numbers.size() ? numbers[k] : TableDefinition::kNoColumn) &&
             (k >= numbers.size() || tree.columns[k].order == 1);
    if (same) return i;
  }
  return std::nullopt;
}

/// ".rB", ".rC", ... ".rZ", ".rAA": the name of the hidden index on the referenced side.
std::string HiddenName(const TableDefinition& definition) {
  for (int number = 1;; ++number) {
    std::string letters;
    for (int rest = number;; rest = rest / 26 - 1) {
      letters.insert(letters.begin(), static_cast<char>('A' + rest % 26));
      if (rest < 26) break;
    }
    const std::string name = ".r" + letters;
    const auto& held = definition.indexes;
    if (std::none_of(held.begin(), held.end(), [&](const Index& index) { return EqualNames(index.name, name); })) return name;
  }
}

/// The index on the referenced side; its partner's number is not known yet.
Index ParentSide(const Relationship& relationship, const TableDefinition& definition, std::size_t tree, PageNumber child) {
  Index side;
  side.name = HiddenName(definition);
  side.number = NextIndexNumber(definition);
  side.tree = static_cast<std::uint32_t>(tree);
  side.side = 1;
  side.partnerTable = child;
  side.type = 2;
  side.cascadeUpdates = relationship.cascadeUpdates ? 1 : 0;
  side.cascadeDeletes = relationship.cascadeDeletes ? 1 : 0;
  return side;
}

/// The index on the referring side; its tree is not known yet. Errors: kAlreadyExists.
Index ChildSide(const Relationship& relationship, const TableDefinition& definition, const Index& parentSide, const TableCore& child,
                PageNumber parent) {
  for (const auto& held : definition.indexes)
    if (EqualNames(held.name, relationship.name))
      throw Error(ErrorCode::kAlreadyExists, "The table \"" + child.name + "\" has an index \"" + held.name + "\" already");
  Index side = parentSide;
  side.name = relationship.name;
  side.number = NextIndexNumber(definition);
  side.side = 2;
  side.partnerTable = parent;
  side.partnerIndex = static_cast<std::int32_t>(parentSide.number);
  return side;
}

}  // namespace

RelationshipRows::RelationshipRows(const std::function<std::size_t(const char*)>& column)
    : name_(column("szRelationship")),
      bits_(column("grbit")),
      count_(column("ccolumn")),
      position_(column("icolumn")),
      object_(column("szObject")),
      field_(column("szColumn")),
      referenced_(column("szReferencedObject")),
      referencedField_(column("szReferencedColumn")) {}

void RelationshipRows::Add(Row& row) {
  const std::string title(row.Text(name_));
  auto entry = std::find_if(found_.begin(), found_.end(), [&](const Found& held) { return EqualNames(held.relationship.name, title); });
  if (entry == found_.end()) {
    entry = found_.emplace(found_.end());
    auto& made = entry->relationship;
    const auto flags = static_cast<std::uint32_t>(row.Integer(bits_));
    entry->count = row.Integer(count_);
    made.name = title;
    made.table = row.Text(object_);
    made.referencedTable = row.Text(referenced_);
    made.oneToOne = (flags & kOneToOne) != 0;
    made.enforced = (flags & kNotEnforced) == 0;
    made.cascadeUpdates = (flags & kCascadeUpdates) != 0;
    made.cascadeDeletes = (flags & kCascadeDeletes) != 0;
    made.leftJoin = (flags & kLeftJoin) != 0;
    made.rightJoin = (flags & kRightJoin) != 0;
  }
  std::string child(row.Text(field_));
  std::string parent(row.Text(referencedField_));
  entry->columns.emplace_back(row.Integer(position_), std::pair(std::move(child), std::move(parent)));
}

std::vector<Relationship> RelationshipRows::Take(std::vector<std::string>* incomplete) {
  std::vector<Relationship> relationships;
  for (auto& entry : found_) {
    if (incomplete != nullptr && entry.count != static_cast<std::int64_t>(entry.columns.size())) {
      incomplete->push_back(entry.relationship.name);
      continue;
    }
    std::sort(entry.columns.begin(), entry.columns.end());
    for (auto& [place, pair] : entry.columns) entry.relationship.columns.push_back(std::move(pair));
    relationships.push_back(std::move(entry.relationship));
  }
  found_.clear();
  return relationships;
}

std::vector<Relationship> Schema::Relationships() {
  Table& table = engine_.catalog.RelationshipsTable();
  RelationshipRows rows([&](const char* name) { return table.ColumnAt(name); });
  for (ScanCursor cursor = table.Scan(); cursor.Next();) rows.Add(cursor.Current());
  return rows.Take();
}

void Schema::CreateRelationship(const Relationship& relationship, std::int32_t id) {
  ChangeScope scope(*engine_.pager, true);
  CheckName(relationship.name, engine_.CodePage());
  if (relationship.columns.empty() || relationship.columns.size() > 10)
    throw Error(ErrorCode::kLimit, "A relationship has 1 to 10 pairs of columns");
  for (const auto& held : Relationships())
    if (EqualNames(held.name, relationship.name))
      throw Error(ErrorCode::kAlreadyExists, "There is a relationship \"" + relationship.name + "\" already");
  TableCore& child = LocalTable(relationship.table);
  TableCore& parent = LocalTable(relationship.referencedTable);
  scope.Touching();
  if (relationship.enforced) {
    EnforceRelationship(relationship, child, parent);
  } else {
    (void)SidesOf(relationship, child, parent);
  }
  Table& table = engine_.catalog.RelationshipsTable();
  for (std::size_t i = 0; i < relationship.columns.size(); ++i) {
    std::vector<Value> values(table.Columns().size());
    const auto set = [&](const char* column, Value value) { values[table.ColumnAt(column)] = std::move(value); };
    set("szRelationship", Value(relationship.name));
    set("grbit", Value(static_cast<std::int32_t>(BitsOf(relationship))));
    set("ccolumn", Value(static_cast<std::int32_t>(relationship.columns.size())));
    set("icolumn", Value(static_cast<std::int32_t>(i)));
    set("szObject", Value(child.name));
    set("szColumn", Value(relationship.columns[i].first));
    set("szReferencedObject", Value(parent.name));
    set("szReferencedColumn", Value(relationship.columns[i].second));
    table.Insert(values);
  }
  CatalogObject object;
  object.id = id;
  object.parentId = Catalog::kRelationshipsId;
  object.name = relationship.name;
  object.type = 8;
  engine_.catalog.Add(object, {});
  engine_.pager->ChangeGeneration();
  scope.Done();
}

void Schema::EnforceRelationship(const Relationship& relationship, TableCore& child, TableCore& parent) {
  const Sides sides = SidesOf(relationship, child, parent);
  RequireSameTypes(relationship, sides, child, parent);
  TableDefinition parentDefinition = Fresh(parent);
  const auto parentTree = FindTree(parentDefinition, sides.parent, true);
  if (!parentTree)
    throw Error(ErrorCode::kUnsupported, "The table \"" + parent.name + "\" has no unique index on the columns that are referred to");
  const bool same = &child == &parent;
  Index parentSide = ParentSide(relationship, parentDefinition, *parentTree, child.page);
  TableDefinition childDefinition = Fresh(child);
  if (same) AddLogicalIndex(childDefinition, parentSide);
  Index childSide = ChildSide(relationship, childDefinition, parentSide, child, parent.page);
  parentSide.partnerIndex = static_cast<std::int32_t>(childSide.number);
  const auto childTree = FindTree(childDefinition, sides.child, relationship.oneToOne);
  const unsigned flags = TableDefinition::Tree::kAlways | (relationship.oneToOne ? unsigned{TableDefinition::Tree::kUnique} : 0u);
  const std::size_t tree = childTree ? *childTree
                                     : AddTree(child, childDefinition, sides.child, std::vector<bool>(sides.child.size(), false),
                                               static_cast<std::uint8_t>(flags));
  childSide.tree = static_cast<std::uint32_t>(tree);
  AddLogicalIndex(childDefinition, childSide);
  if (same)
    for (auto& index : childDefinition.indexes)
      if (index.number == parentSide.number) index.partnerIndex = parentSide.partnerIndex;
  Finish(child, childDefinition);
  if (!childTree) BuildTree(child, tree);
  if (!same) {
    AddLogicalIndex(parentDefinition, parentSide);
    Finish(parent, parentDefinition);
  }
  RequireParents(child, tree, parent, *parentTree);
}

/// Every row that refers must have what it refers to.
void Schema::RequireParents(TableCore& child, std::size_t childTree, TableCore& parent, std::size_t parentTree) {
  parent.Refresh();
  child.Refresh();
  auto& parentKeys = *parent.Trees()[parentTree].tree;
  Bytes key;
  for (ScanCursor cursor = engine_.TableAt(child.page, child.name).Scan(); cursor.Next();) {
    bool anyNull = false;
    (void)child.KeyOf(child.Trees()[childTree], cursor.Current(), key, anyNull);
    if (!anyNull && !parentKeys.Find(key))
      throw Error(ErrorCode::kRelationViolated,
                  "The table \"" + child.name + "\" has rows without the row of \"" + parent.name + "\" that they refer to");
  }
}

void Schema::RemoveForeignKeys(const Relationship& relationship) {
  TableCore& child = LocalTable(relationship.table);
  TableDefinition definition = Fresh(child);
  const auto found = std::find_if(definition.indexes.begin(), definition.indexes.end(), [&](const Index& index) {
    return index.type == 2 && index.side == 2 && EqualNames(index.name, relationship.name);
  });
  if (found == definition.indexes.end()) return;
  const Index removed = *found;
  definition.indexes.erase(found);
  RemoveTree(definition, removed.tree);
  Finish(child, definition);
  TableCore& parent = engine_.TableAt(removed.partnerTable, {}).Core();
  parent.Refresh();
  TableDefinition other = Fresh(parent);
  const auto partner = std::find_if(other.indexes.begin(), other.indexes.end(), [&](const Index& index) {
    return index.type == 2 && index.side == 1 && index.partnerTable == child.page &&
           index.number == static_cast<std::uint32_t>(removed.partnerIndex);
  });
  if (partner == other.indexes.end()) return;
  const std::size_t tree = partner->tree;
  other.indexes.erase(partner);
  RemoveTree(other, tree);
  Finish(parent, other);
}

void Schema::DropRelationship(std::string_view name) {
  ChangeScope scope(*engine_.pager, true);
  const auto all = Relationships();
  const auto found = std::find_if(all.begin(), all.end(), [&](const Relationship& held) { return EqualNames(held.name, name); });
  if (found == all.end()) throw Error(ErrorCode::kNotFound, "There is no relationship \"" + std::string(name) + "\"");
  scope.Touching();
  if (found->enforced) RemoveForeignKeys(*found);
  Table& table = engine_.catalog.RelationshipsTable();
  const std::size_t column = table.ColumnAt("szRelationship");
  std::vector<RowId> rows;
  for (ScanCursor cursor = table.Scan(); cursor.Next();)
    if (EqualNames(cursor.Current().Text(column), name)) rows.push_back(cursor.Id());
  for (const RowId row : rows) table.Delete(row);
  for (const auto& object : std::vector<CatalogObject>(engine_.catalog.Objects()))
    if (object.kind == ObjectKind::kRelationship && EqualNames(object.name, name)) engine_.catalog.Remove(object.id);
  engine_.pager->ChangeGeneration();
  scope.Done();
}

}  // namespace jet

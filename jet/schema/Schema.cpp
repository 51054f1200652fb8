#include "jet/schema/Schema.h"

#include <algorithm>

#include "jet/page/ChangeScope.h"
#include "jet/page/DataPage.h"
#include "jet/schema/AceSchema.h"
#include "jet/schema/Engine.h"
#include "jet/value/Error.h"
#include "jet/index/IndexBuilder.h"
#include "jet/schema/SchemaParts.h"
#include "jet/table/TableCore.h"
#include "jet/value/Text.h"
#include "jet/page/UsageMap.h"

namespace jet {

using Column = TableDefinition::Column;
using Tree = TableDefinition::Tree;
using Index = TableDefinition::Index;

TableCore& Schema::LocalTable(std::string_view name) {
  const CatalogObject* object = engine_.catalog.Find(name);
  if (object == nullptr || (object->kind != ObjectKind::kTable && object->kind != ObjectKind::kSystemTable))
    throw NoSuchTable("There is no table \"" + std::string(name) + "\"");
  if (object->kind == ObjectKind::kSystemTable)
    throw Error(ErrorCode::kReadOnly, "The definition of the system table \"" + object->name + "\" cannot be changed");
  TableCore& table = engine_.TableAt(static_cast<PageNumber>(object->id), object->name).Core();
  table.Refresh();
  return table;
}

TableDefinition Schema::Fresh(const TableCore& table) const {
  return TableDefinition::Read(*engine_.pager, table.page, engine_.CodePage());
}

void Schema::Finish(TableCore& table, TableDefinition& definition) {
  definition.Write(*engine_.pager);
  engine_.pager->ChangeGeneration();
  table.Reload();
}

/// New texts are ordered as the file says, unless the column is a copy.
ColumnDef Schema::InOrderOfFile(const Engine& engine, ColumnDef column) {
  if (column.asStored) return column;
  column.sortLanguage = engine.header.sortLanguage;
  column.sortVersion = engine.header.sortVersion;
  return column;
}

namespace {

void BeginCounter(TableDefinition& definition, const ColumnDef& column) {
  if (column.autoNumber && column.type == ColumnType::kLong) definition.autoNumber = static_cast<std::uint32_t>(column.firstNumber - 1);
}

}  // namespace

TableDefinition Schema::BuildTable(Engine& engine, PageNumber page, const TableSpec& spec) {
  Pager& pager = *engine.pager;
  if (spec.columns.empty()) throw Error(ErrorCode::kUnsupported, "A table without columns cannot be made");
  if (spec.columns.size() > TableDefinition::kMaxColumns) throw Error(ErrorCode::kLimit, "A table has at most 255 columns");
  if (spec.indexes.size() > TableDefinition::kMaxTrees) throw Error(ErrorCode::kLimit, "A table has at most 32 indexes");
  TableDefinition definition;
  definition.codePage = engine.CodePage();
  definition.orderMark = engine.header.orderMark;
  definition.pages = {page};
  definition.ownedMap = NewMapRow(pager, 0);
  definition.freeMap = NewMapRow(pager, definition.ownedMap);
  for (const auto& column : spec.columns) {
    AppendColumn(pager, definition, InOrderOfFile(engine, column));
    BeginCounter(definition, column);
  }
  for (const auto& index : spec.indexes) {
    const auto parts = ResolveIndex(definition, index);
    Tree tree = MakeTree(pager, page, definition, parts, FlagsOf(index));
    definition.trees.push_back(tree);
    AddLogicalIndex(definition, index, definition.trees.size() - 1);
  }
  definition.Write(pager);
  return definition;
}

void Schema::CreateTable(const TableSpec& spec) {
  ChangeScope scope(*engine_.pager, true);
  CheckName(spec.name, engine_.CodePage());
  if (engine_.catalog.Find(spec.name) != nullptr)
    throw Error(ErrorCode::kAlreadyExists, "There is an object of the name \"" + spec.name + "\" already");
  scope.Touching();
  const PageNumber page = engine_.pager->Allocate().Number();
  (void)BuildTable(engine_, page, spec);
  PropertyMap properties;
  for (const auto& property : spec.properties) properties.Set({}, property);
  for (const auto& column : spec.columns) SetColumnProperties(properties, column);
  CatalogObject object;
  object.id = static_cast<std::int32_t>(page);
  object.parentId = Catalog::kTablesId;
  object.name = spec.name;
  object.type = 1;
  object.flags = spec.flags;
  engine_.catalog.Add(object, properties);
  engine_.pager->ChangeGeneration();
  scope.Done();
}

void Schema::DropObject(std::string_view name) {
  ChangeScope scope(*engine_.pager, true);
  const CatalogObject* found = engine_.catalog.Find(name);
  if (found == nullptr) throw NoSuchTable("There is no table \"" + std::string(name) + "\"");
  if (found->kind == ObjectKind::kSystemTable)
    throw Error(ErrorCode::kReadOnly, "The system table \"" + found->name + "\" cannot be dropped");
  const CatalogObject object = *found;
  for (const auto& relationship : Relationships())
    if (EqualNames(relationship.table, object.name) || EqualNames(relationship.referencedTable, object.name))
      throw Error(ErrorCode::kRelationViolated,
                  "The table \"" + object.name + "\" takes part in the relationship \"" + relationship.name + "\"");
  scope.Touching();
  if (object.kind == ObjectKind::kTable) {
    DropComplexValues(static_cast<PageNumber>(object.id));
    DropLocalTable(object);
  }
  engine_.catalog.Remove(object.id);
  engine_.pager->ChangeGeneration();
  scope.Done();
  if (object.kind == ObjectKind::kTable) engine_.tables.erase(static_cast<PageNumber>(object.id));
}

void Schema::DropLocalTable(const CatalogObject& object) {
  Pager& pager = *engine_.pager;
  TableCore& table = engine_.TableAt(static_cast<PageNumber>(object.id), object.name).Core();
  table.Refresh();
  const TableDefinition definition = Fresh(table);
  table.FreeContents();
  for (const auto& tree : definition.trees) FreeMapRow(pager, tree.ownedMap);
  for (const auto& maps : definition.longMaps) {
    FreeMapRow(pager, maps.ownedMap);
    if (maps.freeMap != 0) FreeMapRow(pager, maps.freeMap);
  }
  FreeMapRow(pager, definition.ownedMap);
  FreeMapRow(pager, definition.freeMap);
  for (const PageNumber page : definition.pages) pager.Free(page);
}

void Schema::RenameTable(std::string_view name, std::string_view newName) {
  ChangeScope scope(*engine_.pager, true);
  const CatalogObject* found = engine_.catalog.Find(name);
  if (found == nullptr) throw NoSuchTable("There is no table \"" + std::string(name) + "\"");
  if (found->kind == ObjectKind::kSystemTable) throw Error(ErrorCode::kReadOnly, "A system table cannot be renamed");
  CheckName(std::string(newName), engine_.CodePage());
  const CatalogObject object = *found;
  const CatalogObject* other = engine_.catalog.Find(newName);
  if (other != nullptr && other->id != object.id)
    throw Error(ErrorCode::kAlreadyExists, "There is an object of the name \"" + std::string(newName) + "\" already");
  scope.Touching();
  engine_.catalog.Rename(object.id, std::string(newName));
  Table& relationships = engine_.catalog.RelationshipsTable();
  const Value value{std::string(newName)};
  for (const char* column : {"szObject", "szReferencedObject"}) {
    const std::size_t position = relationships.ColumnAt(column);
    std::vector<RowId> rows;
    for (ScanCursor cursor = relationships.Scan(); cursor.Next();)
      if (EqualNames(cursor.Current().Text(position), object.name)) rows.push_back(cursor.Id());
    const Assignment assignment{position, &value, nullptr};
    for (const RowId row : rows) relationships.Update(row, std::span(&assignment, 1));
  }
  if (object.kind == ObjectKind::kTable) engine_.TableAt(static_cast<PageNumber>(object.id), std::string(newName));
  engine_.pager->ChangeGeneration();
  scope.Done();
}

void Schema::AddColumn(std::string_view name, const ColumnDef& column) {
  ChangeScope scope(*engine_.pager, true);
  TableCore& table = LocalTable(name);
  TableDefinition definition = Fresh(table);
  for (const auto& held : definition.columns)
    if (EqualNames(held.name, column.name))
      throw Error(ErrorCode::kAlreadyExists, "The table \"" + table.name + "\" has a column \"" + held.name + "\" already");
  RequireNoneCalculated(definition, table.name);
  if (definition.maxColumns >= TableDefinition::kMaxColumns)
    throw Error(ErrorCode::kLimit, "The table \"" + table.name + "\" has had 255 columns; compacting the database makes room");
  scope.Touching();
  AddColumnTo(table, column, nullptr);
  PropertyMap properties = engine_.catalog.ReadProperties(static_cast<std::int32_t>(table.page));
  SetColumnProperties(properties, column);
  engine_.catalog.WriteProperties(static_cast<std::int32_t>(table.page), properties);
  if (column.autoNumber) NumberRows(table, column);
  engine_.pager->ChangeGeneration();
  scope.Done();
}

/// inPlaceOf: a column that was dropped, whose number and place in the design the new one takes; no row holds a value of it any more.
void Schema::AddColumnTo(TableCore& table, const ColumnDef& column, const TableDefinition::Column* inPlaceOf) {
  TableDefinition definition = Fresh(table);
  const bool hadVariable = definition.variableColumns > 0;
  AppendColumn(*engine_.pager, definition, InOrderOfFile(engine_, column));
  BeginCounter(definition, column);
  if (inPlaceOf != nullptr) {
    Column& made = definition.columns.back();
    for (auto& maps : definition.longMaps)
      if (maps.column == made.number) maps.column = inPlaceOf->number;
    made.number = inPlaceOf->number;
    made.numberAgain = inPlaceOf->numberAgain;
    --definition.maxColumns;
    const bool bothVariable = !made.IsFixed() && !inPlaceOf->IsFixed() && inPlaceOf->type != ColumnType::kBoolean;
    if (bothVariable) {
      made.variableIndex = inPlaceOf->variableIndex;
      --definition.variableColumns;
    }
  }
  const bool fixed = definition.columns.back().IsFixed();
  const bool firstVariable = !hadVariable && definition.variableColumns > 0;
  Finish(table, definition);
  if (firstVariable) table.RewriteRows();
  if (fixed) table.CompleteRows();
}

/// Existing rows get their numbers when a counter is added.
void Schema::NumberRows(TableCore& table, const ColumnDef& column) {
  Table& rows = engine_.TableAt(table.page, table.name);
  const std::size_t position = rows.ColumnAt(column.name);
  if (table.Stored()[position].type != ColumnType::kLong) return;
  std::vector<RowId> ids;
  for (ScanCursor cursor = rows.Scan(); cursor.Next();) ids.push_back(cursor.Id());
  std::int32_t next = column.firstNumber;
  for (const RowId id : ids) {
    const Value value(next++);
    const Assignment assignment{position, &value, nullptr};
    rows.Update(id, std::span(&assignment, 1));
  }
}

void Schema::SetLastAutoNumber(std::string_view name, std::int32_t last) {
  ChangeScope scope(*engine_.pager, true);
  TableCore& table = LocalTable(name);
  TableDefinition definition = Fresh(table);
  if (std::none_of(definition.columns.begin(), definition.columns.end(), [](const Column& column) { return column.IsCounter(); }))
    throw Error(ErrorCode::kNotFound, "The table \"" + table.name + "\" has no counter");
  scope.Touching();
  definition.autoNumber = static_cast<std::uint32_t>(last);
  Finish(table, definition);
  scope.Done();
}

void Schema::RefuseIfRelated(const TableCore& table, const std::string& column) {
  for (const auto& relationship : Relationships())
    for (const auto& [child, parent] : relationship.columns)
      if ((EqualNames(relationship.table, table.name) && EqualNames(child, column)) ||
          (EqualNames(relationship.referencedTable, table.name) && EqualNames(parent, column)))
        throw Error(ErrorCode::kUnsupported, "The column \"" + column + "\" is used by the relationship \"" + relationship.name + "\"");
}

void Schema::DropColumn(std::string_view name, std::string_view columnName) {
  ChangeScope scope(*engine_.pager, true);
  TableCore& table = LocalTable(name);
  TableDefinition definition = Fresh(table);
  const auto found = std::find_if(definition.columns.begin(), definition.columns.end(),
                                  [&](const Column& held) { return EqualNames(held.name, columnName); });
  if (found == definition.columns.end())
    throw Error(ErrorCode::kNotFound, "The table \"" + table.name + "\" has no column \"" + std::string(columnName) + "\"");
  RequireNoneCalculated(definition, table.name);
  RequireDroppable(definition, *found);
  if (definition.columns.size() == 1)
    throw Error(ErrorCode::kUnsupported, "The only column of the table \"" + table.name + "\" cannot be dropped");
  for (const auto& index : definition.indexes)
    for (const auto& part : definition.trees[index.tree].columns)
      if (part.number == found->number)
        throw Error(ErrorCode::kUnsupported, "The column \"" + found->name + "\" is used by the index \"" + index.name + "\"");
  RefuseIfRelated(table, found->name);
  scope.Touching();
  const std::string dropped = found->name;
  const auto maps = std::find_if(definition.longMaps.begin(), definition.longMaps.end(),
                                 [&](const TableDefinition::LongMaps& held) { return held.column == found->number; });
  if (maps != definition.longMaps.end()) {
    Pager& pager = *engine_.pager;
    FreePages(pager, maps->ownedMap, DataPage::kLongValueOwner);
    FreeMapRow(pager, maps->ownedMap);
    if (maps->freeMap != 0) {
      UsageMap(pager, maps->freeMap).Clear();
      FreeMapRow(pager, maps->freeMap);
    }
    definition.longMaps.erase(maps);
  }
  const bool fixed = found->IsFixed();
  definition.columns.erase(found);
  // The place of a truth value counts for nothing, its bit does; but readers that look all the same want it inside the row.
  for (Column& column : definition.columns) {
    if (column.IsFixed() && column.type == ColumnType::kBoolean)
      column.fixedOffset = std::min(column.fixedOffset, static_cast<std::uint16_t>(definition.FixedSize()));
  }
  Finish(table, definition);
  if (fixed) table.CompleteRows();
  PropertyMap properties = engine_.catalog.ReadProperties(static_cast<std::int32_t>(table.page));
  properties.RemoveColumn(dropped);
  engine_.catalog.WriteProperties(static_cast<std::int32_t>(table.page), properties);
  scope.Done();
}

std::size_t Schema::AddTree(TableCore& table, TableDefinition& definition, const std::vector<std::uint16_t>& numbers,
                            const std::vector<bool>& descending, std::uint8_t flags) {
  if (definition.trees.size() >= TableDefinition::kMaxTrees || definition.indexes.size() >= 2 * TableDefinition::kMaxTrees)
    throw Error(ErrorCode::kLimit, "A table has at most 32 indexes");
  IndexParts parts;
  parts.numbers = numbers;
  parts.descending = descending;
  definition.trees.push_back(MakeTree(*engine_.pager, table.page, definition, parts, flags));
  return definition.trees.size() - 1;
}

void Schema::BuildTree(TableCore& table, std::size_t position) {
  TableCore::Tree& tree = table.Trees()[position];
  if (!tree.supported)
    throw Error(ErrorCode::kUnsupported, "The order of a column of the table \"" + table.name + "\" is not known: it cannot be indexed");
  IndexBuilder builder(*tree.tree);
  Bytes key;
  std::uint32_t count = 0;
  const auto duplicate = [&] {
    throw Error(ErrorCode::kDuplicateKey, "The table \"" + table.name + "\" has rows with equal values: no unique index can be made");
  };
  for (ScanCursor cursor = engine_.TableAt(table.page, table.name).Scan(); cursor.Next();) {
    bool anyNull = false;
    const bool present = table.KeyOf(tree, cursor.Current(), key, anyNull);
    if (anyNull && tree.IsRequired())
      throw Error(ErrorCode::kNullNotAllowed, "The table \"" + table.name + "\" has rows without a value that the index asks for");
    if (!present) continue;
    if (key.size() > tree.tree->MostKeyBytes()) throw Error(ErrorCode::kLimit, "A row's values are too long for an index");
    if (builder.Add(key, cursor.Id(), tree.IsUnique() && !anyNull)) duplicate();
    ++count;
  }
  if (builder.Finish()) duplicate();
  TableDefinition definition = Fresh(table);
  definition.trees[position].counts[1] = count;
  Finish(table, definition);
}

void Schema::CreateIndex(std::string_view name, const IndexSpec& index) {
  ChangeScope scope(*engine_.pager, true);
  TableCore& table = LocalTable(name);
  TableDefinition definition = Fresh(table);
  const IndexParts parts = ResolveIndex(definition, index);
  scope.Touching();
  const std::size_t tree = AddTree(table, definition, parts.numbers, parts.descending, FlagsOf(index));
  AddLogicalIndex(definition, index, tree);
  Finish(table, definition);
  BuildTree(table, tree);
  engine_.catalog.Touch(static_cast<std::int32_t>(table.page));
  scope.Done();
}

void Schema::RemoveTree(TableDefinition& definition, std::size_t tree) {
  Pager& pager = *engine_.pager;
  for (const auto& index : definition.indexes)
    if (index.tree == tree) return;  // others still use it
  FreePages(pager, definition.trees[tree].ownedMap, definition.pages[0]);
  FreeMapRow(pager, definition.trees[tree].ownedMap);
  definition.trees.erase(definition.trees.begin() + static_cast<std::ptrdiff_t>(tree));
  for (auto& index : definition.indexes)
    if (index.tree > tree) --index.tree;
}

void Schema::DropIndex(std::string_view name, std::string_view indexName) {
  ChangeScope scope(*engine_.pager, true);
  TableCore& table = LocalTable(name);
  TableDefinition definition = Fresh(table);
  const auto found = std::find_if(definition.indexes.begin(), definition.indexes.end(),
                                  [&](const Index& held) { return EqualNames(held.name, indexName); });
  if (found == definition.indexes.end())
    throw Error(ErrorCode::kNotFound, "The table \"" + table.name + "\" has no index \"" + std::string(indexName) + "\"");
  if (found->type == 2)
    throw Error(ErrorCode::kUnsupported, "The index \"" + found->name + "\" belongs to a relationship and goes with it");
  RequireNoComplexColumn(definition, *found);
  const std::size_t tree = found->tree;
  // A unique tree that a relationship refers to would lose what makes it unique.
  for (const auto& other : definition.indexes)
    if (&other != &*found && other.tree == tree && other.type == 2 && other.side == 1)
      throw Error(ErrorCode::kUnsupported, "The index \"" + found->name + "\" is used by a relationship");
  scope.Touching();
  definition.indexes.erase(found);
  RemoveTree(definition, tree);
  Finish(table, definition);
  engine_.catalog.Touch(static_cast<std::int32_t>(table.page));
  scope.Done();
}

void Schema::CreateLink(const LinkSpec& link) {
  ChangeScope scope(*engine_.pager, true);
  CheckName(link.name, engine_.CodePage());
  if (engine_.catalog.Find(link.name) != nullptr)
    throw Error(ErrorCode::kAlreadyExists, "There is an object of the name \"" + link.name + "\" already");
  CatalogObject object;
  object.parentId = Catalog::kTablesId;
  object.name = link.name;
  object.type = link.odbc ? std::int16_t{4} : std::int16_t{6};
  object.flags = link.odbc ? 0x20100000 : 0x00200000;
  object.database = link.database;
  object.connect = link.connect;
  object.foreignName = link.foreignName;
  scope.Touching();
  engine_.catalog.Add(object, {});
  scope.Done();
}

void Schema::CreateQuery(const QuerySpec& query) {
  ChangeScope scope(*engine_.pager, true);
  CheckName(query.name, engine_.CodePage());
  if (engine_.catalog.Find(query.name) != nullptr)
    throw Error(ErrorCode::kAlreadyExists, "There is an object of the name \"" + query.name + "\" already");
  CatalogObject object;
  object.parentId = Catalog::kTablesId;
  object.name = query.name;
  object.type = 5;
  object.flags = query.flags;
  scope.Touching();
  const std::int32_t id = engine_.catalog.Add(object, {});
  Table& table = engine_.catalog.QueriesTable();
  const auto textOrNull = [](const std::string& text) { return text.empty() ? Value() : Value(text); };
  for (const QuerySpec::Row& row : query.rows) {
    Bytes order;
    for (const int shift : {24, 16, 8, 0}) order.push_back(static_cast<std::byte>(row.order >> shift));
    std::vector<Value> values(table.Columns().size());
    values[table.ColumnAt("ObjectId")] = Value(id);
    values[table.ColumnAt("Attribute")] = Value(row.attribute);
    values[table.ColumnAt("Order")] = Value(std::move(order));
    values[table.ColumnAt("Name1")] = textOrNull(row.name1);
    values[table.ColumnAt("Name2")] = textOrNull(row.name2);
    values[table.ColumnAt("Expression")] = textOrNull(row.expression);
    if (row.flag) values[table.ColumnAt("Flag")] = Value(*row.flag);
    table.Insert(values);
  }
  engine_.pager->ChangeGeneration();
  scope.Done();
}

}  // namespace jet

// Changing the type of a column that has rows.
#include <algorithm>

#include "jet/page/ChangeScope.h"
#include "jet/table/Convert.h"
#include "jet/schema/AceSchema.h"
#include "jet/schema/Engine.h"
#include "jet/value/Error.h"
#include "jet/schema/Schema.h"
#include "jet/schema/SchemaParts.h"
#include "jet/table/TableCore.h"
#include "jet/value/Text.h"

namespace jet {
namespace {

using Column = TableDefinition::Column;
using Tree = TableDefinition::Tree;

/// What to make an index again of.
IndexSpec SpecOf(const TableDefinition& definition, const TableDefinition::Index& index) {
  IndexSpec spec;
  const Tree& tree = definition.trees[index.tree];
  spec.name = index.name;
  spec.primary = index.type == 1;
  spec.unique = (tree.flags & Tree::kUnique) != 0;
  spec.ignoreNulls = (tree.flags & Tree::kIgnoreNulls) != 0;
  spec.required = (tree.flags & Tree::kRequired) != 0;
  for (const auto& part : tree.columns) {
    if (part.number == TableDefinition::kNoColumn) break;
    const auto column =
        std::find_if(definition.columns.begin(), definition.columns.end(), [&](const Column& held) { return held.number == part.number; });
    spec.columns.push_back({column->name, part.order != 1});
  }
  return spec;
}

std::vector<IndexSpec> IndexesOn(const TableDefinition& definition, std::uint16_t number) {
  std::vector<IndexSpec> specs;
  for (const auto& index : definition.indexes) {
    const auto& parts = definition.trees[index.tree].columns;
    if (std::any_of(parts.begin(), parts.end(), [&](const auto& part) { return part.number == number; }))
      specs.push_back(SpecOf(definition, index));
  }
  return specs;
}

std::string FreeColumnName(const TableDefinition& definition) {
  for (int i = 0;; ++i) {
    const std::string name = "~" + std::to_string(i);
    const auto& held = definition.columns;
    if (std::none_of(held.begin(), held.end(), [&](const Column& column) { return EqualNames(column.name, name); })) return name;
  }
}

bool IsSized(ColumnType type) { return type == ColumnType::kText || type == ColumnType::kBinary; }

std::uint16_t StoredLength(const ColumnDef& column) {
  return static_cast<std::uint16_t>(column.type == ColumnType::kText ? 2 * column.size : column.size);
}

/// Every value must fit in the column as it is to be; gives the highest number of a Long column, 0 for no positive one.
std::int64_t RequireFit(Table& rows, const ColumnDef& column, const Column& old) {
  const std::size_t position = rows.ColumnAt(old.name);
  const bool shorter = IsSized(column.type) && StoredLength(column) < old.length;
  std::int64_t highest = 0;
  for (ScanCursor cursor = rows.Scan(); cursor.Next();) {
    const Value value = cursor.Current().Get(position);
    if (value.IsNull() && column.autoNumber)
      throw Error(ErrorCode::kNullNotAllowed, "The column \"" + old.name + "\" has rows without a number");
    if (value.IsNull()) continue;
    if (column.type == ColumnType::kLong) highest = std::max<std::int64_t>(highest, value.AsLong());
    if (!shorter) continue;
    const std::size_t size = value.Type() == ValueType::kText ? 2 * CountUtf16(value.AsText()) : value.AsBytes().size();
    if (size > StoredLength(column)) throw Error(ErrorCode::kValueTooLong, "The column \"" + old.name + "\" has values that are longer");
  }
  return highest;
}

}  // namespace

// Texts and bytes of another length, and counters made of whole numbers or whole numbers of counters, leave the rows as they are.
bool Schema::ResizeInPlace(TableCore& table, const ColumnDef& column, const Column& old) {
  if (column.type != old.type || old.IsLong() || column.type == ColumnType::kNumeric) return false;
  const bool sized = IsSized(column.type);
  if (sized && (old.IsFixed() || column.fixedLength)) return false;
  const std::int64_t highest = RequireFit(engine_.TableAt(table.page, table.name), column, old);
  TableDefinition definition = Fresh(table);
  const bool counted = std::any_of(definition.columns.begin(), definition.columns.end(),
                                   [&](const Column& held) { return held.IsCounter() && !EqualNames(held.name, old.name); });
  if (column.autoNumber && counted) throw Error(ErrorCode::kUnsupported, "A table can have only one counter column");
  Column& stored =
      *std::find_if(definition.columns.begin(), definition.columns.end(), [&](const Column& held) { return held.number == old.number; });
  if (sized) stored.length = StoredLength(column);
  if (column.type == ColumnType::kLong) {
    stored.flags = static_cast<std::uint8_t>(column.autoNumber ? stored.flags | Column::kAutoLong : stored.flags & ~Column::kAutoLong);
    if (column.autoNumber) definition.autoNumber = static_cast<std::uint32_t>(std::max<std::int64_t>(highest, column.firstNumber - 1));
  }
  Finish(table, definition);
  return true;
}

void Schema::MoveValues(TableCore& table, const std::string& from, const std::string& to, const ValueConversion& convert) {
  Table& rows = engine_.TableAt(table.page, table.name);
  const std::size_t source = rows.ColumnAt(from);
  const std::size_t target = rows.ColumnAt(to);
  const Column& column = table.Stored()[target];
  std::vector<RowId> ids;
  for (ScanCursor cursor = rows.Scan(); cursor.Next();) ids.push_back(cursor.Id());
  Row row;
  Value scratch;
  for (const RowId id : ids) {
    if (!rows.Read(id, row)) continue;
    Value value = row.Get(source);
    if (value.IsNull()) continue;
    if (convert) value = convert(value);
    if (!column.IsLong() && !column.IsText()) value = ConvertForSearch(value, column, scratch);  // that one loses no decimals
    const Value none = table.Stored()[source].type == ColumnType::kBoolean ? Value(false) : Value();
    const Assignment assignments[] = {{target, &value, nullptr}, {source, &none, nullptr}};
    rows.Update(id, assignments);
  }
}

// Rows know their columns by number, and people by place: the new column takes both over, so that nothing moves in anybody's eyes. While
// the values change they stand in a column of their own.
void Schema::ReplaceColumn(TableCore& table, const ColumnDef& column, const Column& old, const ValueConversion& convert) {
  ColumnDef aside = column;
  aside.name = FreeColumnName(Fresh(table));
  aside.autoNumber = aside.required = false;
  aside.allowZeroLength = true;
  aside.defaultValue.clear();
  TableDefinition definition = Fresh(table);
  for (Column& held : definition.columns)
    if (held.number == old.number) held.flags = static_cast<std::uint8_t>(held.flags & ~(Column::kAutoLong | Column::kAutoGuid));
  Finish(table, definition);
  AddColumn(table.name, aside);
  MoveValues(table, old.name, aside.name, convert);
  DropColumn(table.name, old.name);
  AddColumnTo(table, column, &old);
  MoveValues(table, aside.name, column.name, {});
  DropColumn(table.name, aside.name);
}

void Schema::AlterColumn(std::string_view name, const ColumnDef& wanted, const ValueConversion& convert) {
  ChangeScope scope(*engine_.pager, true);
  TableCore& table = LocalTable(name);
  const TableDefinition definition = Fresh(table);
  const auto found = std::find_if(definition.columns.begin(), definition.columns.end(),
                                  [&](const Column& held) { return EqualNames(held.name, wanted.name); });
  if (found == definition.columns.end())
    throw Error(ErrorCode::kNotFound, "The table \"" + table.name + "\" has no column \"" + wanted.name + "\"");
  const Column old = *found;
  RequireNoneCalculated(definition, table.name);
  RequireAlterable(definition, old);
  RefuseIfRelated(table, old.name);
  if (wanted.autoNumber && wanted.type != old.type && table.RowCount() > 0)
    throw Error(ErrorCode::kUnsupported, "The column \"" + old.name + "\" has rows: only a Long column can become a counter then");
  ColumnDef column = wanted;
  column.name = old.name;
  scope.Touching();
  // What the properties ask for must not stop the values on their way.
  const auto object = static_cast<std::int32_t>(table.page);
  PropertyMap properties = engine_.catalog.ReadProperties(object);
  const std::vector<Property> kept = properties.Of(old.name);
  properties.RemoveColumn(old.name);
  engine_.catalog.WriteProperties(object, properties);
  table.Reload();
  const std::vector<IndexSpec> indexes = IndexesOn(definition, old.number);
  for (const IndexSpec& index : indexes) DropIndex(table.name, index.name);
  if (!ResizeInPlace(table, column, old)) ReplaceColumn(table, column, old, convert);
  for (const IndexSpec& index : indexes) CreateIndex(table.name, index);
  properties = engine_.catalog.ReadProperties(object);
  properties.RemoveColumn(old.name);
  for (const Property& property : kept) properties.Set(old.name, property);
  engine_.catalog.WriteProperties(object, properties);
  engine_.catalog.Touch(object);
  engine_.pager->ChangeGeneration();
  table.Reload();
  scope.Done();
}

}  // namespace jet

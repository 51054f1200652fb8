#include "jet/schema/SchemaParts.h"

#include <algorithm>

#include "jet/index/BTree.h"
#include "jet/page/DataPage.h"
#include "jet/page/Format.h"
#include "jet/value/Error.h"
#include "jet/schema/AceSchema.h"
#include "jet/schema/Schema.h"
#include "jet/value/Text.h"
#include "jet/page/UsageMap.h"

namespace jet {
namespace {

using Column = TableDefinition::Column;

constexpr std::size_t kLongestName = 64;

[[noreturn]] void Refuse(const ColumnDef& column, const char* why) {
  throw Error(ErrorCode::kUnsupported, "The column \"" + column.name + "\" " + why);
}

void SetLength(Column& stored, const ColumnDef& column) {
  const bool jet3 = stored.codePage != 0;
  stored.length = FixedLength(column.type);
  switch (column.type) {
    case ColumnType::kText: {
      const std::uint16_t size = column.size == 0 ? std::uint16_t{255} : column.size;
      if (size > 255) throw Error(ErrorCode::kUnsupported, "The text column \"" + column.name + "\" can hold at most 255 characters");
      stored.length = jet3 ? size : static_cast<std::uint16_t>(2 * size);
      return;
    }
    case ColumnType::kBinary: {
      const std::uint16_t most = jet3 ? 255 : 510;
      stored.length = column.size == 0 ? most : column.size;
      if (stored.length > most)
        throw Error(ErrorCode::kUnsupported,
                    "The binary column \"" + column.name + "\" can hold at most " + std::to_string(most) + " bytes");
      return;
    }
    case ColumnType::kNumeric:
      if (jet3) Refuse(column, "is a decimal number, which a database of Access 97 cannot hold");
      if (column.precision < 1 || column.precision > 28 || column.scale > column.precision)
        Refuse(column, "asks for an impossible precision or scale");
      stored.sort = {column.precision, column.scale, 0, 0};
      return;
    case ColumnType::kInternal:
      stored.length = column.size;
      return;
    default:
      if (stored.length == 0 && !stored.IsLong()) Refuse(column, "is of a type that cannot be made");
  }
}

void SetCounter(Column& stored, const ColumnDef& column) {
  if (!column.autoNumber) return;
  if (column.type == ColumnType::kLong)
    stored.flags |= Column::kAutoLong;
  else if (column.type == ColumnType::kGuid && stored.codePage == 0)
    stored.flags |= Column::kAutoGuid;
  else
    Refuse(column, "is of a type that cannot count");
}

/// As in the column that this one is a copy of.
void SetAsStored(Column& stored, const ColumnDef& column) {
  if (!column.asStored) return;
  if (column.type != ColumnType::kBoolean && !stored.IsLong())
    stored.flags = static_cast<std::uint8_t>((stored.flags & ~Column::kFixed) | (column.flags & Column::kFixed));
  // In Jet 3 that flag stands on columns of any kind and is no counter's.
  if (stored.codePage != 0) stored.flags |= static_cast<std::uint8_t>(column.flags & Column::kAutoGuid);
}

void SetType(Column& stored, const ColumnDef& column, const TableDefinition& definition) {
  stored.type = column.type;
  constexpr std::uint16_t kEnglish = 0x0409;
  if (definition.IsJet3()) stored.SetCodePage(definition.codePage, definition.orderMark);
  if (stored.IsText())
    stored.SetOrder(column.sortLanguage, definition.IsJet3() ? std::uint8_t{0} : column.sortVersion);
  else
    stored.SetOrder(kEnglish, 0);
  const bool variable = column.type == ColumnType::kText || column.type == ColumnType::kBinary || stored.IsLong();
  stored.flags =
      static_cast<std::uint8_t>(Column::kNullable | (variable && !(column.fixedLength && !stored.IsLong()) ? 0 : Column::kFixed));
  SetLength(stored, column);
  SetCounter(stored, column);
  if (column.hyperlink && column.type == ColumnType::kMemo) stored.flags |= Column::kHyperlink;
  SetAsStored(stored, column);
  if (definition.IsJet3()) return;
  if (stored.IsText() && column.compressed && !stored.IsFixed()) stored.extraFlags = 1;
  if (column.asStored) stored.extraFlags = column.extraFlags;
}

/// The map row made last: the one on whose page there is room, if on any.
PackedPointer LatestMap(const TableDefinition& definition) {
  PackedPointer latest = std::max(definition.ownedMap, definition.freeMap);
  for (const auto& tree : definition.trees) latest = std::max(latest, tree.ownedMap);
  for (const auto& maps : definition.longMaps) latest = std::max({latest, maps.ownedMap, maps.freeMap});
  return latest;
}

}  // namespace

void CheckName(const std::string& name, std::uint16_t codePage) {
  const std::string shown = "The name \"" + name + "\" ";
  if (name.empty()) throw Error(ErrorCode::kUnsupported, "A name cannot be empty");
  if (CountUtf16(name) > kLongestName) throw Error(ErrorCode::kUnsupported, shown + "is longer than 64 characters");
  if (name.front() == ' ') throw Error(ErrorCode::kUnsupported, shown + "begins with a blank");
  for (const char c : name)
    if (static_cast<unsigned char>(c) < 0x20 || c == '.' || c == '!' || c == '[' || c == ']' || c == '`')
      throw Error(ErrorCode::kUnsupported, shown + "holds a character that names cannot have");
  if (codePage != 0) (void)NameInCodePage(name, codePage);
}

PackedPointer NewMapRow(PageStore& store, PackedPointer near) {
  const std::size_t size = Format::Of(store.PageSize()).mapRow;
  PageRef page;
  if (near != 0) {
    page = store.Edit(Unpack(near).page);
    if (!DataPageEditor(page).Fits(size)) page = {};
  }
  if (!page) {
    page = store.Allocate();
    DataPageEditor::Format(page, 0);
  }
  const unsigned slot = DataPageEditor(page).AddZeros(size);
  return Pack({page.Number(), static_cast<std::uint8_t>(slot)});
}

void FreeMapRow(PageStore& store, PackedPointer map) {
  const RowId id = Unpack(map);
  const PageRef page = store.Edit(id.page);
  DataPageEditor editor(page);
  if (id.slot + 1u == editor.SlotCount())
    editor.RemoveLast();
  else
    editor.Delete(id.slot);
  if (editor.Empty()) store.Free(id.page);
}

void AppendColumn(PageStore& store, TableDefinition& definition, const ColumnDef& column) {
  CheckName(column.name, definition.codePage);
  for (const auto& held : definition.columns) {
    if (EqualNames(held.name, column.name))
      throw Error(ErrorCode::kAlreadyExists, "There are two columns of the name \"" + column.name + "\"");
    if (column.autoNumber && column.type == ColumnType::kLong && held.IsCounter())
      throw Error(ErrorCode::kUnsupported, "A table can have only one counter column");
  }
  if (definition.maxColumns >= TableDefinition::kMaxColumns) throw Error(ErrorCode::kLimit, "A table has at most 255 columns");
  Column stored;
  stored.name = column.name;
  SetType(stored, column, definition);
  stored.number = stored.numberAgain = definition.maxColumns;
  // The place in the design goes behind all others: other programs count places from 1, or leave gaps.
  for (const auto& other : definition.columns) {
    if (other.numberAgain >= stored.numberAgain && other.numberAgain < 0xFFFF)
      stored.numberAgain = static_cast<std::uint16_t>(other.numberAgain + 1);
  }
  stored.variableIndex = definition.variableColumns;
  if (stored.IsFixed()) {
    stored.fixedOffset = static_cast<std::uint16_t>(definition.FixedSize());
    if (std::size_t{stored.fixedOffset} + stored.length > Format::Of(store.PageSize()).mostFixed)
      throw Error(ErrorCode::kLimit, "The columns of fixed length are too long for a row");
  } else {
    ++definition.variableColumns;
  }
  ++definition.maxColumns;
  if (stored.IsLong()) {
    const PackedPointer owned = NewMapRow(store, LatestMap(definition));
    definition.longMaps.push_back({stored.number, owned, NewMapRow(store, owned)});
  }
  definition.columns.push_back(std::move(stored));
}

IndexParts ResolveIndex(const TableDefinition& definition, const IndexSpec& index) {
  CheckName(index.name, definition.codePage);
  for (const auto& held : definition.indexes) {
    if (EqualNames(held.name, index.name)) throw Error(ErrorCode::kAlreadyExists, "There is an index \"" + index.name + "\" already");
    if (index.primary && held.type == 1) throw Error(ErrorCode::kAlreadyExists, "There is a primary key already: \"" + held.name + "\"");
  }
  if (index.columns.empty() || index.columns.size() > 10)
    throw Error(ErrorCode::kLimit, "The index \"" + index.name + "\" must have 1 to 10 columns");
  IndexParts parts;
  for (const auto& part : index.columns) {
    const auto found = std::find_if(definition.columns.begin(), definition.columns.end(),
                                    [&](const Column& held) { return EqualNames(held.name, part.column); });
    if (found == definition.columns.end())
      throw Error(ErrorCode::kNotFound, "The index \"" + index.name + "\" names a column that is not there: \"" + part.column + "\"");
    RequireNotComplex(*found);
    if (found->type == ColumnType::kOle)
      throw Error(ErrorCode::kUnsupported, "The column \"" + found->name + "\" is of a type that cannot be indexed");
    if (std::find(parts.numbers.begin(), parts.numbers.end(), found->number) != parts.numbers.end())
      throw Error(ErrorCode::kUnsupported, "The index \"" + index.name + "\" names the column \"" + found->name + "\" twice");
    parts.numbers.push_back(found->number);
    parts.descending.push_back(part.descending);
  }
  return parts;
}

std::uint8_t FlagsOf(const IndexSpec& index) {
  using Tree = TableDefinition::Tree;
  unsigned flags = Tree::kAlways;
  if (index.unique || index.primary) flags |= Tree::kUnique;
  if (index.ignoreNulls) flags |= Tree::kIgnoreNulls;
  if (index.required || index.primary) flags |= Tree::kRequired;
  return static_cast<std::uint8_t>(flags);
}

TableDefinition::Tree MakeTree(PageStore& store, PageNumber table, const TableDefinition& definition, const IndexParts& parts,
                               std::uint8_t flags) {
  TableDefinition::Tree tree;
  for (std::size_t i = 0; i < parts.numbers.size(); ++i)
    tree.columns[i] = {parts.numbers[i], static_cast<std::uint8_t>(parts.descending[i] ? 0 : 1)};
  tree.flags = definition.IsJet3() ? static_cast<std::uint8_t>(flags & ~TableDefinition::Tree::kAlways) : flags;
  tree.ownedMap = NewMapRow(store, LatestMap(definition));
  tree.root = BTree::Create(store, table);
  UsageMap(store, tree.ownedMap).Add(tree.root);
  return tree;
}

std::uint32_t NextIndexNumber(const TableDefinition& definition) {
  std::uint32_t next = 0;
  for (const auto& index : definition.indexes) next = std::max(next, index.number + 1);
  return next;
}

void AddLogicalIndex(TableDefinition& definition, TableDefinition::Index index) {
  const std::string folded = FoldCase(index.name);
  const auto where = std::find_if(definition.indexes.begin(), definition.indexes.end(),
                                  [&](const TableDefinition::Index& held) { return FoldCase(held.name) > folded; });
  definition.indexes.insert(where, std::move(index));
}

void AddLogicalIndex(TableDefinition& definition, const IndexSpec& index, std::size_t tree) {
  TableDefinition::Index logical;
  logical.name = index.name;
  logical.number = NextIndexNumber(definition);
  logical.tree = static_cast<std::uint32_t>(tree);
  logical.type = index.primary ? 1 : 0;
  logical.cascadeUpdates = logical.cascadeDeletes = TableDefinition::Index::kNothingToCascade;
  AddLogicalIndex(definition, std::move(logical));
}

void SetColumnProperties(PropertyMap& properties, const ColumnDef& column) {
  if (column.required) properties.Set(column.name, {"Required", ColumnType::kBoolean, Value(true), true});
  const bool text = column.type == ColumnType::kText || column.type == ColumnType::kMemo;
  if (text && column.allowZeroLength) properties.Set(column.name, {"AllowZeroLength", ColumnType::kBoolean, Value(true), true});
  if (!column.defaultValue.empty()) properties.Set(column.name, {"DefaultValue", ColumnType::kMemo, Value(column.defaultValue), true});
}

}  // namespace jet

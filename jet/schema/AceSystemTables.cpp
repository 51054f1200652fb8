#include "jet/schema/AceSystemTables.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "jet/index/BTree.h"
#include "jet/page/DataPage.h"
#include "jet/page/UsageMap.h"
#include "jet/schema/Engine.h"
#include "jet/schema/Schema.h"
#include "jet/table/TableDefinition.h"

namespace jet {
namespace {

using Column = TableDefinition::Column;

constexpr std::uint8_t kAttachmentFlag = 0x10;  // of the second flags
constexpr std::uint16_t kBytesOfText = 510;
constexpr std::uint16_t kBytesOfDecimal = 9;  // as Access has it, though a value takes 17

/// As Access has them: in the order of their names, each with the number that its place in a row comes from.
struct AceColumn {
  const char* name;
  ColumnType type;
  std::uint16_t number;
  std::uint16_t variableIndex;  ///< of a fixed one, how many variable ones come before it
  std::uint8_t flags;
  std::uint16_t fixedOffset;
  std::uint16_t length;
  std::uint8_t extraFlags = 0;
};
struct AceTree {
  std::uint16_t column;
  std::uint8_t flags;
};
struct AceIndex {
  const char* name;
  std::uint32_t tree;
  std::uint8_t type;
};
struct AceTable {
  const char* name;
  std::uint32_t flags;
  std::vector<AceColumn> columns;
  std::uint16_t variableColumns;
  std::vector<AceTree> trees = {};
  std::vector<AceIndex> indexes = {};
};

constexpr std::uint8_t kFixed = Column::kNullable | Column::kFixed, kVariable = Column::kNullable;
constexpr std::uint8_t kOwn = Column::kSystem;
constexpr std::uint32_t kListFlags = 0x80000000, kModelFlags = 0x80030000;

AceTable Model(const char* name, ColumnType type, bool fixed, std::uint16_t length) {
  return {name, kModelFlags, {{"Value", type, 0, 0, fixed ? kFixed : kVariable, 0, length}}, static_cast<std::uint16_t>(fixed ? 0 : 1)};
}

std::vector<AceTable> Tables() {
  return {{"MSysComplexColumns",
           kListFlags,
           {{"ColumnName", ColumnType::kText, 0, 0, kVariable | kOwn, 0, kBytesOfText},
            {"ComplexID", ColumnType::kLong, 4, 1, kFixed | kOwn | Column::kAutoLong, 12, 4},
            {"ComplexTypeObjectID", ColumnType::kLong, 1, 1, kFixed | kOwn, 0, 4},
            {"ConceptualTableID", ColumnType::kLong, 3, 1, kFixed | kOwn, 8, 4},
            {"FlatTableID", ColumnType::kLong, 2, 1, kFixed | kOwn, 4, 4}},
           1,
           {{4, 0x8B}, {3, 0x8A}, {2, 0x8A}},
           {{"IdxConceptualTableID", 1, 0}, {"IdxFlatTableID", 2, 0}, {"IdxID", 0, 1}}},
          Model("MSysComplexType_UnsignedByte", ColumnType::kByte, true, 1),
          Model("MSysComplexType_Short", ColumnType::kInteger, true, 2),
          Model("MSysComplexType_Long", ColumnType::kLong, true, 4),
          Model("MSysComplexType_IEEESingle", ColumnType::kSingle, true, 4),
          Model("MSysComplexType_IEEEDouble", ColumnType::kDouble, true, 8),
          Model("MSysComplexType_GUID", ColumnType::kGuid, true, 16),
          Model("MSysComplexType_Decimal", ColumnType::kNumeric, false, kBytesOfDecimal),
          Model("MSysComplexType_Text", ColumnType::kText, false, kBytesOfText),
          {"MSysComplexType_Attachment",
           kModelFlags,
           {{"FileData", ColumnType::kOle, 3, 3, kVariable, 0, 0, kAttachmentFlag},
            {"FileFlags", ColumnType::kLong, 5, 4, kFixed, 8, 4, kAttachmentFlag},
            {"FileName", ColumnType::kText, 1, 1, kVariable, 0, kBytesOfText, kAttachmentFlag},
            {"FileTimeStamp", ColumnType::kDate, 4, 4, kFixed, 0, 8, kAttachmentFlag},
            {"FileType", ColumnType::kText, 2, 2, kVariable, 0, kBytesOfText, kAttachmentFlag},
            {"FileURL", ColumnType::kMemo, 0, 0, kVariable, 0, 0, kAttachmentFlag}},
           4}};
}

Column Define(const AceColumn& source, std::uint16_t language) {
  Column column;
  column.name = source.name;
  column.type = source.type;
  column.number = source.number;
  column.variableIndex = source.variableIndex;
  column.SetOrder(language, 0);
  if (source.type == ColumnType::kNumeric) column.sort = {18, 0, 0, 0};
  column.flags = source.flags;
  column.extraFlags = source.extraFlags;
  column.fixedOffset = source.fixedOffset;
  column.length = source.length;
  return column;
}

/// The definition with a page of maps of its own and an empty leaf for each index.
PageNumber Build(Engine& engine, const AceTable& source) {
  Pager& pager = *engine.pager;
  TableDefinition definition;
  definition.pages = {pager.Allocate().Number()};
  definition.maxColumns = static_cast<std::uint16_t>(source.columns.size());
  definition.variableColumns = source.variableColumns;
  for (const AceColumn& column : source.columns) definition.columns.push_back(Define(column, engine.header.sortLanguage));
  PackedPointer map = 0;
  const auto next = [&] { return map = NewMapRow(pager, map); };
  definition.ownedMap = next();
  definition.freeMap = next();
  for (const Column& column : definition.columns) {
    if (!column.IsLong()) continue;
    const PackedPointer owned = next();
    definition.longMaps.push_back({column.number, owned, next()});
  }
  for (const AceTree& tree : source.trees) {
    TableDefinition::Tree made;
    made.columns[0].number = tree.column;
    made.flags = tree.flags;
    made.ownedMap = next();
    made.root = BTree::Create(pager, definition.pages[0]);
    UsageMap(pager, made.ownedMap).Add(made.root);
    definition.trees.push_back(made);
  }
  for (const AceIndex& index : source.indexes) {
    TableDefinition::Index made;
    made.name = index.name;
    made.number = made.tree = index.tree;
    made.type = index.type;
    made.cascadeUpdates = made.cascadeDeletes = TableDefinition::Index::kNothingToCascade;
    definition.indexes.push_back(std::move(made));
  }
  definition.Write(pager);
  return definition.pages[0];
}

/// Unlike the tables of old these belong to nobody.
void AddObject(Engine& engine, PageNumber page, const AceTable& source) {
  Table& objects = engine.catalog.ObjectsTable();
  std::vector<Value> values(objects.Columns().size());
  const auto set = [&](const char* column, Value value) { values[objects.ColumnAt(column)] = std::move(value); };
  set("Id", Value(static_cast<std::int32_t>(page)));
  set("ParentId", Value(Catalog::kTablesId));
  set("Name", Value(source.name));
  set("Type", Value(std::int16_t{1}));
  set("DateCreate", Value(Now()));
  set("DateUpdate", Value(Now()));
  set("Flags", Value(static_cast<std::int32_t>(source.flags)));
  objects.Insert(values);
}

void AddPermissions(Engine& engine, PageNumber page) {
  struct Entry {
    const std::array<std::uint8_t, 2>& user;
    std::int32_t access;
  };
  Table& permissions = engine.catalog.PermissionsTable();
  for (const Entry& entry : {Entry{FileHeader::kAceAccounts.admin, 393216}, Entry{FileHeader::kAceAccounts.users, 20}}) {
    std::vector<Value> values(permissions.Columns().size());
    values[permissions.ColumnAt("ObjectId")] = Value(static_cast<std::int32_t>(page));
    values[permissions.ColumnAt("SID")] = Value(Bytes{std::byte{entry.user[0]}, std::byte{entry.user[1]}});
    values[permissions.ColumnAt("ACM")] = Value(entry.access);
    values[permissions.ColumnAt("FInheritable")] = Value(false);
    permissions.Insert(values);
  }
}

}  // namespace

void AddAceSystemTables(Engine& engine) {
  for (const AceTable& table : Tables()) {
    const PageNumber page = Build(engine, table);
    AddObject(engine, page, table);
    AddPermissions(engine, page);
  }
  engine.catalog.Forget();
}

}  // namespace jet

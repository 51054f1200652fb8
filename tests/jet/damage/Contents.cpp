#include "tests/jet/damage/Contents.h"

#include <algorithm>

#include "jet/page/UsageMap.h"
#include "jet/schema/Engine.h"
#include "jet/table/Table.h"
#include "jet/table/TableCore.h"

namespace jet::tests {
namespace {

std::string Joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const auto& part : parts) text += part + '\x1F';
  return text;
}

void AddMap(Pager& pager, PackedPointer map, std::set<PageNumber>& maps, std::set<PageNumber>& pages) {
  if (map == 0) return;
  maps.insert(Unpack(map).page);
  UsageMap usage(pager, map);
  for (const PageNumber page : usage.BitmapPages()) maps.insert(page);
  for (const PageNumber page : usage.Pages(pager.PageCount())) pages.insert(page);
}

void ReadPlaces(Pager& pager, const TableDefinition& definition, HeldTable& held) {
  std::set<PageNumber> ignored;
  held.definition.insert(definition.pages.begin(), definition.pages.end());
  AddMap(pager, definition.ownedMap, held.maps, held.rowPages);
  for (const auto& maps : definition.longMaps) AddMap(pager, maps.ownedMap, held.maps, held.longPages);
}

HeldTable ReadTable(Database& database, const std::string& name) {
  Table& table = database.OpenTable(name);
  HeldTable held;
  held.name = name;
  held.counted = table.RowCount();
  for (const auto& column : table.Columns()) {
    held.isLong.push_back(column.type == ColumnType::kMemo || column.type == ColumnType::kOle);
    held.columns.push_back(column.name + " " + std::to_string(static_cast<int>(column.type)) + " " + std::to_string(column.size) + " " +
                           std::to_string(column.precision) + "," + std::to_string(column.scale) + (column.autoNumber ? " counter" : "") +
                           (column.required ? " required" : "") + (column.allowZeroLength ? " empty" : "") + " " + column.defaultValue);
    for (const auto& property : database.Properties(name, column.name))
      held.properties.push_back(column.name + "." + property.name + "=" + property.value.Describe());
  }
  for (const auto& property : database.Properties(name)) held.properties.push_back(property.name + "=" + property.value.Describe());
  std::sort(held.properties.begin(), held.properties.end());
  for (const auto& index : table.Indexes()) {
    if (index.kind == IndexKind::kForeignKey) continue;
    std::string text = index.name + (index.kind == IndexKind::kPrimary ? " primary" : "") + (index.unique ? " unique" : "") +
                       (index.ignoreNulls ? " ignoring nulls" : "") + (index.required ? " required" : "");
    for (const auto& part : index.columns) text += " " + table.Columns()[part.column].name + (part.descending ? " down" : "");
    held.indexes.push_back(text);
  }
  std::sort(held.indexes.begin(), held.indexes.end());
  for (ScanCursor scan = table.Scan(); scan.Next();) {
    HeldRow& row = held.rows.emplace_back();
    row.home = scan.Id().page;
    for (std::size_t i = 0; i < held.isLong.size(); ++i) row.cells.push_back(scan.Current().Get(i).Describe());
  }
  ReadPlaces(*database.Internals().pager, table.Core().Definition(), held);
  return held;
}

/// How often each row is there.
std::map<std::string, int> Counted(const HeldTable& table) {
  std::map<std::string, int> counted;
  for (const auto& row : table.rows) ++counted[Joined(row.cells)];
  return counted;
}

/// True when the cells are equal but for long ones that are null where something was.
bool IsBare(const HeldTable& held, const std::vector<std::string>& was, const std::vector<std::string>& is) {
  for (std::size_t i = 0; i < is.size(); ++i)
    if (is[i] != was[i] && !(held.isLong[i] && is[i] == "NULL")) return false;
  return true;
}

}  // namespace

const HeldTable* Contents::Find(const std::string& name) const {
  for (const auto& [page, table] : tables)
    if (table.name == name) return &table;
  return nullptr;
}

Contents ReadContents(Database& database) {
  Contents contents;
  for (const auto& object : std::vector<CatalogObject>(database.Objects())) {
    if (object.type == 1) {
      HeldTable table = ReadTable(database, object.name);
      table.system = object.kind == ObjectKind::kSystemTable;
      contents.tables.emplace(static_cast<PageNumber>(object.id), std::move(table));
    }
    if (object.kind == ObjectKind::kQuery && !object.name.starts_with('~'))
      contents.queries.push_back(object.name + ": " + database.QueryText(object.name));
    if (object.kind == ObjectKind::kJetLink || object.kind == ObjectKind::kOdbcLink)
      contents.links.push_back(object.name + ": " + object.database + " " + object.connect + " " + object.foreignName);
    contents.forms += object.type < 0 ? 1 : 0;
  }
  for (const auto& relationship : database.Relationships()) {
    if (relationship.table.starts_with("MSys")) continue;
    std::string text = relationship.name + ": " + relationship.table + " -> " + relationship.referencedTable +
                       (relationship.enforced ? " enforced" : "") + (relationship.oneToOne ? " one" : "") +
                       (relationship.cascadeUpdates ? " updates" : "") + (relationship.cascadeDeletes ? " deletes" : "");
    for (const auto& [child, parent] : relationship.columns) text += " " + child + "=" + parent;
    contents.relationships.push_back(text);
  }
  for (auto* list : {&contents.queries, &contents.links, &contents.relationships}) std::sort(list->begin(), list->end());
  return contents;
}

Difference Compare(const HeldTable& held, const HeldTable& found) {
  Difference difference;
  auto left = Counted(held);
  std::vector<const HeldRow*> others;
  for (const auto& row : found.rows) {
    const auto same = left.find(Joined(row.cells));
    if (same != left.end() && same->second > 0)
      --same->second;
    else
      others.push_back(&row);
  }
  for (const HeldRow* row : others) {
    const auto whole = std::find_if(held.rows.begin(), held.rows.end(), [&](const HeldRow& candidate) {
      return candidate.cells.size() == row->cells.size() && left[Joined(candidate.cells)] > 0 && IsBare(held, candidate.cells, row->cells);
    });
    if (whole == held.rows.end()) {
      ++difference.strange;
      if (difference.first.empty()) difference.first = held.name + ": " + Joined(row->cells);
      continue;
    }
    --left[Joined(whole->cells)];
    ++difference.bare;
  }
  for (const auto& [row, count] : left) difference.missing += static_cast<std::size_t>(count);
  return difference;
}

}  // namespace jet::tests

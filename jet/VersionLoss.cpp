#include "jet/VersionLoss.h"

#include <utility>

#include "jet/Database.h"
#include "jet/schema/Objects.h"
#include "jet/table/Table.h"
#include "jet/value/Text.h"

namespace jet {
namespace {

using Kind = VersionLoss::Kind;

/// What a conversion to Access 97 makes is in this one.
constexpr std::uint16_t kCodePage = 1252;
constexpr std::uint16_t kMostBytes = 255;

bool Writes(std::string_view text) { return ToAnsi(text, kCodePage).has_value(); }

void FindInColumns(const std::string& table, const std::vector<ColumnDef>& columns, std::vector<VersionLoss>& losses) {
  if (!Writes(table)) losses.push_back({Kind::kName, table, {}});
  for (const ColumnDef& column : columns) {
    if (!Writes(column.name)) losses.push_back({Kind::kName, table, column.name});
    if (column.type == ColumnType::kNumeric) losses.push_back({Kind::kDecimal, table, column.name});
    if (column.type == ColumnType::kGuid && column.autoNumber) losses.push_back({Kind::kGuidCounter, table, column.name});
    if (column.type == ColumnType::kBinary && column.size > kMostBytes) losses.push_back({Kind::kLongBinary, table, column.name});
  }
}

void FindInValues(Table& table, std::vector<VersionLoss>& losses) {
  std::vector<std::pair<std::size_t, VersionLoss>> texts;
  const auto& columns = table.Columns();
  for (std::size_t i = 0; i < columns.size(); ++i)
    if (columns[i].type == ColumnType::kText || columns[i].type == ColumnType::kMemo)
      texts.push_back({i, {Kind::kText, table.Name(), columns[i].name}});
  for (ScanCursor scan = table.Scan(); scan.Next();)
    for (auto& [column, loss] : texts) loss.values += Writes(scan.Current().Text(column)) ? 0 : 1;
  for (auto& [column, loss] : texts)
    if (loss.values != 0) losses.push_back(std::move(loss));
}

}  // namespace

bool IsOfAccess2000(const CatalogObject& object) {
  return object.kind == ObjectKind::kSystemTable || (object.kind == ObjectKind::kDocument && object.type < 0);
}

std::vector<VersionLoss> LossesIn(Database& database, int version) {
  std::vector<VersionLoss> losses;
  if (version == 4 || database.VersionOfCopy() == version) return losses;
  const bool converts = version != database.FormatVersion();
  const Database::ReadScope scope(database);
  for (const CatalogObject& object : std::vector<CatalogObject>(database.Objects())) {
    if (converts && object.kind == ObjectKind::kDocument && IsOfAccess2000(object)) losses.push_back({Kind::kObject, object.name, {}});
    if (object.kind != ObjectKind::kTable) continue;
    Table& table = database.OpenTable(object.name);
    FindInColumns(object.name, table.Columns(), losses);
    FindInValues(table, losses);
  }
  return losses;
}

}  // namespace jet

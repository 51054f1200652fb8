// Columns of an .accdb whose values stand in tables of their own.
#include "jet/schema/Catalog.h"
#include "jet/table/Table.h"

namespace jet {

std::vector<ComplexColumn> Catalog::ComplexColumnsOf(PageNumber definitionPage) {
  std::vector<ComplexColumn> columns;
  const CatalogObject* object = Find("MSysComplexColumns");
  if (object == nullptr || object->kind != ObjectKind::kSystemTable) return columns;
  Table& table = space_.TableAt(static_cast<PageNumber>(object->id), object->name);
  const std::size_t id = table.ColumnAt("ComplexID"), owner = table.ColumnAt("ConceptualTableID"), values = table.ColumnAt("FlatTableID"),
                    type = table.ColumnAt("ComplexTypeObjectID");
  for (ScanCursor cursor = table.Scan(); cursor.Next();) {
    const Row& row = cursor.Current();
    if (static_cast<PageNumber>(row.Integer(owner)) != definitionPage) continue;
    columns.push_back({static_cast<std::uint32_t>(row.Integer(id)), static_cast<PageNumber>(row.Integer(values)),
                       static_cast<std::int32_t>(row.Integer(type)), cursor.Id()});
  }
  return columns;
}

}  // namespace jet

#include "jet/schema/AceSchema.h"

#include <algorithm>

#include "jet/schema/Engine.h"
#include "jet/schema/Schema.h"
#include "jet/table/TableCore.h"
#include "jet/value/Error.h"

namespace jet {
namespace {

using Column = TableDefinition::Column;

[[noreturn]] void Refuse(const Column& column, const char* why) {
  throw Error(ErrorCode::kUnsupported, "The column \"" + column.name + "\" " + why);
}

}  // namespace

void RequireNoneCalculated(const TableDefinition& definition, const std::string& table) {
  for (const Column& column : definition.columns)
    if (column.IsCalculated())
      throw Error(ErrorCode::kUnsupported, "The columns of the table \"" + table + "\" cannot be changed: its column \"" + column.name +
                                               "\" is calculated, which Access alone does");
}

void RequireNotComplex(const Column& column) {
  if (column.type == TableDefinition::kComplexType)
    Refuse(column, "holds attachments or several values: Access alone makes, changes and drops such columns");
}

void RequireDroppable(const TableDefinition& definition, const Column& column) {
  RequireNotComplex(column);
  const bool history = std::any_of(definition.columns.begin(), definition.columns.end(),
                                   [](const Column& held) { return (held.extraFlags & Column::kHistoryFlag) != 0; });
  if (history && column.type == ColumnType::kMemo) Refuse(column, "is of a table that keeps the history of its memos: it is not changed");
}

void RequireAlterable(const TableDefinition& definition, const Column& column) {
  RequireDroppable(definition, column);
  if (column.type > ColumnType::kInternal) Refuse(column, "is of a type that Access 2003 has not: it cannot become another");
}

void RequireNoComplexColumn(const TableDefinition& definition, const TableDefinition::Index& index) {
  for (const auto& part : definition.trees[index.tree].columns)
    if (const Column* column = definition.FindByNumber(part.number)) RequireNotComplex(*column);
}

/// A model of the values of one memo; others are every file's.
void Schema::DropModel(std::int32_t id) {
  constexpr std::string_view kOfOneColumn = "MSysComplexTypeVH_";
  const CatalogObject* found = engine_.catalog.FindById(id);
  if (found == nullptr || found->type != 1 || !found->name.starts_with(kOfOneColumn)) return;
  const CatalogObject model = *found;
  DropLocalTable(model);
  engine_.catalog.Remove(model.id);
  engine_.tables.erase(static_cast<PageNumber>(model.id));
}

void Schema::DropComplexValues(PageNumber owner) {
  Catalog& catalog = engine_.catalog;
  for (const ComplexColumn& column : catalog.ComplexColumnsOf(owner)) {
    const CatalogObject* found = catalog.FindById(static_cast<std::int32_t>(column.values));
    if (found == nullptr || found->kind != ObjectKind::kSystemTable)
      throw Error(ErrorCode::kDamaged, "The values of a column have no table", column.values, 0);
    const CatalogObject values = *found;
    DropLocalTable(values);
    catalog.Remove(values.id);
    engine_.tables.erase(static_cast<PageNumber>(values.id));
    const CatalogObject* list = catalog.Find("MSysComplexColumns");
    engine_.TableAt(static_cast<PageNumber>(list->id), list->name).Delete(column.row);
    DropModel(column.typeId);
  }
}

}  // namespace jet

#include "jet/table/RowLayout.h"

#include <algorithm>

namespace jet {

RowLayout::RowLayout(const TableDefinition& definition)
    : columns(definition.columns),
      positions(definition.maxColumns, kNowhere),
      variableOrder(definition.variableColumns, kNowhere),
      fixedSize(definition.FixedSize()),
      columnCount(definition.maxColumns),
      variableCount(definition.variableColumns) {
  std::sort(columns.begin(), columns.end(), [](const auto& left, const auto& right) { return left.number < right.number; });
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const auto& column = columns[i];
    positions[column.number] = i;
    if (column.IsFixed() || column.type == ColumnType::kBoolean) continue;
    variableOrder[column.variableIndex] = i;
    if (column.variableIndex == 0) firstVariableNumber = column.number;
  }
}

}  // namespace jet

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

void RowLayout::Reshape(TableDefinition::Column& column, ColumnType resultType) {
  using Shape = TableDefinition::Shape;
  constexpr std::uint16_t kBytesOfText = 510;
  constexpr std::uint16_t kBytesOfNumber = 2 * 40;
  constexpr std::uint8_t kDigitsOf64Bits = 19;
  if (column.IsCalculated()) {
    column.shape = Shape::kCalculated;
    column.type = resultType;
    if (column.type == ColumnType::kText) column.length = kBytesOfText;
    if (column.type == ColumnType::kNumeric) {
      column.shape = Shape::kCalculatedNumber;
      column.type = ColumnType::kText;
      column.length = kBytesOfNumber;
    }
  } else if (column.type == TableDefinition::kComplexType) {
    column.shape = Shape::kComplex;
    column.type = ColumnType::kLong;
    column.flags = static_cast<std::uint8_t>(column.flags & ~TableDefinition::Column::kAutoLong);
  } else if (column.type == TableDefinition::kBigIntegerType) {
    column.shape = Shape::kBigInteger;
    column.type = ColumnType::kNumeric;
    column.sort = {kDigitsOf64Bits, 0, 0, 0};
  } else if (column.type == TableDefinition::kExtendedDateType) {
    column.shape = Shape::kExtendedDate;
    column.type = ColumnType::kText;
  } else if (column.type > ColumnType::kInternal) {
    column.shape = Shape::kUnknown;
    column.type = ColumnType::kInternal;
  }
}

}  // namespace jet

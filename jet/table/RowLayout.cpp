#include "jet/table/RowLayout.h"

#include <algorithm>
#include <cstring>

#include "jet/value/ByteOrder.h"

namespace jet {

RowLayout::RowLayout(const TableDefinition& definition)
    : jet3(definition.IsJet3()),
      columns(definition.columns),
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

void RowLayout::StoreCount(std::byte* to, std::size_t count) const noexcept {
  if (jet3)
    Store8(to, static_cast<std::uint8_t>(count));
  else
    Store16(to, static_cast<std::uint16_t>(count));
}

std::size_t RowLayout::JumpsOf(std::size_t rowSize) const noexcept { return jet3 && variableCount > 0 ? (rowSize - 1) / 256 : 0; }

std::size_t RowLayout::RowSize(std::size_t data, std::size_t mask) const noexcept {
  const std::size_t trailer = variableCount > 0 ? CountSize() * (variableCount + std::size_t{2}) : 0;
  const std::size_t plain = std::max(data + trailer + mask, kMinRowSize);
  std::size_t size = plain;
  while (size != plain + JumpsOf(size)) size = plain + JumpsOf(size);  // the jumps make it longer, which may take one more
  return size;
}

void RowLayout::StoreTrailer(std::byte* mask, std::size_t jumps, std::span<const std::size_t> offsets) const noexcept {
  const std::size_t size = CountSize();
  std::byte* entry = mask - 2 * size - jumps;
  std::size_t jump = 0;
  StoreCount(mask - size, variableCount);
  std::memset(mask - size - jumps, 0xFF, jumps);
  for (std::size_t i = 0; i < offsets.size(); ++i, entry -= size) {
    StoreCount(entry, offsets[i]);
    for (; jump < jumps && offsets[i] >= 256 * (jump + 1); ++jump) StoreCount(mask - size - 1 - jump, i);
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

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "jet/table/TableDefinition.h"

namespace jet {

/// How the rows of a table are laid out, derived from its definition. Columns are known by their position, which is the order of their
/// numbers and so that of their creation.
struct RowLayout {
  static constexpr std::size_t kNowhere = ~std::size_t{0};
  static constexpr std::size_t kMaxRowSize = 4060;
  /// A row may have to become a pointer one day, on a page that is full by then: none is shorter than that.
  static constexpr std::size_t kMinRowSize = 4;

  std::vector<TableDefinition::Column> columns;  ///< by position
  std::vector<std::size_t> positions;            ///< by column number; kNowhere for those deleted
  std::vector<std::size_t> variableOrder;        ///< position of each variable column; kNowhere for those deleted
  std::size_t fixedSize = 0;                     ///< of the fixed part of a row
  std::uint16_t columnCount = 0;                 ///< deleted ones included
  std::uint16_t variableCount = 0;               ///< the same
  std::uint16_t firstVariableNumber = 0;         ///< rows with fewer columns were written when there was no variable column

  RowLayout() = default;
  explicit RowLayout(const TableDefinition& definition);

  /// Gives a column of an .accdb the type that its values are given as; resultType is that of a calculated one.
  static void Reshape(TableDefinition::Column& column, ColumnType resultType);
};

}  // namespace jet

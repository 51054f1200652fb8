#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "jet/table/TableDefinition.h"
#include "jet/value/ByteOrder.h"

namespace jet {

/// How the rows of a table are laid out, derived from its definition. Columns are known by their position, which is the order of their
/// numbers and so that of their creation.
struct RowLayout {
  static constexpr std::size_t kNowhere = ~std::size_t{0};
  /// A row may have to become a pointer one day, on a page that is full by then: none is shorter than that.
  static constexpr std::size_t kMinRowSize = 4;

  bool jet3 = false;                             ///< counts and offsets of rows have one byte
  std::vector<TableDefinition::Column> columns;  ///< by position
  std::vector<std::size_t> positions;            ///< by column number; kNowhere for those deleted
  std::vector<std::size_t> variableOrder;        ///< position of each variable column; kNowhere for those deleted
  std::size_t fixedSize = 0;                     ///< of the fixed part of a row
  std::uint16_t columnCount = 0;                 ///< deleted ones included
  std::uint16_t variableCount = 0;               ///< the same
  std::uint16_t firstVariableNumber = 0;         ///< rows with fewer columns were written when there was no variable column

  /// Bytes of the number of columns, of each offset and of the number of variable columns.
  [[nodiscard]] std::size_t CountSize() const noexcept { return jet3 ? 1 : 2; }

  // ----- the bytes of a row: count of columns, fixed part, variable data, and where there are variable columns the trailer: their offsets
  // backwards, jumps, their count; then the mask
  [[nodiscard]] std::size_t LoadCount(const std::byte* from) const noexcept { return jet3 ? Load8(from) : Load16(from); }
  void StoreCount(std::byte* to, std::size_t count) const noexcept;
  /// Bytes of a row whose data, the count of columns included, and mask have so many.
  [[nodiscard]] std::size_t RowSize(std::size_t data, std::size_t mask) const noexcept;
  /// Jumps of a row of that size. In Jet 3 offsets are given by the rest of a division by 256; jump k, backwards, is the first of them that
  /// has reached 256 * k, and FF where none has.
  [[nodiscard]] std::size_t JumpsOf(std::size_t rowSize) const noexcept;
  /// Puts the trailer before the mask. offsets: of all variable columns, and the end of the last one.
  void StoreTrailer(std::byte* mask, std::size_t jumps, std::span<const std::size_t> offsets) const noexcept;

  RowLayout() = default;
  explicit RowLayout(const TableDefinition& definition);

  /// Gives a column of an .accdb the type that its values are given as; resultType is that of a calculated one.
  static void Reshape(TableDefinition::Column& column, ColumnType resultType);
};

}  // namespace jet

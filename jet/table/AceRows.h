#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "jet/page/PageStore.h"
#include "jet/table/Table.h"

namespace jet {

class RowDraft;
class TableCore;

/// What a change of a row has to mind in tables of an .accdb that have columns unlike those of Jet 4. It does nothing for others. Calculated
/// columns, columns of a type that nobody knows and memos whose former values are kept cannot be filled here: what would is refused. Complex
/// columns are filled with a number, under which their values stand in tables of their own.
class AceRows {
 public:
  explicit AceRows(TableCore& table) : table_(table) {}
  /// The definition has been read again.
  void Reset();

  /// Error kUnsupported, naming the column that stands in the way.
  void RequireInsertable(std::span<const Assignment> assignments);
  /// The same for a row that is there: a value may be given again where it is.
  void RequireUpdatable(std::span<const Assignment> assignments, Row& old);

  /// Gives a new row's complex columns their number: the next one of the table. Nothing for a table without. Error: kLimit.
  [[nodiscard]] std::optional<std::uint32_t> Number(RowDraft& draft) const;
  /// Notes it as the last one in the definition.
  void StoreNumber(std::uint32_t number) const;

  /// Rows of other tables that hold the values of a row.
  struct Values {
    PageNumber table;
    std::vector<RowId> rows;
  };
  /// Error kDamaged where a column's values cannot be found.
  [[nodiscard]] std::vector<Values> ValuesOf(const Row& row) const;
  void Delete(const std::vector<Values>& values) const;

 private:
  /// Why the column takes no values; null where it does.
  [[nodiscard]] const char* WhyNot(std::size_t column);
  void FindHistories();

  TableCore& table_;
  bool any_ = false;                       ///< there is a column to mind
  std::optional<std::string> calculated_;  ///< the name of one
  std::vector<std::size_t> complex_;       ///< positions
  bool historiesKnown_ = false;
  std::vector<std::size_t> historied_;  ///< memos whose former values are kept
};

}  // namespace jet

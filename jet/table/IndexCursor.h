#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "jet/page/PageStore.h"
#include "jet/value/Value.h"

namespace jet {

class Table;

/// One end of a range: values for a leading part of the index' columns.
struct KeyBound {
  std::vector<Value> values;  ///< 1 to the number of the index' columns; nulls are allowed
  bool inclusive = true;      ///< whether keys that begin with exactly these values belong to the range
};

/// Walks an index in its own order (descending columns count down), forward or backward, between two bounds, giving row identities.
///
/// Bounds are in index order: lower is the one met first walking forward, whatever the direction of the walk and of the columns.
/// Text keys do not tell upper from lower case nor some other differences: the caller compares again when that matters.
/// Rows of an index that ignores nulls are missing where all key columns are null.
/// Changing the table while walking is allowed: the walk goes on after the entry it stood on, by key and row.
/// From its making to its end it keeps other processes from writing; Rest lets them.
/// Errors: kTypeMismatch when a bound's value cannot be turned into the column's type, kUnsupported (order not known), kDamaged.
class IndexCursor {
 public:
  IndexCursor(Table& table, std::size_t index);
  ~IndexCursor();
  IndexCursor(IndexCursor&&) noexcept;
  IndexCursor& operator=(IndexCursor&&) noexcept;

  /// Sets the range and stands before its first entry in the wanted direction. No bound = open at that end.
  /// rowsAreTested: the caller compares each row again, so that the range may be a little too wide. Rows that another program has entered
  /// under another key (TextOrder::kGeneralOnce) are met then too.
  void SetRange(const std::optional<KeyBound>& lower, const std::optional<KeyBound>& upper, bool backward = false,
                bool rowsAreTested = false);
  /// Moves on; false past the end of the range.
  bool Next();
  /// The row of the entry stood on.
  [[nodiscard]] RowId Id() const noexcept;
  /// The entry's key, as the index holds it; good until the next call.
  [[nodiscard]] std::span<const std::byte> Key() const noexcept;
  /// Back to behind an entry that was stood on before, whether it is still there or not.
  void GoBehind(std::span<const std::byte> key, RowId id);
  /// Lets other processes write until the next step or SetRange.
  void Rest() noexcept;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace jet

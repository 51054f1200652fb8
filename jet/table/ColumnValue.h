#pragma once

#include <cstddef>

#include "jet/value/Value.h"

namespace jet {

class Table;

/// The value as a row gives it back once it has been written into the column (position in Table::Columns()); null stays null, and the Yes/No
/// that is none is false. Errors as Table::Insert: kTypeMismatch, kValueTooLong.
[[nodiscard]] Value ColumnValue(Table& table, std::size_t column, const Value& value);

}  // namespace jet

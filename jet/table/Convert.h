#pragma once

#include <optional>
#include <string>

#include "jet/table/TableDefinition.h"
#include "jet/value/Value.h"

namespace jet {

/// Turns a value that is not null into one of the column's own type (a memo's is text, a long binary's bytes, a numeric's has the
/// column's scale). Gives the value itself when there is nothing to do, else the scratch. Decimals that do not fit are rounded, halves
/// to even. Errors: kTypeMismatch, kValueTooLong; the text names the column.
[[nodiscard]] const Value& ConvertToColumn(const Value& value, const TableDefinition::Column& column, Value& scratch);

/// The same for a bound of a search: the converted value is as large as the given one, and texts may be longer than the column.
/// Errors: kTypeMismatch also when decimals would be lost.
[[nodiscard]] const Value& ConvertForSearch(const Value& value, const TableDefinition::Column& column, Value& scratch);

}  // namespace jet

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

/// Any number, date, truth value (-1 or 0) or text that reads as a number as a double; none for null and everything else.
[[nodiscard]] std::optional<double> AsReal(const Value& value);

/// The bytes under which a row stores a value of the column's own type; not for Yes/No and long columns.
void StoreValue(const Value& value, const TableDefinition::Column& column, std::string& stored);

}  // namespace jet

#pragma once

#include <string>

#include "jet/table/TableDefinition.h"
#include "jet/value/Value.h"

namespace jet {

/// Whether the column is a Big Integer or an extended date, whose values the two below take.
[[nodiscard]] bool IsAceValue(const TableDefinition::Column& column) noexcept;
/// As ConvertToColumn: a Big Integer becomes a numeric of scale 0, an extended date its full text. Nothing is rounded: a number with
/// decimals, a Double too large to have all of its digits, and what is no such date do not suit. Error: kTypeMismatch, naming the column.
[[nodiscard]] const Value& ConvertToAce(const Value& value, const TableDefinition::Column& column, Value& scratch);
/// The bytes of a value that ConvertToAce has given.
void StoreAceValue(const Value& value, const TableDefinition::Column& column, std::string& stored);

}  // namespace jet

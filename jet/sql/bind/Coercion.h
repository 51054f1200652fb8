#pragma once

#include "jet/sql/Statement.h"

namespace jet::sql {

/// True for the types of whole, fractional and exact numbers; Yes/No and dates are none.
[[nodiscard]] bool IsNumber(ColumnType type);

/// The type of a column or expression whose values come from two places: a number that holds those of both, a text where a text meets
/// something else. Unknown with anything is the other.
[[nodiscard]] TypeInfo CommonType(const TypeInfo& a, const TypeInfo& b);

/// The value as the column takes it where the engine's own conversion does not go so far: texts read as dates and numbers under the
/// settings, dates and numbers written as texts. Error kTypeMismatch for a text that is no date or number.
[[nodiscard]] Value Coerced(const Value& value, const TypeInfo& column, const TextSettings& settings);

}  // namespace jet::sql

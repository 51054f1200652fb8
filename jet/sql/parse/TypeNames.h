#pragma once

#include <optional>
#include <string_view>

#include "jet/value/Value.h"

/// The words for types in statements.
namespace jet::sql {

/// The type of that name or synonym, in upper case; nothing when there is none.
[[nodiscard]] std::optional<ColumnType> TypeNamed(std::string_view upper);
/// The word for the type of a stored parameter, which has the number of a column's type; "VALUE" for 0, which is any, and unknown ones.
[[nodiscard]] const char* NameOfType(int type);

}  // namespace jet::sql

#pragma once

#include <cstdint>
#include <string>

#include "ado/odbc/values/ParameterShape.h"

namespace tamlo::ado::odbc {

/// A whole number out of any value, a half going to the even neighbour. Error 6 beyond 64 bits, 13 for what is no number.
[[nodiscard]] std::int64_t WholeOf(const Variant& value);
/// Error 6 for what the shape's column has no room for.
void CheckRange(std::int64_t value, const ParameterShape& shape);
/// A decimal as the backend reads it, which may be none, or infinite, where it keeps these.
[[nodiscard]] std::string NumberTextOf(const Variant& value, const ParameterShape& shape);
/// Refuses what the database does not keep; error 6 beyond single precision where the column has that.
[[nodiscard]] double DoubleOf(const Variant& value, const ParameterShape& shape);

}  // namespace tamlo::ado::odbc

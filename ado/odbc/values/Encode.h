#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "ado/odbc/values/ParameterShape.h"

namespace tamlo::ado::odbc {

/// Appends the value as the shape's bytes. False for a null (also Empty). Errors 6 and 13 for what the column cannot take,
/// -2147467259 naming the column for a text or bytes too long for it, and for a value of which the driver or the backend would make another
/// one without a word: nothing is ever cut or changed, but rounded to the digits that the column has.
[[nodiscard]] bool Encode(const Variant& value, const ParameterShape& shape, std::vector<std::byte>& out);

/// The value as a column of that shape holds it: numbers, truth values and texts as values of the column's type, the rest as it was given.
/// Errors of Encode. Of long values only the type is looked at: what they hold is checked once, when they are written.
[[nodiscard]] Variant Held(const Variant& value, const ParameterShape& shape);

/// Encode for what is written by the million: a value of the column's own type, of a text one in ASCII, straight into its slot. The bytes
/// written; 0 where the value is any other or has no room, and Encode is to be asked.
[[nodiscard]] std::size_t EncodeUsual(const Variant& value, const ParameterShape& shape, std::span<std::byte> slot);

}  // namespace tamlo::ado::odbc

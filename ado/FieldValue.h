#pragma once

#include "ado/Provider.h"

namespace tamlo::ado {

/// A value as a field of that description holds it, of rows that no provider keeps. Null and Empty are Null. Error 3421 for one that the type
/// cannot hold, -2147217887 for one that does not fit: a number too large, or with more decimals than the field has, a text or bytes too long.
[[nodiscard]] Variant AsFieldValue(const FieldInfo& field, const Variant& value);

}  // namespace tamlo::ado

#pragma once

#include <functional>
#include <string>

#include "runtime/Variant.h"
#include "schema/Dialect.h"

namespace tamlo::move {

/// What makes the engine's value of a column's one as a recordset gives it; empty where it is the same. A value that is none of the column's
/// type is left as it is, for the engine to judge.
[[nodiscard]] std::function<void(runtime::Variant&)> ConversionFor(const schema::Type& type, schema::Engine engine);

/// A value as people read it, exact: numbers in digits, moments as YYYY-MM-DD HH:MM:SS.mmm, bytes in hexadecimal digits. "NULL" for none.
[[nodiscard]] std::string PlainText(const runtime::Variant& value);

}  // namespace tamlo::move

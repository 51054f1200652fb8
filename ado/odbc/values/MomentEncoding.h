#pragma once

#include <cstddef>
#include <vector>

#include "ado/odbc/values/ParameterShape.h"

namespace tamlo::ado::odbc {

/// A day, a time or both as a text that the server reads, also one that the server itself writes for what no Date holds.
void AppendMoment(const Variant& value, const ParameterShape& shape, std::vector<std::byte>& out);
/// The same as a structure of the driver. Error 13 for what it has no room for.
void AppendMomentStructure(const Variant& value, const ParameterShape& shape, std::vector<std::byte>& out);

}  // namespace tamlo::ado::odbc

#pragma once

#include <string>
#include <vector>

#include "ado/Connection.h"

namespace tamlo::move {

/// All rows of a query, each value as a text; an empty one for a null.
[[nodiscard]] std::vector<std::vector<std::string>> Ask(ado::Connection& connection, const std::string& query);
/// The first value of its first row as a number; 0 without one.
[[nodiscard]] std::int64_t AskNumber(ado::Connection& connection, const std::string& query);

}  // namespace tamlo::move

#pragma once

#include <string>
#include <vector>

#include "schema/Model.h"

namespace tamlo::tests {

/// Everything that the description says, a line for each thing, so that two can be compared and read.
std::vector<std::string> Told(const schema::Database& database);
/// "table.column: text" of each.
std::vector<std::string> Told(const std::vector<schema::Finding>& findings);
std::vector<std::string> ToldInFrench(const std::vector<schema::Finding>& findings);

}  // namespace tamlo::tests

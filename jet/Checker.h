#pragma once

#include <vector>

#include "jet/page/Finding.h"

namespace jet {

struct Engine;

/// Walks every page of the file and compares everything with everything. Reads only; damage becomes findings, never an exception.
[[nodiscard]] std::vector<Finding> CheckStructure(Engine& engine);

}  // namespace jet

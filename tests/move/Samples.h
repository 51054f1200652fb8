#pragma once

#include <filesystem>

#include "tests/move/Engines.h"

namespace tamlo::tests {

/// Copies an Access file into the emptied engine and compares every cell of every table there with what mdb-export says of the file. A file behind
/// a password has to be refused by name, with status 3.
void CopyAndCompare(TargetEngine& engine, const std::filesystem::path& file, Compared& compared,
                    const std::vector<std::string>& options = {});

}  // namespace tamlo::tests

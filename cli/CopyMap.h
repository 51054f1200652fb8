#pragma once

#include <string>

#include "cli/Failure.h"
#include "move/Map.h"

namespace tamlo::cli {

/// Reads a map of the source's names. Error: Failure kUsage when the file cannot be read, or with the line that is not understood.
[[nodiscard]] move::Map ReadMap(const std::string& path, const schema::Database& source);

/// What a line of that file says that cannot be: kUsage.
[[nodiscard]] Failure MapFailure(const std::string& path, const move::MapError& error);

}  // namespace tamlo::cli

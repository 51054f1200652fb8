#pragma once

#include <optional>

#include "ado/Types.h"
#include "cli/CellValues.h"
#include "cli/ServerColumns.h"

namespace tamlo::cli {

/// Whether the cell is a text that is too long for the column.
[[nodiscard]] bool IsTooLong(const Cell& cell, const ServerColumn& column);

/// The cell as a value that the column holds exactly; nothing where there is none. Binary numbers take the nearest one.
[[nodiscard]] std::optional<ado::Variant> ServerValueOf(const Cell& cell, const ServerColumn& column, const Reading& reading,
                                                        std::optional<schema::Engine> engine);

}  // namespace tamlo::cli

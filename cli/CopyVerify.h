#pragma once

#include <functional>

#include "move/Run.h"
#include "move/compare/Compare.h"

namespace tamlo::cli {

/// Compares every value of the tables that a copy has filled, by another road than the copy's, and tells each difference on standard error.
/// Rows that the target refused, and those that it had before, are no differences. `cancelled` is asked between rows. False when something
/// differs, or when it was cancelled. Errors: those of move::CompareRows.
[[nodiscard]] bool ValuesAgree(const move::Plan& plan, const move::Outcome& outcome, const move::CompareSide& from,
                               const move::CompareSide& to, const std::function<bool()>& cancelled);

}  // namespace tamlo::cli

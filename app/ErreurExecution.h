#pragma once

#include <cstdint>

#include "runtime/Error.h"

namespace tamlo::app {

/// Numbers for failures that are no runtime::Error: no memory left, a defect of the program.
inline constexpr std::int32_t kMemoireInsuffisante = 7;
inline constexpr std::int32_t kErreurInterne = 51;

/// The box for a failure that nobody caught, as the runtime shows it.
void AfficheErreurExecution(const runtime::Error& erreur);

}  // namespace tamlo::app

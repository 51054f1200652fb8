#pragma once

#include <cstdint>
#include <string>

#include "runtime/Error.h"

namespace tamlo::ado {

/// An error of the object model itself (3021, 3251, 3265, 3704, 3705, 3706, 3709) with its French description; detail, when given,
/// is put behind it between brackets.
[[nodiscard]] runtime::Error AdoError(std::int32_t number, const std::string& detail = {});

}  // namespace tamlo::ado

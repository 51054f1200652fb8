#pragma once

#include <string>

#include "schema/Finding.h"

namespace tamlo::schema {

/// What a finding says, without its place. What a driver or an engine said stands in it as they said it.
[[nodiscard]] std::string English(const Finding& finding);
[[nodiscard]] std::string French(const Finding& finding);

}  // namespace tamlo::schema

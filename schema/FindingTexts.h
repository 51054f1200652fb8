#pragma once

#include <string>
#include <string_view>

#include "schema/Finding.h"

namespace tamlo::schema {

/// What a finding says, without its place. What a driver or an engine said stands in it as they said it.
[[nodiscard]] std::string English(const Finding& finding);
[[nodiscard]] std::string French(const Finding& finding);
/// For programs: a short name that stays as it is, whatever becomes of the sentences. No two kinds have one.
[[nodiscard]] std::string_view KeyOf(What what);
/// The English sentence, with "%1" and so on where its parts go.
[[nodiscard]] std::string_view PatternOf(What what);

}  // namespace tamlo::schema

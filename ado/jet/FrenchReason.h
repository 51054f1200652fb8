#pragma once

#include <string>
#include <string_view>

namespace tamlo::ado::jetprovider {

/// The engine's reason for an error, which is English, for a French message: the sentence in French with the place behind it (page, offset,
/// character) where it is a known one. A sentence that is not known stays whole, as the engine says it: what it tells may be all that helps.
[[nodiscard]] std::string FrenchReason(std::string_view english);

}  // namespace tamlo::ado::jetprovider

#pragma once

#include <string>
#include <string_view>

namespace tamlo::ado::jetprovider {

/// The engine's reason for an error, which is English, for a French message: the sentence in French where it is a known one, else the names
/// (between double quotes) that it tells; and the place (page, offset, character) in either case. "" when it tells none of these.
[[nodiscard]] std::string FrenchReason(std::string_view english);

}  // namespace tamlo::ado::jetprovider

#pragma once

#include <string>
#include <string_view>

namespace tamlo::cli {

/// The text as it stands in HTML and XML, between tags and between double quotes: nothing in it is markup. What XML cannot hold (controls,
/// bytes that are no character) becomes U+FFFD; tabs and line ends become blanks.
[[nodiscard]] std::string Markup(std::string_view text);

}  // namespace tamlo::cli

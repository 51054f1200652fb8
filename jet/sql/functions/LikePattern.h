#pragma once

#include <string_view>

namespace jet::sql {

/// Whether a text meets a pattern of LIKE as Access reads it, without regard to case: * any characters, ? one character, # one digit,
/// [abc] [a-z] [!abc] one character of (not of) a set. In the other form (ALIKE) % and _ take the place of * and ?.
[[nodiscard]] bool Like(std::string_view text, std::string_view pattern, bool percentForm);

}  // namespace jet::sql

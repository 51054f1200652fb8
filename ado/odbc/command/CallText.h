#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "ado/Command.h"
#include "ado/odbc/facts/DriverFacts.h"

namespace tamlo::ado::odbc {

/// A call as it is written: "{[? =] call NAME [(arguments)]}" or "CALL NAME [(arguments)]".
struct CallText {
  bool inBraces = false;
  bool returns = false;   ///< "? ="
  std::string name;       ///< as it stands, quotes and owner included
  std::string arguments;  ///< between the outer brackets

  /// How many arguments there are when each is a mark; none otherwise.
  [[nodiscard]] std::optional<std::size_t> Marks() const;
};

/// None for any other statement.
[[nodiscard]] std::optional<CallText> ReadCall(std::string_view text);

/// A value that came out of a procedure as one of its parameter's type (adEmpty: as it is). Errors 13 and 6 for what the type does not hold;
/// rounded where an assignment rounds. A text that a server writes for a day that no Date holds stays one.
[[nodiscard]] Variant OfType(const Variant& value, const ado::Parameter& parameter, const DriverFacts& facts);

}  // namespace tamlo::ado::odbc

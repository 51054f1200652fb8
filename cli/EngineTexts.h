#pragma once

#include <string>
#include <string_view>

#include "schema/Dialect.h"

namespace tamlo::cli {

/// A form that two texts share when the engine, with the collation that definitions are written with, finds them equal: in Access the key of an
/// index. Where it folds letters elsewhere, the folding is that of case, of blanks at the end, and of digits and full-width forms of ASCII: not every equality of the collation.
[[nodiscard]] std::string EqualForm(schema::Engine engine, std::string_view text);

/// True when texts that differ may be equal there.
[[nodiscard]] bool EqualsMore(schema::Engine engine) noexcept;

}  // namespace tamlo::cli

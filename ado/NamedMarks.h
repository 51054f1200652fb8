#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ado/Command.h"

namespace tamlo::ado {

/// A statement whose marks ":name" have become "?", and for each "?" in order the position of its parameter.
struct PositionedStatement {
  std::string text;
  std::vector<std::size_t> order;
};

/// Where a text has a mark ":name" of one of the parameters (with or without the colon, without regard to case) outside of quotes, brackets and
/// comments: a name may be marked several times, a "?" stands for the next parameter without a name. None where it has no such mark. Error 3265
/// for another mark ":name", and for a name that is not marked.
[[nodiscard]] std::optional<PositionedStatement> Positioned(std::string_view text, const std::vector<Parameter>& parameters);

/// Whether the text has a mark ":name" of that name, by the same rules.
[[nodiscard]] bool IsMarked(std::string_view text, std::string_view name);

}  // namespace tamlo::ado

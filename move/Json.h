#pragma once

#include <string>
#include <string_view>

namespace tamlo::move {

/// Appends the text between quotes, with what JSON wants escaped.
void AppendJson(std::string& out, std::string_view text);

}  // namespace tamlo::move

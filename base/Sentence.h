#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tamlo::base {

enum class Language : std::uint8_t { kEnglish, kFrench };

/// A sentence that is told to people: the pattern with its parts in the stead of "%1", "%2"... (one that there is no part for stays as it
/// stands), and of each "{row|rows}" the word for one or for several, after the part before it. In French none is one too.
[[nodiscard]] std::string Sentence(std::string_view pattern, std::span<const std::string_view> parts, Language language);

}  // namespace tamlo::base

#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace base {

/// The bytes that a whole text in base64 is, padded with "=" to fours of letters. None for any other text.
[[nodiscard]] std::optional<std::vector<std::byte>> ReadBase64(std::string_view text);

}  // namespace base

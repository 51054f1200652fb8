#pragma once

#include <cstddef>

#include "ado/Types.h"

namespace tamlo::ado {

/// Hands out the next piece of a whole value, a text never cut inside a character; offset moves on and returns to 0 at the end.
[[nodiscard]] std::size_t PieceOf(const Variant& value, std::size_t& offset, std::byte* buffer, std::size_t capacity);

/// All that a source gives, as a text or as bytes.
[[nodiscard]] Variant WholeOf(const ChunkSource& source, bool isText);

}  // namespace tamlo::ado

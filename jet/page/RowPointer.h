#pragma once

#include <cstdint>

#include "jet/page/PageStore.h"

namespace jet {

/// A row pointer as pages hold it: row number in the low byte, page above. 0 = none.
using PackedPointer = std::uint32_t;

[[nodiscard]] constexpr RowId Unpack(PackedPointer packed) noexcept { return {packed >> 8, static_cast<std::uint8_t>(packed & 0xFF)}; }
[[nodiscard]] constexpr PackedPointer Pack(RowId id) noexcept { return id.page << 8 | id.slot; }

}  // namespace jet

#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace tamlo::ui {

inline constexpr double kTwipsPerInch = 1440.0;

/// Twips to the nearest pixel, and pixels to twips, on a screen of that many logical dots an inch.
[[nodiscard]] inline int ToPixels(std::int16_t twips, double dotsPerInch) noexcept {
  return static_cast<int>(std::lround(twips * dotsPerInch / kTwipsPerInch));
}
/// Lengths beyond 32767 twips (some 22 inches) read as 32767.
[[nodiscard]] inline std::int16_t ToTwips(int pixels, double dotsPerInch) noexcept {
  return static_cast<std::int16_t>(std::clamp(std::lround(pixels * kTwipsPerInch / dotsPerInch), -32767L, 32767L));
}

/// The size of a screen: at most 65534 twips, as the contract says.
[[nodiscard]] inline std::int32_t ScreenTwips(int pixels, double dotsPerInch) noexcept {
  return static_cast<std::int32_t>(std::clamp(std::lround(pixels * kTwipsPerInch / dotsPerInch), 0L, 65534L));
}

}  // namespace tamlo::ui

#pragma once

#include <cmath>

#include "ado/Types.h"

namespace tamlo::ado {

/// Whether a value read again is the one that was read before: equal in type and value, where a number that is none equals itself.
[[nodiscard]] inline bool SameValue(const Variant& a, const Variant& b) {
  if (a == b) return true;
  const auto isNone = [](const Variant& value) {
    const auto* wide = value.If<double>();
    const auto* narrow = value.If<float>();
    return (wide && std::isnan(*wide)) || (narrow && std::isnan(*narrow));
  };
  return isNone(a) && isNone(b);
}

/// Bytes of a long value up to which an update compares it with what was read.
constexpr std::size_t kLongestComparedValue = 64 * 1024;

/// Bytes of a text or of bytes; 0 of any other value.
[[nodiscard]] inline std::size_t LengthOf(const Variant& value) {
  if (const auto* text = value.If<std::string>()) return text->size();
  if (const auto* bytes = value.If<runtime::Bytes>()) return bytes->size();
  return 0;
}

}  // namespace tamlo::ado

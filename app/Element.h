#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "runtime/Error.h"

namespace tamlo::app {

/// An element of a list counted from 1. Error 9 when there is none.
template <typename T>
[[nodiscard]] const T& Element(const std::vector<T>& liste, std::int16_t position) {
  if (position < 1 || static_cast<std::size_t>(position) > liste.size()) throw runtime::Error(runtime::kSubscriptOutOfRange);
  return liste[static_cast<std::size_t>(position) - 1];
}

}  // namespace tamlo::app

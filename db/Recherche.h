#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "runtime/Error.h"

namespace tamlo::db {

/// The lookup that all lists share: position, from 0, of the entry of exactly that name, the last one found first, else the first in order;
/// -1 when there is none. nomDe gives an entry's name; dernier, a position of any value, is the one found last.
template <typename Entrees, typename NomDe>
[[nodiscard]] std::int16_t PositionNommee(const Entrees& entrees, const std::string& nom, NomDe nomDe, std::int16_t& dernier) {
  const auto connu = static_cast<std::size_t>(dernier);
  if (connu < entrees.size() && nomDe(entrees[connu]) == nom) return dernier;
  for (std::size_t i = 0; i < entrees.size(); ++i) {
    if (nomDe(entrees[i]) == nom) return dernier = static_cast<std::int16_t>(i);
  }
  return -1;
}

/// The entry at a position from 0. Error 9 outside.
template <typename Entrees>
[[nodiscard]] auto& EntreeA(Entrees& entrees, std::int16_t position) {
  if (position < 0 || static_cast<std::size_t>(position) >= entrees.size()) throw runtime::Error(runtime::kSubscriptOutOfRange);
  return entrees[static_cast<std::size_t>(position)];
}

}  // namespace tamlo::db

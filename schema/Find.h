#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "base/Case.h"
#include "schema/Model.h"

namespace tamlo::schema {

/// The place of that name among others (tables of a database, columns of a table...): of the name itself, else of the first that differs in
/// case alone, for a server may have both; nothing when there is none.
template <typename Named>
[[nodiscard]] std::optional<std::size_t> PlaceOf(const std::vector<Named>& named, std::string_view name) {
  std::optional<std::size_t> alike;
  for (std::size_t i = 0; i < named.size(); ++i) {
    if (named[i].name == name) return i;
    if (!alike && base::SameName(named[i].name, name)) alike = i;
  }
  return alike;
}

/// What has that name, as PlaceOf finds it; null when there is none.
template <typename List>
[[nodiscard]] auto Find(List& named, std::string_view name) -> decltype(named.data()) {
  const auto place = PlaceOf(named, name);
  return place ? named.data() + *place : nullptr;
}

/// Makes relations and indexes call tables and columns by the very names that these have, as far as they are there.
void SpellReferences(Database& database);

}  // namespace tamlo::schema

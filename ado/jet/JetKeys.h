#pragma once

#include <string>

#include "ado/Keys.h"
#include "jet/schema/Objects.h"
#include "jet/schema/Specs.h"

namespace tamlo::ado::jetprovider {

/// The index that is a primary or unique key.
[[nodiscard]] jet::IndexSpec IndexOf(const Key& key);
/// The relationship that is a foreign key of the table. Error 3251 for rules that the engine does not follow.
[[nodiscard]] jet::Relationship RelationshipOf(const std::string& table, const Key& key);

}  // namespace tamlo::ado::jetprovider

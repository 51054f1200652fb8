#pragma once

#include <cstdint>
#include <vector>

#include "schema/Ddl.h"
#include "schema/Model.h"

namespace tamlo::schema {

/// Whose language the texts of rules, unknown defaults and stored queries are in. Those of other engines mean nothing in an Access file.
enum class Expressions : std::uint8_t { kAccess, kForeign };

/// What a database becomes in an Access file (Jet 4), decided and checked before anything is made.
struct AccessPlan {
  /// As it will stand there, with the names, types and keys that it gets. Tables and columns are those of the source, in the same places;
  /// indexes, relations, queries and links that cannot be made are missing.
  Database there;
  std::vector<Renaming> renamings;
  std::vector<Finding> findings;  ///< what is lost, or other than in the source
  std::vector<Finding> refusals;  ///< why nothing can be made at all: limits of the format; empty otherwise
};

/// Nothing differs between the two but what the plan tells as a renaming or a finding.
[[nodiscard]] AccessPlan PlanAccess(const Database& database, Expressions expressions);

}  // namespace tamlo::schema

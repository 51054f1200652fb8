#pragma once

#include <string>

#include "jet/sql/bind/Bound.h"

namespace jet::sql {

/// The query in SQLite's words.
[[nodiscard]] std::string Written(const bound::Query& query);

}  // namespace jet::sql

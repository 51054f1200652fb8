#pragma once

#include <string>

#include "jet/sql/bind/Bound.h"

namespace jet::sql {

/// Appends an expression, a query, in SQLite's words.
void WriteExpression(const bound::Node& node, std::string& out);
void WriteQuery(const bound::Query& query, std::string& out);

}  // namespace jet::sql

#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ado/Keys.h"

/// What SQLite keeps of a definition is the statement that made it.
namespace tamlo::ado::odbc {

/// The constraints to which a CREATE TABLE gives a name, with their type and their columns; of foreign keys not what they refer to.
[[nodiscard]] std::vector<Key> NamedConstraints(std::string_view createTable);

/// The query of a CREATE VIEW; where the statement names the columns, one that gives them these names. Empty for what is none.
[[nodiscard]] std::string QueryOfView(std::string_view createView);

}  // namespace tamlo::ado::odbc

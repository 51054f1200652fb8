#pragma once

#include <cstddef>
#include <string>

#include "db/sql/TablesQualifiees.h"

namespace tamlo::db::sql {

/// Writes the owner in front of the names of tables behind a blank or comma, table by table in their order and sixteen forms of a name for
/// each. Hands back how many times it went over the text: that depends on the tables which the text names, and on no others. Error 6 of
/// RemplaceDans; the forms before that one are then written.
std::size_t Qualifie(std::string& sql, const TablesQualifiees& tables);

}  // namespace tamlo::db::sql

#pragma once

#include <string>
#include <string_view>

#include "db/sql/TablesQualifiees.h"

namespace tamlo::db::sql {

/// Translates a text for Oracle in one pass, up to the asterisks of a DELETE. False, the text being as it was, where
/// the passes of the dialect could meet what an earlier one put in, or where a position or a bracket might be missing:
/// there each must be made on its own.
[[nodiscard]] bool TraduitUsuel(std::string& sql, const TablesQualifiees& tables);

/// True when the text from "CVDATE" up to the bracket that closes it holds at most a date without a time.
[[nodiscard]] bool EstDateSeule(std::string_view jusquaParenthese);

}  // namespace tamlo::db::sql

#pragma once

#include <string>
#include <string_view>

#include "db/sql/TablesQualifiees.h"

/// The passes of a translation, each on the text in place.
namespace tamlo::db::sql {

/// The function of the dialect around a date text.
inline constexpr std::string_view kCvdate = "CVDATE";

/// Upper case outside of single-quoted literals. From an unmatched quote on, and back to the end of the literal before
/// it, the text keeps its case.
void ReplieCasse(std::string& sql);

/// True when the first six characters are "DELETE" in any case.
[[nodiscard]] bool CommenceParDelete(std::string_view sql);
/// "DELETE * FROM" and "DELETE T.* FROM" are the dialect's alone: every ".*" goes, then every asterisk of the
/// statement.
void RetireAsterisques(std::string& sql);

/// What remains to be done for each kind once the case is folded. Errors of FormateSSQL.
void PourSqlServer(std::string& sql);
void PourOracle(std::string& sql, const TablesQualifiees* tables);
void PourMySql(std::string& sql, std::string_view fmtDate);

}  // namespace tamlo::db::sql

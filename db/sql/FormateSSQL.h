#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "db/sql/TablesQualifiees.h"

namespace tamlo::db::sql {

/// Rewrites a statement of the layer's dialect in place for a backend kind. Outside of single-quoted literals
/// everything comes back in upper case. fmtDate: picture of date literals, for MySQL and generic ODBC. tables: for
/// Oracle; nullptr is no table. Error 5 for a "CVDATE" without its ")", error 6 for a searched token beyond position
/// 32767; the text is then partly translated.
void FormateSSQL(std::string& sql, std::int16_t kind, std::string_view fmtDate, const TablesQualifiees* tables);

}  // namespace tamlo::db::sql

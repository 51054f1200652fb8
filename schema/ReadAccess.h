#pragma once

#include "jet/Database.h"
#include "schema/Model.h"

namespace tamlo::schema {

/// What an open Access file holds: its own tables in the order of their names without regard to case, relations, stored queries, links.
/// Tables of the system are left out. Errors: those of the engine (jet::Error), when a definition is damaged.
[[nodiscard]] Database ReadAccess(jet::Database& database);

/// Its relations, but those of Access's own tables.
[[nodiscard]] std::vector<Relation> RelationsOf(jet::Database& database);

/// What the values of a column of an Access file are.
[[nodiscard]] Type TypeOf(const jet::ColumnDef& column);

/// The default of a column as Access writes it ("=0", "Now()", "\"abc\"", "#1/31/2020#") as a value. What is none of the forms that are
/// known is kUnknown with the expression; a blank one is kNone.
[[nodiscard]] Default ReadDefault(const std::string& expression, Kind kind);

}  // namespace tamlo::schema

#pragma once

#include <string>

#include "db/DataBase.h"

namespace tamlo::db::ddl {

/// Copies the rows of table nom from one connection to the table of that name of the other, which exists. No transaction is opened: each
/// batch is a statement that the target commits for itself unless the caller opened a transaction. After an error the rows before the one
/// that it names are in the target; nothing of a row is ever there in part. Errors name table, row (from 1) and, where the target tells
/// it, column.
[[nodiscard]] CopieBilan CopieLignes(DataBase& source, DataBase& cible, const std::string& nom, const CopieOptions& options);

}  // namespace tamlo::db::ddl

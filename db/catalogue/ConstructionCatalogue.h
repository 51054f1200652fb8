#pragma once

#include <memory>
#include <string>

#include "db/DataBase.h"
#include "db/Patience.h"

namespace tamlo::db::catalogue {

/// Makes the three catalog tables of a database that is being opened, and writes what the table list holds. Another program may be doing the
/// same. The error of a row that the backend refuses is raised; the rows before it are written.
void Construit(DataBase& db, Patience& patience);

/// True for a table that is made by two statements, of which the second has never run.
[[nodiscard]] bool SansCle(const DataBase& db, const std::string& table);
/// The second of the two statements that make a catalog table, where the first alone has run; the table is listed.
void CompleteCle(DataBase& db, std::unique_ptr<DbTbl> voulue);

}  // namespace tamlo::db::catalogue

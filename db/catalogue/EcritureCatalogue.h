#pragma once

#include <cstdint>
#include <optional>

#include "db/DataBase.h"
#include "runtime/Error.h"

namespace tamlo::db::catalogue {

/// Writes all catalog rows of one table through the three recordsets, opening those that are nullptr.
void Sauve(DataBase& db, const DbTbl& tbl, ado::Recordset* rsTbl, ado::Recordset* rsFld, ado::Recordset* rsIdx);

/// Writes the rows of all listed tables into the three catalog tables. Hands back the error of a row that was refused: what stands before it
/// is written. regarde: first looks, inside of its transaction, what rows another program has written; nothing is done where they are whole,
/// and those of a writing that did not end go first.
[[nodiscard]] std::optional<runtime::Error> EcritLignes(DataBase& db, bool regarde);

/// Drops the three catalog tables, makes them anew and writes the rows, which ends as EcritLignes does.
[[nodiscard]] std::optional<runtime::Error> Refait(DataBase& db);

}  // namespace tamlo::db::catalogue

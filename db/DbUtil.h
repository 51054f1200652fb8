#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>

#include "ado/Catalog.h"
#include "ado/Recordset.h"
#include "runtime/Variant.h"

namespace tamlo::db {

class DataBase;
class DbTbl;

/// Create one catalog table each, empty, in the backend and in the table list.
void CreeCatTbl(DataBase& db);
void CreeCatFld(DataBase& db);
void CreeCatIdx(DataBase& db);
void CreeCatRlt(DataBase& db);

/// The tables of the catalog that are built from the table list.
inline constexpr std::array kTablesReconstruites{"$TBLKORV$", "$FLDKORV$", "$IDXKORV$"};

/// The definition of one of the four catalog tables, which no database has yet. Error 9 for another name.
[[nodiscard]] std::unique_ptr<DbTbl> DefinitionCatalogue(const std::string& nom);
/// True when the table has exactly the columns of the definition, by their names.
[[nodiscard]] bool MemesColonnes(ado::Table& table, const DbTbl& definition);

/// True for the names of the four catalog tables, compared exactly.
[[nodiscard]] bool EstTableDuCatalogue(std::string_view nom) noexcept;

/// The key search: positions rs on the first row whose field equals the value; false, and rs at its end, when there is
/// none. A Seek on the index where the recordset has it, else a search along the rows, which must be sorted by that
/// field and stand where the previous search and its reading left them.
[[nodiscard]] bool ChercheCle(ado::Recordset& rs, const std::string& index, const std::string& champ, const runtime::Variant& valeur);

}  // namespace tamlo::db

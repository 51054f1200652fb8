#pragma once

#include <string>
#include <utility>
#include <vector>

#include "ado/Catalog.h"
#include "db/DataBase.h"

namespace tamlo::db::catalogue {

/// A table of the application in the backend.
struct TableBase {
  std::string nom;  ///< as it is listed
  std::string owner;
  ado::Table table;
};

/// The tables that an opening would list, those of the catalog left out.
[[nodiscard]] std::vector<TableBase> TablesDeLaBase(DataBase& db);

/// Names and owners of the tables of the connected user and of the further owner that the database's name may carry (kinds whose tables have owners).
[[nodiscard]] std::vector<std::pair<std::string, std::string>> TablesDesProprietaires(const DataBase& db);

/// Lists the tables of the backend that are not listed yet, from the catalog's recordsets where there are any.
void ListeTablesDeLaBase(DataBase& db, ado::Recordset* rsFld, ado::Recordset* rsIdx);

}  // namespace tamlo::db::catalogue

#pragma once

#include "db/kinds/Moteur.h"

namespace tamlo::db::ddl {

/// SQL Server: names in double quotes, the indexes of a new table as constraints inside its CREATE TABLE, columns added by the catalog.
class GenerateurSqlServer final : public GenerateurBase {
 public:
  void CreeTable(DataBase& db, DbTbl& tbl) const override;
  void AjouteColonne(DataBase& db, DbTbl& tbl, const NouvelleColonne& colonne) const override;
  void CreeIndex(DataBase& db, DbTbl& tbl, const ado::Index& index) const override;
  [[nodiscard]] std::string TexteSupIndex(const std::string& table, const std::string& nom, bool primaire) const override;
};

}  // namespace tamlo::db::ddl

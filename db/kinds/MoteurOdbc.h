#pragma once

#include "db/kinds/Moteur.h"

namespace tamlo::db::ddl {

/// Generic ODBC: no table and no index is created; columns are added by the catalog.
class GenerateurOdbc final : public GenerateurBase {
 public:
  void CreeTable(DataBase& db, DbTbl& tbl) const override;
  void AjouteColonne(DataBase& db, DbTbl& tbl, const NouvelleColonne& colonne) const override;
  void CreeIndex(DataBase& db, DbTbl& tbl, const ado::Index& index) const override;
  [[nodiscard]] std::string TexteSupIndex(const std::string& table, const std::string& nom, bool primaire) const override;
};

}  // namespace tamlo::db::ddl

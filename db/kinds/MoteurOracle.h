#pragma once

#include "db/kinds/Moteur.h"

namespace tamlo::db::ddl {

/// Oracle: names in double quotes behind the owner, storage parameters from the parameter file, index names that begin with the table's.
class GenerateurOracle final : public GenerateurBase {
 public:
  void CreeTable(DataBase& db, DbTbl& tbl) const override;
  void AjouteColonne(DataBase& db, DbTbl& tbl, const NouvelleColonne& colonne) const override;
  void CreeIndex(DataBase& db, DbTbl& tbl, const ado::Index& index) const override;
  [[nodiscard]] std::string NomIndex(const DbTbl& tbl, const std::string& nom) const override;
  [[nodiscard]] std::string TexteSupIndex(const std::string& table, const std::string& nom, bool primaire) const override;
  [[nodiscard]] std::string TexteSupTable(const std::string& nom, const DbTbl* tbl) const override;
};

}  // namespace tamlo::db::ddl

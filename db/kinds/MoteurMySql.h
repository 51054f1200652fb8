#pragma once

#include "db/kinds/Moteur.h"

namespace tamlo::db::ddl {

/// MySQL: names in back quotes, a primary key by ALTER TABLE, every other index by CREATE INDEX.
class GenerateurMySql final : public GenerateurBase {
 public:
  void CreeTable(DataBase& db, DbTbl& tbl) const override;
  void AjouteColonne(DataBase& db, DbTbl& tbl, const NouvelleColonne& colonne) const override;
  void CreeIndex(DataBase& db, DbTbl& tbl, const ado::Index& index) const override;
  [[nodiscard]] std::string TexteSupIndex(const std::string& table, const std::string& nom, bool primaire) const override;
  [[nodiscard]] std::string NomHomologue(DataBase& db, const DbTbl& tbl, const DbIdx& idx) const override;
  [[nodiscard]] bool SupprimeHomologue(DataBase& db, const DbTbl& tbl, const DbIdx& idx) const override;
  [[nodiscard]] std::string TexteSupTable(const std::string& nom, const DbTbl* tbl) const override;
  [[nodiscard]] std::string TexteSupTableCite(const std::string& nom) const override;
};

}  // namespace tamlo::db::ddl

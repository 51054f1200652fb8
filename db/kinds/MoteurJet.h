#pragma once

#include "db/kinds/Moteur.h"

namespace tamlo::db::ddl {

/// Access: tables, columns and indexes as objects appended to the connection's catalog.
class GenerateurAdox final : public GenerateurBase {
 public:
  void CreeTable(DataBase& db, DbTbl& tbl) const override;
  void AjouteColonne(DataBase& db, DbTbl& tbl, const NouvelleColonne& colonne) const override;
  void CreeIndex(DataBase& db, DbTbl& tbl, const ado::Index& index) const override;
  [[nodiscard]] std::string TexteSupIndex(const std::string& table, const std::string& nom, bool primaire) const override;
};

/// A column as the catalog is to make it: texts take the empty string, counters count, other fields take nulls; booleans as they are.
[[nodiscard]] ado::Column ColonneAdox(const NouvelleColonne& colonne);
/// Appends it to the catalog's table of that definition.
void AjouteColonneAdox(DataBase& db, const DbTbl& tbl, const NouvelleColonne& colonne);

}  // namespace tamlo::db::ddl

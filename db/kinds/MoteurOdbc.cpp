#include "db/kinds/MoteurOdbc.h"

#include "db/kinds/MoteurJet.h"

namespace tamlo::db::ddl {

void GenerateurOdbc::CreeTable(DataBase&, DbTbl&) const {}

void GenerateurOdbc::AjouteColonne(DataBase& db, DbTbl& tbl, const NouvelleColonne& colonne) const { AjouteColonneAdox(db, tbl, colonne); }

void GenerateurOdbc::CreeIndex(DataBase&, DbTbl&, const ado::Index&) const {}

std::string GenerateurOdbc::TexteSupIndex(const std::string&, const std::string& nom, bool) const { return "DROP INDEX " + nom; }

}  // namespace tamlo::db::ddl

#include "db/kinds/MoteurJet.h"

namespace tamlo::db::ddl {

ado::Column ColonneAdox(const NouvelleColonne& colonne) {
  ado::Column resultat;
  resultat.name = colonne.nom;
  resultat.type = static_cast<std::int16_t>(colonne.typ);
  resultat.definedSize = colonne.lg;
  if (colonne.typ == ado::adBoolean) return resultat;
  if (colonne.typ == ado::adVarWChar || colonne.typ == ado::adLongVarWChar) {
    resultat.properties.Set("Jet OLEDB:Allow Zero Length", true);
  } else if (colonne.estCpt) {
    resultat.properties.Set("AutoIncrement", true);
  } else {
    resultat.attributes = ado::adColNullable;
  }
  return resultat;
}

void AjouteColonneAdox(DataBase& db, const DbTbl& tbl, const NouvelleColonne& colonne) {
  db.Catalogue().Tables(tbl.Nom()).AppendColumn(ColonneAdox(colonne));
}

void GenerateurAdox::CreeTable(DataBase& db, DbTbl& tbl) const {
  ado::Table table(tbl.Nom());
  for (std::int16_t i = 0; i < tbl.NbFld(); ++i) {
    const DbFld& fld = tbl.ListeFld(std::to_string(i));
    table.AppendColumn(ColonneAdox({fld.Nom(), fld.Typ(), fld.Lg(), fld.EstCpt()}));
  }
  for (std::int16_t i = 0; i < tbl.NbIdx(); ++i) {
    ado::Index index = Description(tbl.ListeIdx(std::to_string(i)));
    index.indexNulls = ado::adIndexNullsIgnore;
    table.AppendIndex(index);
  }
  db.Catalogue().Append(table);
}

void GenerateurAdox::AjouteColonne(DataBase& db, DbTbl& tbl, const NouvelleColonne& colonne) const { AjouteColonneAdox(db, tbl, colonne); }

void GenerateurAdox::CreeIndex(DataBase& db, DbTbl& tbl, const ado::Index& index) const {
  ado::Index nouveau = index;
  nouveau.indexNulls = ado::adIndexNullsIgnore;
  db.Catalogue().Tables(tbl.Nom()).AppendIndex(nouveau);
}

std::string GenerateurAdox::TexteSupIndex(const std::string& table, const std::string& nom, bool) const {
  return "DROP INDEX " + nom + " ON " + table;
}

}  // namespace tamlo::db::ddl

#include "db/kinds/MoteurSqlServer.h"

#include "db/kinds/MoteurJet.h"
#include "db/kinds/TypesColonnes.h"

namespace tamlo::db::ddl {

namespace {

constexpr char kMarque = '"';

/// An index inside CREATE TABLE: a primary key is a unique constraint, and a plain index has its clause without a kind word.
/// The fields stand here, and only here, in the case in which the index was described: a server that looks at the case finds "NOM" by "NOM".
std::string Contrainte(const DbIdx& idx) {
  ado::Index index = Description(idx);
  for (std::int16_t i = 0; i < idx.NbFld(); ++i) index.columns[static_cast<std::size_t>(i)].name = idx.NomFldDecrit(i);
  return ",CONSTRAINT " + EntreMajuscules(kMarque, idx.Nom()) + " " + (idx.Primary() || idx.Unique() ? " UNIQUE" : "") +
         ListeChamps(index, kMarque, false);
}

}  // namespace

void GenerateurSqlServer::CreeTable(DataBase& db, DbTbl& tbl) const {
  if (tbl.NbFld() == 0) return;
  std::string texte = "CREATE TABLE " + EntreMajuscules(kMarque, tbl.Nom()) + " (";
  for (std::int16_t i = 0; i < tbl.NbFld(); ++i) {
    const DbFld& fld = tbl.ListeFld(std::to_string(i));
    if (i > 0) texte += ',';
    texte += EntreMajuscules(kMarque, fld.Nom()) + " " + TypeColonne(Dialecte::kSqlServer, fld.Typ(), fld.Lg()).value_or("");
  }
  for (std::int16_t i = 0; i < tbl.NbIdx(); ++i) texte += Contrainte(tbl.ListeIdx(std::to_string(i)));
  ExecuteCreation(db, texte + ")");
}

void GenerateurSqlServer::AjouteColonne(DataBase& db, DbTbl& tbl, const NouvelleColonne& colonne) const {
  AjouteColonneAdox(db, tbl, colonne);
}

void GenerateurSqlServer::CreeIndex(DataBase& db, DbTbl& tbl, const ado::Index& index) const {
  const std::string nom = EntreMajuscules(kMarque, index.name);
  const std::string table = EntreMajuscules(kMarque, tbl.Nom());
  const std::string champs = ListeChamps(index, kMarque, true);
  ExecuteEdition(
      db, std::string("CREATE") + (index.primaryKey || index.unique ? " UNIQUE" : "") + " INDEX " + nom + " ON " + table + " " + champs,
      {nom, table, champs});
}

std::string GenerateurSqlServer::TexteSupIndex(const std::string& table, const std::string& nom, bool) const {
  return "DROP INDEX " + nom + " ON " + table;
}

}  // namespace tamlo::db::ddl

#include "db/kinds/MoteurOracle.h"

#include <charconv>
#include <cmath>

#include "db/kinds/ParamOra.h"
#include "db/kinds/TypesColonnes.h"
#include "runtime/Error.h"
#include "runtime/Text.h"
#include "support/Support.h"

namespace tamlo::db::ddl {

namespace {

constexpr char kMarque = '"';

bool Vide(const std::string& texte) { return support::EstVide(std::string_view(texte)); }

std::string Proprietaire(const std::string& owner) { return Vide(owner) ? std::string() : owner + "."; }

/// The number of a parameter, written with a point or a comma.
double NombreDe(std::string valeur) {
  for (char& c : valeur) {
    if (c == ',') c = '.';
  }
  const std::string_view texte = runtime::Trim(valeur);
  double nombre = 0;
  const auto [fin, erreur] = std::from_chars(texte.data(), texte.data() + texte.size(), nombre);
  if (erreur != std::errc() || fin != texte.data() + texte.size()) {
    throw runtime::Error(runtime::kTypeMismatch, "Fichier de paramètres Oracle : NEXT n'est pas un nombre (\"" + valeur + "\")");
  }
  return nombre;
}

/// A whole number of megabytes stays; a fraction becomes thousandths, called kilobytes. Fifteen digits hide the binary remainder of 0.57.
std::string TexteNext(const std::string& valeur) {
  const double mega = NombreDe(valeur);
  if (mega == std::floor(mega)) return " NEXT " + valeur + " M";
  char tampon[32];
  const auto fin = std::to_chars(tampon, tampon + sizeof tampon, mega * 1000, std::chars_format::general, 15).ptr;
  return " NEXT " + std::string(tampon, fin) + " K";
}

std::string Clause(const char* mot, const std::string& valeur, const char* suite = "") {
  return Vide(valeur) ? std::string() : mot + valeur + suite;
}

std::string ClauseStockage(const ParamOra& param) {
  std::string stockage = Clause(" INITIAL ", param.initial, " M");
  if (!Vide(param.next)) stockage += TexteNext(param.next);
  stockage +=
      Clause(" MINEXTENTS ", param.minExtents) + Clause(" MAXEXTENTS ", param.maxExtents) + Clause(" PCTINCREASE ", param.pctIncrease);
  std::string texte = Clause(" PCTFREE ", param.pctFree) + Clause(" PCTUSED ", param.pctUsed);
  if (!Vide(stockage)) texte += " STORAGE (" + stockage + ")";
  return texte + Clause(" TABLESPACE \"", param.tablespace, "\"");
}

void EnvoieIndex(DataBase& db, const DbTbl& tbl, const ado::Index& index, const std::string& nomBase, const ParamOra& param) {
  const std::string nom = Entre(kMarque, nomBase);
  const std::string table = EntreMajuscules(kMarque, tbl.Nom());
  const std::string champs = ListeChamps(index, kMarque, true);
  ExecuteEdition(db,
                 std::string("CREATE") + (index.primaryKey || index.unique ? " UNIQUE" : "") + " INDEX " + nom + " ON " +
                     Proprietaire(param.owner) + table + " " + champs + Clause(" TABLESPACE ", param.tablespaceIndex),
                 {nom, table, champs});
}

}  // namespace

void GenerateurOracle::CreeTable(DataBase& db, DbTbl& tbl) const {
  if (tbl.NbFld() == 0) return;
  const ParamOra param = LitParamOra(tbl.Nom(), db.ConnectionString());
  std::string texte = "CREATE TABLE " + Proprietaire(param.owner) + EntreMajuscules(kMarque, tbl.Nom()) + " (";
  for (std::int16_t i = 0; i < tbl.NbFld(); ++i) {
    const DbFld& fld = tbl.ListeFld(std::to_string(i));
    if (i > 0) texte += ',';
    texte += EntreMajuscules(kMarque, fld.Nom()) + " " + TypeColonne(Dialecte::kOracle, fld.Typ(), fld.Lg()).value_or("");
  }
  ExecuteCreation(db, texte + ")" + ClauseStockage(param));
  for (std::int16_t i = 0; i < tbl.NbIdx(); ++i) {
    const DbIdx& idx = tbl.ListeIdx(std::to_string(i));
    EnvoieIndex(db, tbl, Description(idx), NomIndex(tbl, idx.Nom()), param);
  }
}

// The table's own owner counts here, the parameter file's for tables and indexes.
void GenerateurOracle::AjouteColonne(DataBase& db, DbTbl& tbl, const NouvelleColonne& colonne) const {
  const std::string table = EntreMajuscules(kMarque, tbl.Nom());
  const std::string champ = EntreMajuscules(kMarque, colonne.nom);
  ExecuteEdition(db,
                 "ALTER TABLE " + Proprietaire(tbl.Owner()) + table + " ADD (" + champ + " " +
                     TypeColonne(Dialecte::kOracle, colonne.typ, colonne.lg).value_or("") + ")",
                 {table, champ});
}

void GenerateurOracle::CreeIndex(DataBase& db, DbTbl& tbl, const ado::Index& index) const {
  EnvoieIndex(db, tbl, index, NomIndex(tbl, index.name), LitParamOra(tbl.Nom(), db.ConnectionString()));
}

std::string GenerateurOracle::NomIndex(const DbTbl& tbl, const std::string& nom) const {
  return runtime::UpperCase(tbl.Nom()) + "_" + runtime::UpperCase(nom);
}

std::string GenerateurOracle::TexteSupIndex(const std::string&, const std::string& nom, bool) const { return "DROP INDEX " + nom; }

// Here alone the owner stands between quotes.
std::string GenerateurOracle::TexteSupTable(const std::string& nom, const DbTbl* tbl) const {
  if (tbl == nullptr || Vide(tbl->Owner())) return "DROP TABLE " + Entre(kMarque, nom);
  return "DROP TABLE " + Entre(kMarque, tbl->Owner()) + "." + Entre(kMarque, nom);
}

}  // namespace tamlo::db::ddl

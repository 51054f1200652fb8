#include "db/kinds/Moteur.h"

#include "db/sql/Passes.h"
#include "runtime/Text.h"
#include "support/Support.h"

namespace tamlo::db::kinds {

void Moteur::FormateSSQL(std::string& sql, const Contexte& contexte) const {
  sql::ReplieCasse(sql);
  Traduit(sql, contexte);
}

std::string Moteur::MessageRefus(const runtime::PendingError& erreur) const {
  switch (erreur.number) {
    case runtime::kFileInUseExclusively:
    case runtime::kFileInUse:
    case runtime::kDatabaseInUse:
      return "La base est en cours de définition par un autre poste";
    case runtime::kProviderFailure:
      if (faits.messageRefus != nullptr) return faits.messageRefus;
      break;
    default:
      break;
  }
  return "La base est incorrecte. Erreur " + std::to_string(erreur.number) + " (" + erreur.description + ")";
}

std::optional<std::string> Moteur::TypeColonne(std::int32_t typ, std::int32_t lg) const {
  std::string texte(faits.types.De(typ, lg));
  if (texte.empty()) return std::nullopt;
  if (const auto place = texte.find('#'); place != std::string::npos) texte.replace(place, 1, std::to_string(lg));
  return texte;
}

CreationTbl Moteur::CreeTable(const DefTbl& tbl) const {
  if (tbl.champs.empty()) return {};
  const Rangement rangement = Range(tbl, true);
  std::string colonnes;
  for (const DefFld& champ : tbl.champs) {
    const auto type = TypeColonne(champ.typ, champ.lg);
    if (!type) throw runtime::Error(runtime::kInvalidArgument, "Type " + std::to_string(champ.typ) + " non géré");
    if (!colonnes.empty()) colonnes += ',';
    colonnes += EntreMajuscules(champ.nom) + " " + *type;
  }
  CreationTbl creation;
  creation.table =
      "CREATE TABLE " + rangement.proprietaire + EntreMajuscules(tbl.nom) + " (" + colonnes + Contraintes(tbl) + ")" + rangement.suiteTable;
  if (!faits.indexApart) return creation;
  for (const DefIdx& idx : tbl.index) creation.index.push_back(TexteIndex(tbl, idx.index, rangement));
  return creation;
}

// The table's own owner counts here; where parameters name one, it is that of tables and indexes alone.
Edition Moteur::AjouteColonne(const DefTbl& tbl, const DefFld& champ) const {
  const std::string table = EntreMajuscules(tbl.nom);
  const std::string nom = EntreMajuscules(champ.nom);
  return {"ALTER TABLE " + Devant(tbl.owner) + table + " ADD (" + nom + " " + TypeColonne(champ.typ, champ.lg).value_or("") + ")",
          {table, nom}};
}

Edition Moteur::CreeIndex(const DefTbl& tbl, const ado::Index& index) const { return TexteIndex(tbl, index, Range(tbl, false)); }

Edition Moteur::TexteIndex(const DefTbl& tbl, const ado::Index& index, const Rangement& rangement) const {
  const std::string nom = EntreMajuscules(NomIndex(tbl.nom, index.name));
  const std::string table = EntreMajuscules(tbl.nom);
  const std::string champs = ListeChamps(index, true);
  const std::string unique = index.primaryKey || index.unique ? " UNIQUE" : "";
  return {"CREATE" + unique + " INDEX " + nom + " ON " + rangement.proprietaire + table + " " + champs + rangement.suiteIndex,
          {nom, table, champs}};
}

std::string Moteur::NomIndex(const std::string& table, const std::string& nom) const {
  return faits.prefixeIndex ? runtime::UpperCase(table) + "_" + runtime::UpperCase(nom) : nom;
}

std::string Moteur::SupprimeIndex(const std::string& table, const std::string& nom, bool primaire) const {
  if (primaire && faits.clePrimaire != nullptr) return "ALTER TABLE " + table + " DROP PRIMARY KEY";
  return "DROP INDEX " + nom + (faits.indexSurTable ? " ON " + table : "");
}

std::string Moteur::SupprimeTable(const std::string& nom, const std::string& /*owner*/) const { return "DROP TABLE [" + nom + "]"; }

std::string Moteur::CiteTraduit(const std::string& nom) const { return faits.ouvre + runtime::UpperCase(nom) + faits.ferme; }

std::string Moteur::Entre(const std::string& nom) const { return faits.marque + nom + faits.marque; }

std::string Moteur::EntreMajuscules(const std::string& nom) const { return Entre(runtime::UpperCase(nom)); }

std::string Moteur::ListeChamps(const ado::Index& index, bool majuscules) const {
  std::string texte = "(";
  for (const ado::Column& colonne : index.columns) {
    if (texte.size() > 1) texte += ',';
    texte += majuscules ? EntreMajuscules(colonne.name) : Entre(colonne.name);
    if (colonne.sortOrder == ado::adSortDescending) texte += " DESC";
  }
  return texte + ")";
}

std::string Devant(const std::string& owner) { return support::EstVide(std::string_view(owner)) ? std::string() : owner + "."; }

}  // namespace tamlo::db::kinds

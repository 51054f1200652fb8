#include "db/kinds/MoteurMySql.h"

#include <algorithm>
#include <cctype>

#include "db/DbUtil.h"
#include "db/kinds/TypesColonnes.h"
#include "runtime/Error.h"
#include "runtime/Text.h"
#include "support/Support.h"

namespace tamlo::db::ddl {

namespace {

constexpr char kMarque = '`';
constexpr const char* kPrimary = "PRIMARY";

}  // namespace

void GenerateurMySql::CreeTable(DataBase& db, DbTbl& tbl) const {
  if (tbl.NbFld() == 0) return;
  std::string texte = "CREATE TABLE " + EntreMajuscules(kMarque, tbl.Nom()) + " (";
  for (std::int16_t i = 0; i < tbl.NbFld(); ++i) {
    const DbFld& fld = tbl.ListeFld(std::to_string(i));
    const auto type = TypeColonne(Dialecte::kMySql, fld.Typ(), fld.Lg());
    if (!type) throw runtime::Error(runtime::kInvalidArgument, "Type " + std::to_string(fld.Typ()) + " non géré");
    if (i > 0) texte += ',';
    texte += EntreMajuscules(kMarque, fld.Nom()) + " " + *type;
  }
  ExecuteCreation(db, texte + ")");
  for (std::int16_t i = 0; i < tbl.NbIdx(); ++i) CreeIndex(db, tbl, Description(tbl.ListeIdx(std::to_string(i))));
}

void GenerateurMySql::AjouteColonne(DataBase& db, DbTbl& tbl, const NouvelleColonne& colonne) const {
  const std::string owner = support::EstVide(std::string_view(tbl.Owner())) ? "" : tbl.Owner() + ".";
  const std::string champ = EntreMajuscules(kMarque, colonne.nom);
  ExecuteEdition(db,
                 "ALTER TABLE " + owner + EntreMajuscules(kMarque, tbl.Nom()) + " ADD (" + champ + " " +
                     TypeColonne(Dialecte::kMySql, colonne.typ, colonne.lg).value_or("") + ")",
                 {EntreMajuscules(kMarque, tbl.Nom()), champ});
}

void GenerateurMySql::CreeIndex(DataBase& db, DbTbl& tbl, const ado::Index& index) const {
  const std::string champs = ListeChamps(index, kMarque, true);
  if (index.primaryKey) {
    const std::string table = Entre(kMarque, tbl.Nom());
    ExecuteEdition(db, "ALTER TABLE " + table + " ADD PRIMARY KEY " + champs, {table, champs});
  } else {
    const std::string nom = EntreMajuscules(kMarque, index.name);
    const std::string table = EntreMajuscules(kMarque, tbl.Nom());
    ExecuteEdition(db, std::string("CREATE") + (index.unique ? " UNIQUE" : "") + " INDEX " + nom + " ON " + table + " " + champs,
                   {nom, table, champs});
  }
}

std::string GenerateurMySql::TexteSupIndex(const std::string& table, const std::string& nom, bool primaire) const {
  if (primaire) return "ALTER TABLE " + table + " DROP PRIMARY KEY";
  return "DROP INDEX " + nom + " ON " + table;
}

// A primary key that was made under another name is known to the server as PRIMARY alone.
std::string GenerateurMySql::NomHomologue(DataBase& db, const DbTbl& tbl, const DbIdx& idx) const {
  if (!idx.Unique() || tbl.ExisteIdx(kPrimary)) return {};
  std::vector<CleMySql> champs = LitClesMySql(db, tbl.Nom());
  std::erase_if(champs, [](const CleMySql& cle) { return cle.index != kPrimary; });
  bool memes = !champs.empty() && champs.size() == static_cast<std::size_t>(idx.NbFld());
  for (std::size_t i = 0; memes && i < champs.size(); ++i) memes = champs[i].champ == idx.NomFld(static_cast<std::int16_t>(i));
  return memes ? kPrimary : std::string();
}

bool GenerateurMySql::SupprimeHomologue(DataBase& db, const DbTbl& tbl, const DbIdx& idx) const {
  std::string homologue;
  if (runtime::IgnoringErrors([&] { homologue = NomHomologue(db, tbl, idx); })) return false;
  const auto texte = [&](const std::string& table, const std::string& index) { return TexteSupIndex(table, index, true); };
  return homologue.empty() || !runtime::IgnoringErrors([&] { ExecuteSuppression(db, tbl, homologue, texte); });
}

// Without quotes "A,B" would be two tables, "A.B" one of another database and "A#B" the table A.
std::string GenerateurMySql::TexteSupTable(const std::string& nom, const DbTbl*) const {
  const bool simple = std::all_of(nom.begin(), nom.end(), [](char c) {
    const auto octet = static_cast<unsigned char>(c);
    return octet >= 0x80 || std::isalnum(octet) != 0 || c == '_' || c == '$';
  });
  return simple ? "DROP TABLE " + nom : TexteSupTableCite(nom);
}

std::string GenerateurMySql::TexteSupTableCite(const std::string& nom) const { return "DROP TABLE " + Entre(kMarque, nom); }

}  // namespace tamlo::db::ddl

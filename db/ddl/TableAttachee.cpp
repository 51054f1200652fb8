#include <algorithm>
#include <array>
#include <string_view>

#include "db/DataBase.h"
#include "runtime/Error.h"
#include "runtime/Text.h"
#include "support/Support.h"

namespace tamlo::db {

namespace {

bool Vide(const std::string& texte) { return support::EstVide(std::string_view(texte)); }

bool EstCatalogue(const std::string& nom) {
  constexpr std::array<std::string_view, 4> kCatalogue = {kIdxKorv, kFldKorv, kTblKorv, kRltKorv};
  return std::find(kCatalogue.begin(), kCatalogue.end(), nom) != kCatalogue.end();
}

/// The value of the first of these keys in "key=value;key={value};..."; blank when none is there.
std::string Valeur(std::string_view chaine, std::initializer_list<std::string_view> cles) {
  while (!chaine.empty()) {
    const std::string_view paire = chaine.substr(0, chaine.find(';'));
    chaine.remove_prefix(std::min(paire.size() + 1, chaine.size()));
    const auto egal = paire.find('=');
    if (egal == std::string_view::npos) continue;
    const std::string cle = runtime::UpperCase(runtime::Trim(paire.substr(0, egal)));
    if (std::find(cles.begin(), cles.end(), cle) == cles.end()) continue;
    std::string_view valeur = runtime::Trim(paire.substr(egal + 1));
    if (valeur.size() >= 2 && valeur.front() == '{' && valeur.back() == '}') valeur = valeur.substr(1, valeur.size() - 2);
    return std::string(valeur);
  }
  return {};
}

/// The data source of an ODBC-reached database: the key DSN of its connection string, or the whole of one without "=".
std::string SourceDonnees(const std::string& chaine) { return chaine.find('=') == std::string::npos ? chaine : Valeur(chaine, {"DSN"}); }

/// The user of the connection string, or the one that the connection was opened for.
std::string Utilisateur(const DataBase& source) {
  const std::string nomme = Valeur(source.ConnectionString(), {"UID", "USER ID", "USER"});
  return Vide(nomme) ? source.UID() : nomme;
}

void DecritLien(ado::Table& lien, const DbTbl& table, const DataBase& source) {
  lien.Property("Jet OLEDB:Create Link", true);
  if (source.Kind16() == TypJet) {
    lien.Property("Jet OLEDB:Link Datasource", source.ConnectionString());
    lien.Property("Jet OLEDB:Remote Table Name", table.Nom());
    return;
  }
  lien.Property("Jet OLEDB:Link Provider String", "DSN=" + SourceDonnees(source.ConnectionString()) + ";UID=" + Utilisateur(source));
  lien.Property("Jet OLEDB:Cache Link Name/Password", false);
  lien.Property("Jet OLEDB:Remote Table Name", (Vide(table.Owner()) ? "" : table.Owner() + ".") + table.Nom());
}

}  // namespace

void DataBase::AddTblAttachee(DbTbl& source, const std::string& nomLocal) {
  if (typ_ != TypJet) return;
  const std::string nom = Vide(nomLocal) ? source.Nom() : nomLocal;
  if (EstCatalogue(nom) || ExisteTbl(nom)) return;
  if (source.Db() == nullptr) throw runtime::Error(runtime::kObjectNotSet);
  ado::Table lien(nom);
  DecritLien(lien, source, *source.Db());
  Catalogue().Append(lien);
  AjouteTable(Catalogue().Tables(nom), nullptr, nullptr, "");
}

void DataBase::ModTblAttachee(DbTbl& source, const std::string& nom) {
  if (typ_ != TypJet) return;
  SupTbl(nom);
  AddTblAttachee(source, nom);
}

}  // namespace tamlo::db

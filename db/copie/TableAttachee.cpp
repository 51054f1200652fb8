#include <string_view>

#include "ado/ConnectionKeys.h"
#include "db/DataBase.h"
#include "db/DbUtil.h"
#include "db/LignesCatalogue.h"
#include "db/copie/Copie.h"
#include "db/kinds/Moteur.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"
#include "support/Support.h"

namespace tamlo::db::copie {

namespace {

bool Vide(const std::string& texte) { return support::EstVide(std::string_view(texte)); }

/// The data source of an ODBC-reached database: the key DSN of its connection string, or the whole of one without "=".
std::string SourceDonnees(const std::string& chaine) {
  return chaine.find('=') == std::string::npos ? chaine : ado::ValueOf(ado::ParseKeys(chaine), {"DSN"});
}

/// The user of the connection string, or the one that the connection was opened for.
std::string Utilisateur(const DataBase& source) {
  const std::string nomme = ado::ValueOf(ado::ParseKeys(source.ConnectionString()), {"UID", "USER ID", "USER"});
  return Vide(nomme) ? source.UID() : nomme;
}

/// As it stands where nothing in it could be taken for the next key.
std::string Cite(const std::string& valeur) {
  return valeur.find_first_of(";{}") == std::string::npos ? valeur : ado::BracedIfNeeded(valeur);
}

/// The link as the catalog is to make it. Error 5 for a source that no link can name.
ado::Table LienVers(const std::string& nom, const DbTbl& table) {
  if (table.Db() == nullptr) throw runtime::Error(runtime::kObjectNotSet);
  const DataBase& source = *table.Db();
  ado::Table lien(nom);
  lien.Property("Jet OLEDB:Create Link", true);
  if (source.Moteur().faits.estFichier) {
    lien.Property("Jet OLEDB:Link Datasource", source.ConnectionString());
    lien.Property("Jet OLEDB:Remote Table Name", table.Nom());
    return lien;
  }
  const std::string donnees = SourceDonnees(source.ConnectionString());
  if (Vide(donnees)) {
    throw runtime::Error(
        runtime::kInvalidArgument,
        "La table " + table.Nom() + " ne peut pas être attachée : la connexion de sa base ne nomme pas de source de données");
  }
  lien.Property("Jet OLEDB:Link Provider String", "DSN=" + Cite(donnees) + ";UID=" + Cite(Utilisateur(source)));
  lien.Property("Jet OLEDB:Cache Link Name/Password", false);
  lien.Property("Jet OLEDB:Remote Table Name", (Vide(table.Owner()) ? "" : table.Owner() + ".") + table.Nom());
  return lien;
}

bool EstLien(ado::Table& table) {
  if (table.Type() == "LINK" || table.Type() == "PASS-THROUGH") return true;
  const ado::PropertyMap& proprietes = table.Properties();
  return proprietes.Has("Jet OLEDB:Create Link") && runtime::ToBoolean(proprietes.Item("Jet OLEDB:Create Link"));
}

/// The name of the link: the table's own when none is given.
std::string NomLocal(const DbTbl& source, const std::string& donne) {
  return Vide(donne) ? source.Nom() : std::string(runtime::Trim(donne));
}

}  // namespace

void AddTblAttachee(DataBase& db, const DbTbl& source, const std::string& nomLocal) {
  if (!db.Moteur().faits.attache) return;
  const std::string nom = NomLocal(source, nomLocal);
  if (EstTableDuCatalogue(nom) || db.ExisteTbl(nom)) return;
  const ado::Table lien = LienVers(nom, source);
  db.Catalogue().Append(lien);
  if (db.EstListee(nom)) return;
  db.AjouteTableAttachee(nom, nullptr, nullptr);
  DbTbl& tbl = db.TableNommee(nom);
  (void)tbl.NbFld();  // as the link shows them; where it shows none, those of the source
  tbl.Reprend(source);
  const bool tient = !runtime::IgnoringErrors([&] { VerifieTbl(db, tbl); });
  if (tient) db.InscritAuCatalogue(tbl);
}

void ModTblAttachee(DataBase& db, const DbTbl& source, const std::string& nom) {
  if (!db.Moteur().faits.attache || EstTableDuCatalogue(runtime::UpperCase(runtime::Trim(nom)))) return;
  // What can be refused comes first: the old link would be gone already.
  (void)LienVers(NomLocal(source, nom), source);
  if (db.ExisteTbl(nom) && !EstLien(db.Catalogue().Tables(std::string(runtime::Trim(nom))))) {
    throw runtime::Error(runtime::kInvalidArgument, "La table " + nom + " n'est pas une table attachée");
  }
  db.SupTbl(nom);
  AddTblAttachee(db, source, nom);
}

}  // namespace tamlo::db::copie

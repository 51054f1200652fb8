#include "db/ddl/Generateur.h"

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

#include "ado/Types.h"
#include "db/DataBase.h"
#include "db/LignesCatalogue.h"
#include "db/Environnement.h"
#include "db/kinds/Moteur.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db::ddl {

namespace {

using kinds::Voie;

kinds::DefIdx Definition(const DbIdx& idx) {
  kinds::DefIdx definition{Description(idx), {}};
  for (std::int16_t i = 0; i < idx.NbFld(); ++i) definition.champsDecrits.push_back(idx.NomFldDecrit(i));
  return definition;
}

/// The table alone, without its fields and indexes.
kinds::DefTbl Identite(const DataBase& db, const DbTbl& tbl) {
  kinds::DefTbl definition;
  definition.nom = tbl.Nom();
  definition.owner = tbl.Owner();
  if (db.Moteur().faits.avecParametres) {
    definition.dossierParametres = EnvironnementCourant().dossierProgramme;
    definition.suffixeParametres = db.ConnectionString();
  }
  return definition;
}

/// A table with its fields and indexes.
kinds::DefTbl Definition(const DataBase& db, DbTbl& tbl) {
  kinds::DefTbl definition = Identite(db, tbl);
  for (std::int16_t i = 0; i < tbl.NbFld(); ++i) {
    const DbFld& fld = tbl.ListeFld(std::to_string(i));
    definition.champs.push_back({fld.Nom(), fld.Typ(), fld.Lg(), fld.EstCpt()});
  }
  for (std::int16_t i = 0; i < tbl.NbIdx(); ++i) definition.index.push_back(Definition(tbl.ListeIdx(std::to_string(i))));
  return definition;
}

/// A column as the catalog is to make it: texts take the empty string, counters count, other fields take nulls; booleans as they are.
ado::Column Colonne(const kinds::DefFld& champ) {
  ado::Column colonne;
  colonne.name = champ.nom;
  colonne.type = static_cast<std::int16_t>(champ.typ);
  colonne.definedSize = champ.lg;
  if (champ.typ == ado::adBoolean) return colonne;
  if (champ.typ == ado::adVarWChar || champ.typ == ado::adLongVarWChar) {
    colonne.properties.Set("Jet OLEDB:Allow Zero Length", true);
  } else if (champ.estCpt) {
    colonne.properties.Set("AutoIncrement", true);
  } else {
    colonne.attributes = ado::adColNullable;
  }
  return colonne;
}

ado::Index SansNuls(ado::Index index) {
  index.indexNulls = ado::adIndexNullsIgnore;
  return index;
}

void CreeAuCatalogue(DataBase& db, const kinds::DefTbl& definition) {
  ado::Table table(definition.nom);
  for (const kinds::DefFld& champ : definition.champs) table.AppendColumn(Colonne(champ));
  for (const kinds::DefIdx& idx : definition.index) table.AppendIndex(SansNuls(idx.index));
  db.Catalogue().Append(table);
}

/// Through the translation, unless that would change one of the names ("Date d'entrée" on MySQL).
void Execute(DataBase& db, const kinds::Edition& edition) {
  std::string traduit = edition.texte;
  const auto refus = runtime::IgnoringErrors([&] { db.FormateSSQL(traduit); });
  const bool entiers = !refus && std::all_of(edition.noms.begin(), edition.noms.end(),
                                             [&](const std::string& nom) { return traduit.find(nom) != std::string::npos; });
  if (entiers) {
    db.ExecuteSQL(edition.texte);
  } else {
    db.Connexion().Execute(edition.texte, ado::adExecuteNoRecords);
  }
}

void CreeParOrdres(DataBase& db, const kinds::DefTbl& definition) {
  const kinds::CreationTbl creation = db.Moteur().CreeTable(definition);
  if (creation.table.empty()) return;
  db.Connexion().Execute(creation.table, ado::adExecuteNoRecords);
  db.Catalogue().Refresh();
  for (const kinds::Edition& index : creation.index) Execute(db, index);
}

/// The text that drops a column or an index of a table, from the two names as they are quoted.
using TexteSuppression = std::function<std::string(const std::string& table, const std::string& nom)>;

/// Sends that text of the dialect through the translation; untranslated, with the kind's own quotes, where the translation would make another
/// name of one (to MySQL [x'y] would name the column x"y).
void ExecuteSuppression(DataBase& db, const DbTbl& tbl, const std::string& nom, const TexteSuppression& texte) {
  const kinds::Moteur& moteur = db.Moteur();
  const std::string dialecte = texte("[" + tbl.Nom() + "]", "[" + nom + "]");
  const std::string table = moteur.CiteTraduit(tbl.Nom());
  const std::string cite = moteur.CiteTraduit(nom);
  const bool possedee = moteur.faits.proprietaires && !runtime::TrimRight(tbl.Owner()).empty();
  const std::string propre = texte(possedee ? moteur.CiteTraduit(tbl.Owner()) + "." + table : table, cite);
  std::string traduit = dialecte;
  const auto refus = runtime::IgnoringErrors([&] { db.FormateSSQL(traduit); });
  traduit = runtime::UpperCase(traduit);
  const auto arrive = [&](const std::string& voulu) {
    return propre.find(voulu) == std::string::npos || traduit.find(voulu) != std::string::npos;
  };
  if (!refus && arrive(table) && arrive(cite)) {
    db.ExecuteSQL(dialecte);
  } else {
    db.Connexion().Execute(propre, ado::adExecuteNoRecords);
  }
}

/// What the backend says of an index now; kRefus when it does not answer.
enum class Presence { kAbsent, kPresent, kRefus };

Presence Cherche(DataBase& db, const DbTbl& tbl, const std::string& nom) {
  const std::string cherche = runtime::UpperCase(nom);
  bool present = false;
  const auto erreur = runtime::IgnoringErrors([&] {
    db.Catalogue().Refresh();
    ado::Table* table = db.Catalogue().Find(tbl.Nom());
    if (table == nullptr) return;
    const auto& index = table->Indexes();
    present = std::any_of(index.begin(), index.end(), [&](const ado::Index& i) { return runtime::UpperCase(i.name) == cherche; });
  });
  if (erreur) return Presence::kRefus;
  return present ? Presence::kPresent : Presence::kAbsent;
}

/// For an index that the backend has under no name of ours: the one name of every primary key, where such a key has its fields; "" when
/// there is none. Errors of the question go to the caller.
std::string Homologue(DataBase& db, const DbTbl& tbl, const DbIdx& idx) {
  const char* const primaire = db.Moteur().faits.clePrimaire;
  if (primaire == nullptr || !idx.Unique() || tbl.ExisteIdx(primaire)) return {};
  std::vector<CleLue> champs = LitCles(db, tbl.Nom());
  std::erase_if(champs, [&](const CleLue& cle) { return cle.index != primaire; });
  bool memes = !champs.empty() && champs.size() == static_cast<std::size_t>(idx.NbFld());
  for (std::size_t i = 0; memes && i < champs.size(); ++i) memes = champs[i].champ == idx.NomFld(static_cast<std::int16_t>(i));
  return memes ? primaire : std::string();
}

/// Drops it. False when it is there and was refused, or when the backend does not answer.
bool SupprimeHomologue(DataBase& db, const DbTbl& tbl, const DbIdx& idx) {
  std::string homologue;
  if (runtime::IgnoringErrors([&] { homologue = Homologue(db, tbl, idx); })) return false;
  const auto texte = [&](const std::string& table, const std::string& index) { return db.Moteur().SupprimeIndex(table, index, true); };
  return homologue.empty() || !runtime::IgnoringErrors([&] { ExecuteSuppression(db, tbl, homologue, texte); });
}

}  // namespace

ado::Index Description(const DbIdx& idx) {
  ado::Index index;
  index.name = idx.Nom();
  index.primaryKey = idx.Primary();
  index.unique = idx.Unique();
  for (std::int16_t i = 0; i < idx.NbFld(); ++i) {
    ado::Column colonne;
    colonne.name = idx.NomFld(i);
    colonne.sortOrder = idx.SensFld(i) == ado::adSortDescending ? ado::adSortDescending : ado::adSortAscending;
    index.columns.push_back(std::move(colonne));
  }
  return index;
}

void CreeTable(DataBase& db, DbTbl& tbl) {
  switch (db.Moteur().faits.tables) {
    case Voie::kAucune:
      return;
    case Voie::kCatalogue:
      return CreeAuCatalogue(db, Definition(db, tbl));
    case Voie::kOrdre:
      return CreeParOrdres(db, Definition(db, tbl));
  }
}

void SupprimeColonne(DataBase& db, const DbTbl& tbl, const std::string& nom) {
  ExecuteSuppression(db, tbl, nom, [](const std::string& table, const std::string& colonne) {
    return "ALTER TABLE " + table + " DROP COLUMN " + colonne;
  });
}

void AjouteColonne(DataBase& db, DbTbl& tbl, const std::string& nom, std::int32_t typ, std::int32_t lg, bool estCpt) {
  switch (db.Moteur().faits.colonnes) {
    case Voie::kAucune:
      return;
    case Voie::kCatalogue:
      return db.Catalogue().Tables(tbl.Nom()).AppendColumn(Colonne({nom, typ, lg, estCpt}));
    case Voie::kOrdre:
      return Execute(db, db.Moteur().AjouteColonne(Identite(db, tbl), {nom, typ, lg, estCpt}));
  }
}

void CreeIndex(DataBase& db, DbTbl& tbl, const ado::Index& index) {
  switch (db.Moteur().faits.index) {
    case Voie::kAucune:
      return;
    case Voie::kCatalogue:
      return db.Catalogue().Tables(tbl.Nom()).AppendIndex(SansNuls(index));
    case Voie::kOrdre:
      return Execute(db, db.Moteur().CreeIndex(Identite(db, tbl), index));
  }
}

std::string NomIndexBase(const DataBase& db, const DbTbl& tbl, const std::string& nom) { return db.Moteur().NomIndex(tbl.Nom(), nom); }

bool SupprimeIndex(DataBase& db, DbTbl& tbl, const DbIdx& idx) {
  std::string nom = NomIndexBase(db, tbl, idx.Nom());
  const auto contrainte = [](const std::string& table, const std::string& index) {
    return "ALTER TABLE " + table + " DROP CONSTRAINT " + index;
  };
  const auto refus = runtime::IgnoringErrors([&] { ExecuteSuppression(db, tbl, nom, contrainte); });
  if (!refus) return true;
  // A definition loaded from an Oracle server holds the backend's name already.
  if (nom != idx.Nom() && Cherche(db, tbl, idx.Nom()) == Presence::kPresent) nom = idx.Nom();
  const auto texte = [&](const std::string& table, const std::string& index) {
    return db.Moteur().SupprimeIndex(table, index, idx.Primary());
  };
  const auto encore = runtime::IgnoringErrors([&] { ExecuteSuppression(db, tbl, nom, texte); });
  if (!encore) return true;
  return Cherche(db, tbl, nom) == Presence::kAbsent && SupprimeHomologue(db, tbl, idx);
}

std::optional<std::string> NomIndexPresent(DataBase& db, const DbTbl& tbl, const DbIdx& idx) {
  std::optional<std::string> nomBase;
  runtime::IgnoringErrors([&] {
    std::string trouve;
    const std::string nom = runtime::UpperCase(idx.Nom());
    const std::string prefixe = runtime::UpperCase(NomIndexBase(db, tbl, idx.Nom()));
    db.Catalogue().Refresh();
    if (ado::Table* table = db.Catalogue().Find(tbl.Nom())) {
      for (const ado::Index& index : table->Indexes()) {
        const std::string sien = runtime::UpperCase(index.name);
        const bool nomme = sien == nom || sien == prefixe;
        if (nomme || (idx.Primary() && index.primaryKey && trouve.empty())) trouve = sien;
        if (nomme) break;
      }
    }
    if (trouve.empty()) trouve = Homologue(db, tbl, idx);
    nomBase = std::move(trouve);
  });
  return nomBase;
}

std::optional<ado::Index> IndexRestant(DataBase& db, const DbTbl& tbl, const DbIdx& idx, const std::string& nomBase) {
  std::optional<ado::Index> reste;
  runtime::IgnoringErrors([&] {
    db.Catalogue().Refresh();
    ado::Table* table = db.Catalogue().Find(tbl.Nom());
    if (table == nullptr) return;
    const auto& indexes = table->Indexes();
    const auto base =
        std::find_if(indexes.begin(), indexes.end(), [&](const ado::Index& i) { return runtime::UpperCase(i.name) == nomBase; });
    ado::Index garde = Description(idx);
    std::erase_if(garde.columns, [&](const ado::Column& colonne) {
      if (base == indexes.end()) return true;
      const std::string cherche = runtime::UpperCase(colonne.name);
      return std::none_of(base->columns.begin(), base->columns.end(),
                          [&](const ado::Column& sienne) { return runtime::UpperCase(sienne.name) == cherche; });
    });
    reste = std::move(garde);
  });
  return reste;
}

bool MemeColonne(const DataBase& db, const DbFld& un, const DbFld& autre) {
  if (un.Typ() == autre.Typ() && (un.Typ() != ado::adVarWChar || un.Lg() == autre.Lg())) return true;
  const auto sien = db.Moteur().TypeRelu(un.Typ(), un.Lg());
  return sien && sien == db.Moteur().TypeRelu(autre.Typ(), autre.Lg());
}

void SupprimeTable(DataBase& db, const std::string& nom, const DbTbl* tbl) {
  const kinds::Moteur& moteur = db.Moteur();
  const std::string texte = moteur.SupprimeTable(nom, tbl == nullptr ? std::string() : tbl->Owner());
  try {
    db.Connexion().Execute(texte, ado::adExecuteNoRecords);
  } catch (const runtime::Error&) {
    // A number or one of the server's own words is a name between quotes alone. Whatever else is wrong is so with them too.
    const std::string cite = moteur.SupprimeTableCitee(nom);
    if (cite.empty() || cite == texte) throw;
    if (runtime::IgnoringErrors([&] { db.Connexion().Execute(cite, ado::adExecuteNoRecords); })) throw;
  }
}

}  // namespace tamlo::db::ddl

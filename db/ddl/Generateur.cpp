#include "db/ddl/Generateur.h"

#include <algorithm>
#include <utility>

#include "ado/Types.h"
#include "db/DataBase.h"
#include "db/kinds/MoteurJet.h"
#include "db/kinds/Moteur.h"
#include "db/kinds/MoteurMySql.h"
#include "db/kinds/MoteurOdbc.h"
#include "db/kinds/MoteurOracle.h"
#include "db/kinds/MoteurSqlServer.h"
#include "db/kinds/TypesColonnes.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db::ddl {

namespace {

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

}  // namespace

const GenerateurBase& GenerateurDe(std::int16_t kind) {
  static const GenerateurAdox adox;
  static const GenerateurSqlServer sqlServer;
  static const GenerateurOracle oracle;
  static const GenerateurMySql mySql;
  static const GenerateurOdbc odbc;
  switch (kind) {
    case TypJet:
      return adox;
    case TypSqlServer:
      return sqlServer;
    case TypOracle:
      return oracle;
    case TypMySql:
      return mySql;
    default:
      return odbc;
  }
}

void ExecuteCreation(DataBase& db, const std::string& texte) {
  db.Connexion().Execute(texte, ado::adExecuteNoRecords);
  db.Catalogue().Refresh();
}

void ExecuteEdition(DataBase& db, const std::string& texte, const std::vector<std::string>& noms) {
  std::string traduit = texte;
  const auto refus = runtime::IgnoringErrors([&] { db.FormateSSQL(traduit); });
  const bool entiers =
      !refus && std::all_of(noms.begin(), noms.end(), [&](const std::string& nom) { return traduit.find(nom) != std::string::npos; });
  if (entiers) {
    db.ExecuteSQL(texte);
  } else {
    db.Connexion().Execute(texte, ado::adExecuteNoRecords);
  }
}

namespace {

/// A name as the kind's own texts quote it, in the case that the translation gives it.
std::string Cite(std::int16_t kind, const std::string& nom) {
  if (kind == TypJet || kind == TypSqlServer) return "[" + runtime::UpperCase(nom) + "]";
  return EntreMajuscules(kind == TypOracle ? '"' : '`', nom);
}

}  // namespace

void ExecuteSuppression(DataBase& db, const DbTbl& tbl, const std::string& nom, const TexteSuppression& texte) {
  const std::string dialecte = texte("[" + tbl.Nom() + "]", "[" + nom + "]");
  const std::string table = Cite(db.Kind16(), tbl.Nom());
  const std::string cite = Cite(db.Kind16(), nom);
  const bool possedee = db.Kind16() == TypOracle && !runtime::TrimRight(tbl.Owner()).empty();
  const std::string propre = texte(possedee ? Cite(TypOracle, tbl.Owner()) + "." + table : table, cite);
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

std::string ListeChamps(const ado::Index& index, char marque, bool majuscules) {
  std::string texte = "(";
  for (const ado::Column& colonne : index.columns) {
    if (texte.size() > 1) texte += ',';
    texte += majuscules ? EntreMajuscules(marque, colonne.name) : Entre(marque, colonne.name);
    if (colonne.sortOrder == ado::adSortDescending) texte += " DESC";
  }
  return texte + ")";
}

std::string Entre(char marque, const std::string& nom) { return marque + nom + marque; }

std::string EntreMajuscules(char marque, const std::string& nom) { return Entre(marque, runtime::UpperCase(nom)); }

void CreeTable(DataBase& db, DbTbl& tbl) { GenerateurDe(db.Kind16()).CreeTable(db, tbl); }

void SupprimeColonne(DataBase& db, const DbTbl& tbl, const std::string& nom) {
  ExecuteSuppression(db, tbl, nom, [](const std::string& table, const std::string& colonne) {
    return "ALTER TABLE " + table + " DROP COLUMN " + colonne;
  });
}

void AjouteColonne(DataBase& db, DbTbl& tbl, const std::string& nom, std::int32_t typ, std::int32_t lg, bool estCpt) {
  GenerateurDe(db.Kind16()).AjouteColonne(db, tbl, {nom, typ, lg, estCpt});
}

void CreeIndex(DataBase& db, DbTbl& tbl, const ado::Index& index) { GenerateurDe(db.Kind16()).CreeIndex(db, tbl, index); }

std::string NomIndexBase(const DataBase& db, const DbTbl& tbl, const std::string& nom) {
  return GenerateurDe(db.Kind16()).NomIndex(tbl, nom);
}

bool SupprimeIndex(DataBase& db, DbTbl& tbl, const DbIdx& idx) {
  std::string nom = NomIndexBase(db, tbl, idx.Nom());
  const auto contrainte = [](const std::string& table, const std::string& index) {
    return "ALTER TABLE " + table + " DROP CONSTRAINT " + index;
  };
  const auto refus = runtime::IgnoringErrors([&] { ExecuteSuppression(db, tbl, nom, contrainte); });
  if (!refus) return true;
  // A definition loaded from an Oracle server holds the backend's name already.
  if (nom != idx.Nom() && Cherche(db, tbl, idx.Nom()) == Presence::kPresent) nom = idx.Nom();
  const auto& generateur = GenerateurDe(db.Kind16());
  const auto texte = [&](const std::string& table, const std::string& index) {
    return generateur.TexteSupIndex(table, index, idx.Primary());
  };
  const auto encore = runtime::IgnoringErrors([&] { ExecuteSuppression(db, tbl, nom, texte); });
  if (!encore) return true;
  return Cherche(db, tbl, nom) == Presence::kAbsent && generateur.SupprimeHomologue(db, tbl, idx);
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
    if (trouve.empty()) trouve = GenerateurDe(db.Kind16()).NomHomologue(db, tbl, idx);
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
  const auto texte = [&](const DbFld& fld) -> std::optional<std::string> {
    switch (db.Kind16()) {
      case TypSqlServer:
        return TypeColonne(Dialecte::kSqlServer, fld.Typ(), fld.Lg());
      case TypMySql:
        return TypeColonne(Dialecte::kMySql, fld.Typ(), fld.Lg());
      case TypOracle:
        // What is written without a scale comes back as a numeric.
        if (fld.Typ() == ado::adNumeric || fld.Typ() == ado::adSingle) return " NUMBER";
        return TypeColonne(Dialecte::kOracle, fld.Typ(), fld.Lg());
      default:
        return std::nullopt;
    }
  };
  if (un.Typ() == autre.Typ() && (un.Typ() != ado::adVarWChar || un.Lg() == autre.Lg())) return true;
  const auto sien = texte(un);
  return sien && sien == texte(autre);
}

void SupprimeTable(DataBase& db, const std::string& nom, const DbTbl* tbl) {
  const GenerateurBase& generateur = GenerateurDe(db.Kind16());
  const std::string texte = generateur.TexteSupTable(nom, tbl);
  try {
    db.Connexion().Execute(texte, ado::adExecuteNoRecords);
  } catch (const runtime::Error&) {
    // A number or one of the server's own words is a name between quotes alone. Whatever else is wrong is so with them too.
    const std::string cite = generateur.TexteSupTableCite(nom);
    if (cite.empty() || cite == texte) throw;
    if (runtime::IgnoringErrors([&] { db.Connexion().Execute(cite, ado::adExecuteNoRecords); })) throw;
  }
}

}  // namespace tamlo::db::ddl

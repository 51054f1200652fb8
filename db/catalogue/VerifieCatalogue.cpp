#include "db/catalogue/VerifieCatalogue.h"

#include <algorithm>
#include <set>
#include <utility>

#include "ado/Types.h"
#include "db/DbUtil.h"
#include "db/catalogue/ContenuCatalogue.h"
#include "db/catalogue/TablesPresentes.h"
#include "db/ddl/Generateur.h"
#include "db/kinds/Moteur.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db::catalogue {

namespace {

using Dit = std::function<void(std::string)>;

std::string Cle(std::int16_t i) { return std::to_string(i); }

/// The encoded field list as far as the backend tells it: some keys are read without directions.
std::string Champs(const DataBase& db, std::string champs) {
  if (db.Moteur().faits.sensDesCles) return champs;
  std::string sans;
  for (std::size_t i = 0; i < champs.size(); ++i) {
    const bool marque = champs[i] == '-' && (i == 0 || champs[i - 1] == ';');
    if (!marque) sans += champs[i];
  }
  return sans;
}

// Where the other of the two things that are compared stands.
constexpr const char* kBase = " dans la base, ";
constexpr const char* kCatalogue = " au catalogue, ";

std::string EntreLesDeux(const char* quoi, bool sien, const char* siens, bool notre) {
  return std::string(quoi) + ", " + OuiNon(sien) + siens + OuiNon(notre) + " en mémoire";
}

std::string TypeEnMots(const DbFld& fld) {
  return std::to_string(fld.Typ()) + (fld.Lg() > 0 ? " de longueur " + std::to_string(fld.Lg()) : "");
}

void CompareChamps(const DataBase& db, const DbTbl& base, const DbTbl& memoire, const Dit& dit) {
  for (const DbFld& sien : base.Champs()) {
    const std::string champ = "champ " + sien.Nom();
    const std::int16_t place = memoire.PlaceFld(sien.Nom());
    if (place < 0) {
      dit(champ + " dans la base et non en mémoire");
      continue;
    }
    const DbFld& notre = memoire.ListeFld(Cle(place));
    if (!ddl::MemeColonne(db, sien, notre))
      dit(champ + " : type " + TypeEnMots(sien) + " dans la base, " + TypeEnMots(notre) + " en mémoire");
    if (sien.EstCpt() != notre.EstCpt()) dit(champ + " : " + EntreLesDeux("compteur", sien.EstCpt(), kBase, notre.EstCpt()));
  }
  for (const DbFld& notre : memoire.Champs()) {
    if (base.PlaceFld(notre.Nom()) < 0) dit("champ " + notre.Nom() + " en mémoire et non dans la base");
  }
}

/// The backend's index that an index of ours is kept as; nullptr when there is none.
const DbIdx* Homologue(const DataBase& db, const DbTbl& base, const DbTbl& memoire, const DbIdx& idx) {
  const std::string nomBase = runtime::UpperCase(ddl::NomIndexBase(db, memoire, idx.Nom()));
  for (const DbIdx& sien : base.Index()) {
    if (sien.Nom() == runtime::UpperCase(idx.Nom()) || sien.Nom() == nomBase) return &sien;
  }
  // Where the primary key has one name alone it is primary under no other.
  const char* const clePrimaire = db.Moteur().faits.clePrimaire;
  for (const DbIdx& sien : base.Index()) {
    const bool meme = clePrimaire != nullptr ? sien.Nom() == clePrimaire : sien.Primary() && idx.Primary();
    if (meme && Champs(db, sien.SFld()) == Champs(db, idx.SFld())) return &sien;
  }
  return nullptr;
}

/// What the backend or the catalog says of an index.
struct IndexDit {
  std::string champs;
  bool primaire;
  bool unique;
};

void CompareUnIndex(const DataBase& db, const IndexDit& sien, const DbIdx& notre, const char* siens, const Dit& dit) {
  const std::string index = "index " + notre.Nom() + " : ";
  if (Champs(db, sien.champs) != Champs(db, notre.SFld())) dit(index + "champs " + sien.champs + siens + notre.SFld() + " en mémoire");
  const bool sienUnique = sien.unique || sien.primaire;
  const bool notreUnique = notre.Unique() || notre.Primary();
  if (sienUnique != notreUnique) dit(index + EntreLesDeux("unique", sienUnique, siens, notreUnique));
  if (db.Moteur().faits.gardePrimaire && sien.primaire != notre.Primary())
    dit(index + EntreLesDeux("primaire", sien.primaire, siens, notre.Primary()));
}

void CompareIndex(const DataBase& db, const DbTbl& base, const DbTbl& memoire, const Dit& dit) {
  std::set<const DbIdx*> vus;
  for (const DbIdx& notre : memoire.Index()) {
    const DbIdx* sien = Homologue(db, base, memoire, notre);
    if (sien == nullptr) {
      dit("index " + notre.Nom() + " (" + notre.SFld() + ") en mémoire et non dans la base");
      continue;
    }
    vus.insert(sien);
    CompareUnIndex(db, {sien->SFld(), sien->Primary(), sien->Unique()}, notre, kBase, dit);
  }
  for (const DbIdx& sien : base.Index()) {
    if (!vus.contains(&sien)) dit("index " + sien.Nom() + " (" + sien.SFld() + ") dans la base et non en mémoire");
  }
}

/// The table's definition as the backend alone gives it, beside the one in memory.
void CompareALaBase(DataBase& db, TableBase& table, const DbTbl& memoire, const Dit& dit) {
  DbTbl base;
  base.Init(db, table.table, memoire.AvecMvt(), nullptr, nullptr, table.owner);
  CompareChamps(db, base, memoire, dit);
  CompareIndex(db, base, memoire, dit);
}

void CompareChampsAuCatalogue(const DbTbl& memoire, const ContenuTable& contenu, const Dit& dit) {
  for (const auto& sien : contenu.champs) {
    const std::int16_t place = memoire.PlaceFld(sien.nom);
    const std::string champ = "champ " + sien.nom;
    if (place < 0) {
      dit(champ + " au catalogue et non en mémoire");
    } else if (sien.no != place) {
      dit(champ + " : numéro " + Cle(sien.no) + " au catalogue, place " + Cle(place) + " en mémoire");
    }
  }
  for (const DbFld& notre : memoire.Champs()) {
    const auto meme = [&](const auto& champ) { return champ.nom == notre.Nom(); };
    if (std::none_of(contenu.champs.begin(), contenu.champs.end(), meme)) dit("champ " + notre.Nom() + " en mémoire et non au catalogue");
  }
}

void CompareIndexAuCatalogue(const DataBase& db, const DbTbl& memoire, const ContenuTable& contenu, const Dit& dit) {
  std::set<std::string> notres;
  for (const DbIdx& notre : memoire.Index()) {
    notres.insert(notre.Nom());
    const auto sien = contenu.index.find(notre.Nom());
    if (sien == contenu.index.end()) {
      dit("index " + notre.Nom() + " (" + notre.SFld() + ") en mémoire et non au catalogue");
      continue;
    }
    CompareUnIndex(db, {sien->second.champs, sien->second.primaire, sien->second.unique}, notre, kCatalogue, dit);
  }
  for (const auto& [nom, index] : contenu.index) {
    if (!notres.contains(nom)) dit("index " + nom + " (" + index.champs + ") au catalogue et non en mémoire");
  }
}

void CompareAuCatalogue(const DataBase& db, const DbTbl& memoire, const ContenuTable* contenu, const Dit& dit) {
  if (contenu == nullptr || !contenu->mvt) dit("en mémoire et non dans $TBLKORV$");
  if (contenu == nullptr) return;
  CompareChampsAuCatalogue(memoire, *contenu, dit);
  CompareIndexAuCatalogue(db, memoire, *contenu, dit);
}

/// One comparison of backend, memory and catalog, of one table or of all.
class Comparaison {
 public:
  Comparaison(DataBase& db, const std::string& nom) : db_(db), seule_(runtime::UpperCase(runtime::Trim(nom))) {}

  std::vector<EcartCatalogue> Fait() {
    db_.Catalogue().Refresh();
    const bool avecCatalogue = db_.ExisteTbl(kTblKorv) || db_.ExisteTbl(kFldKorv) || db_.ExisteTbl(kIdxKorv);
    if (avecCatalogue) {
      TablesAbsentes();
      contenu_ = LitCatalogue(db_);
    }
    DansLaBase();
    EnMemoire(avecCatalogue);
    for (const auto& [table, lignes] : contenu_) {
      if (Demandee(table) && !vues_.contains(table)) ecarts_.push_back({table, "au catalogue et non dans la base"});
    }
    return std::move(ecarts_);
  }

 private:
  [[nodiscard]] bool Demandee(const std::string& table) const { return seule_.empty() || table == seule_; }

  [[nodiscard]] Dit De(const std::string& table) {
    return [this, table](std::string texte) { ecarts_.push_back({table, std::move(texte)}); };
  }

  void TablesAbsentes() {
    for (const char* table : {kTblKorv, kFldKorv, kIdxKorv}) {
      if (!db_.ExisteTbl(table) && seule_.empty()) ecarts_.push_back({table, "absente de la base"});
    }
  }

  void DansLaBase() {
    for (TableBase& table : TablesDeLaBase(db_)) {
      if (!Demandee(table.nom)) continue;
      vues_.insert(table.nom);
      if (const DbTbl* memoire = db_.TablesListees().Nommee(table.nom)) {
        CompareALaBase(db_, table, *memoire, De(table.nom));
      } else {
        De(table.nom)("dans la base et non en mémoire");
      }
    }
  }

  void EnMemoire(bool avecCatalogue) {
    for (const ListeTables::Entree& entree : db_.TablesListees().Entrees()) {
      if (!Demandee(entree.nom) || EstTableDuCatalogue(entree.nom)) continue;
      const Dit dit = De(entree.nom);
      if (vues_.insert(entree.nom).second) dit("en mémoire et non dans la base");
      const auto sien = contenu_.find(entree.nom);
      if (avecCatalogue) CompareAuCatalogue(db_, *entree.tbl, sien == contenu_.end() ? nullptr : &sien->second, dit);
    }
  }

  DataBase& db_;
  std::string seule_;  // blank: all
  std::vector<EcartCatalogue> ecarts_;
  ContenuCatalogue contenu_;
  std::set<std::string> vues_;
};

/// Tables, fields and indexes that the backend has otherwise are read from it; fields that are known keep their order.
void RelitDefinitions(DataBase& db) {
  std::set<std::string> presentes;
  for (TableBase& table : TablesDeLaBase(db)) {
    presentes.insert(table.nom);
    DbTbl* memoire = db.TablesListees().Nommee(table.nom);
    if (memoire == nullptr) {
      db.AjouteTable(table.table, nullptr, nullptr, table.owner);
      continue;
    }
    bool autre = false;
    CompareALaBase(db, table, *memoire, [&](const std::string&) { autre = true; });
    if (autre) memoire->Relit(table.table);
  }
  db.TablesListees().RetireSi([&](const std::string& nom) { return !presentes.contains(nom) && !EstTableDuCatalogue(nom); });
}

void CompareCatalogues(const ContenuCatalogue& avant, const ContenuCatalogue& apres, std::vector<EcartCatalogue>& changements) {
  std::set<std::string> noms;
  for (const auto& [nom, contenu] : avant) noms.insert(nom);
  for (const auto& [nom, contenu] : apres) noms.insert(nom);
  const auto de = [](const ContenuCatalogue& contenu, const std::string& nom) {
    const auto trouve = contenu.find(nom);
    return trouve == contenu.end() ? ContenuTable{} : trouve->second;
  };
  for (const std::string& nom : noms) CompareContenus(nom, de(avant, nom), de(apres, nom), changements);
}

}  // namespace

std::vector<EcartCatalogue> Verifie(DataBase& db, const std::string& nom) { return Comparaison(db, nom).Fait(); }

void Repare(DataBase& db, std::vector<EcartCatalogue>& changements) {
  changements.clear();
  db.Catalogue().Refresh();
  const ContenuCatalogue avant = LitCatalogue(db);
  RelitDefinitions(db);
  try {
    db.RecreeCatalogue();
  } catch (const runtime::Error&) {
    (void)runtime::IgnoringErrors([&] { CompareCatalogues(avant, LitCatalogue(db), changements); });
    throw;
  }
  CompareCatalogues(avant, LitCatalogue(db), changements);
}

}  // namespace tamlo::db::catalogue

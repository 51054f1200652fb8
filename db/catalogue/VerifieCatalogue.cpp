#include <algorithm>
#include <set>
#include <utility>

#include "ado/Types.h"
#include "db/catalogue/ContenuCatalogue.h"
#include "db/DataBase.h"
#include "db/DbUtil.h"
#include "db/ddl/Generateur.h"
#include "db/kinds/Moteur.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db {

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

void CompareChamps(DataBase& db, DbTbl& base, DbTbl& memoire, const Dit& dit) {
  for (std::int16_t i = 0; i < base.NbFld(); ++i) {
    const DbFld& sien = base.ListeFld(Cle(i));
    const std::int16_t place = memoire.PlaceFld(sien.Nom());
    if (place < 0) {
      dit("champ " + sien.Nom() + " dans la base et non en mémoire");
      continue;
    }
    const DbFld& notre = memoire.ListeFld(Cle(place));
    if (!ddl::MemeColonne(db, sien, notre)) {
      const auto type = [](const DbFld& fld) {
        return std::to_string(fld.Typ()) + (fld.Lg() > 0 ? " de longueur " + std::to_string(fld.Lg()) : "");
      };
      dit("champ " + sien.Nom() + " : type " + type(sien) + " dans la base, " + type(notre) + " en mémoire");
    }
    if (sien.EstCpt() != notre.EstCpt())
      dit("champ " + sien.Nom() + " : compteur, " + OuiNon(sien.EstCpt()) + " dans la base, " + OuiNon(notre.EstCpt()) + " en mémoire");
  }
  for (std::int16_t i = 0; i < memoire.NbFld(); ++i) {
    const std::string& nom = memoire.ListeFld(Cle(i)).Nom();
    if (base.PlaceFld(nom) < 0) dit("champ " + nom + " en mémoire et non dans la base");
  }
}

/// Position of the backend's index that an index of ours is kept as; -1 when there is none.
std::int16_t Homologue(DataBase& db, DbTbl& base, const DbTbl& memoire, const DbIdx& idx) {
  const std::string nomBase = runtime::UpperCase(ddl::NomIndexBase(db, memoire, idx.Nom()));
  for (std::int16_t i = 0; i < base.NbIdx(); ++i) {
    const std::string& sien = base.ListeIdx(Cle(i)).Nom();
    if (sien == runtime::UpperCase(idx.Nom()) || sien == nomBase) return i;
  }
  // Where the primary key has one name alone it is primary under no other.
  const char* const clePrimaire = db.Moteur().faits.clePrimaire;
  for (std::int16_t i = 0; i < base.NbIdx(); ++i) {
    const DbIdx& sien = base.ListeIdx(Cle(i));
    const bool meme = clePrimaire != nullptr ? sien.Nom() == clePrimaire : sien.Primary() && idx.Primary();
    if (meme && Champs(db, sien.SFld()) == Champs(db, idx.SFld())) return i;
  }
  return -1;
}

void CompareIndex(DataBase& db, DbTbl& base, DbTbl& memoire, const Dit& dit) {
  std::set<std::int16_t> vus;
  for (std::int16_t i = 0; i < memoire.NbIdx(); ++i) {
    const DbIdx& notre = memoire.ListeIdx(Cle(i));
    const std::int16_t place = Homologue(db, base, memoire, notre);
    if (place < 0) {
      dit("index " + notre.Nom() + " (" + notre.SFld() + ") en mémoire et non dans la base");
      continue;
    }
    vus.insert(place);
    const DbIdx& sien = base.ListeIdx(Cle(place));
    const std::string index = "index " + notre.Nom() + " : ";
    if (Champs(db, sien.SFld()) != Champs(db, notre.SFld()))
      dit(index + "champs " + sien.SFld() + " dans la base, " + notre.SFld() + " en mémoire");
    const bool sienUnique = sien.Unique() || sien.Primary();
    const bool notreUnique = notre.Unique() || notre.Primary();
    if (sienUnique != notreUnique) dit(index + "unique, " + OuiNon(sienUnique) + " dans la base, " + OuiNon(notreUnique) + " en mémoire");
    if (db.Moteur().faits.gardePrimaire && sien.Primary() != notre.Primary())
      dit(index + "primaire, " + OuiNon(sien.Primary()) + " dans la base, " + OuiNon(notre.Primary()) + " en mémoire");
  }
  for (std::int16_t i = 0; i < base.NbIdx(); ++i) {
    const DbIdx& sien = base.ListeIdx(Cle(i));
    if (!vus.contains(i)) dit("index " + sien.Nom() + " (" + sien.SFld() + ") dans la base et non en mémoire");
  }
}

void CompareAuCatalogue(DataBase& db, DbTbl& memoire, const ContenuTable* contenu, const Dit& dit) {
  if (contenu == nullptr || !contenu->mvt) dit("en mémoire et non dans $TBLKORV$");
  if (contenu == nullptr) return;
  for (std::size_t i = 0; i < contenu->champs.size(); ++i) {
    const auto& sien = contenu->champs[i];
    const std::int16_t place = memoire.PlaceFld(sien.nom);
    const std::string champ = "champ " + sien.nom;
    if (place < 0) {
      dit(champ + " au catalogue et non en mémoire");
      continue;
    }
    if (sien.no != place) dit(champ + " : numéro " + Cle(sien.no) + " au catalogue, place " + Cle(place) + " en mémoire");
  }
  for (std::int16_t i = 0; i < memoire.NbFld(); ++i) {
    const std::string& nom = memoire.ListeFld(Cle(i)).Nom();
    const bool connu = std::any_of(contenu->champs.begin(), contenu->champs.end(), [&](const auto& champ) { return champ.nom == nom; });
    if (!connu) dit("champ " + nom + " en mémoire et non au catalogue");
  }
  std::set<std::string> notres;
  for (std::int16_t i = 0; i < memoire.NbIdx(); ++i) {
    const DbIdx& notre = memoire.ListeIdx(Cle(i));
    notres.insert(notre.Nom());
    const auto sien = contenu->index.find(notre.Nom());
    const std::string index = "index " + notre.Nom();
    if (sien == contenu->index.end()) {
      dit(index + " (" + notre.SFld() + ") en mémoire et non au catalogue");
      continue;
    }
    if (Champs(db, sien->second.champs) != Champs(db, notre.SFld()))
      dit(index + " : champs " + sien->second.champs + " au catalogue, " + notre.SFld() + " en mémoire");
    const bool sienUnique = sien->second.unique || sien->second.primaire;
    if (sienUnique != (notre.Unique() || notre.Primary()))
      dit(index + " : unique, " + OuiNon(sienUnique) + " au catalogue, " + OuiNon(!sienUnique) + " en mémoire");
    if (db.Moteur().faits.gardePrimaire && sien->second.primaire != notre.Primary())
      dit(index + " : primaire, " + OuiNon(sien->second.primaire) + " au catalogue, " + OuiNon(notre.Primary()) + " en mémoire");
  }
  for (const auto& [nom, index] : contenu->index) {
    if (!notres.contains(nom)) dit("index " + nom + " (" + index.champs + ") au catalogue et non en mémoire");
  }
}

}  // namespace

std::vector<EcartCatalogue> DataBase::VerifieCatalogue(const std::string& nom) {
  const std::string seule = runtime::UpperCase(runtime::Trim(nom));
  std::vector<EcartCatalogue> ecarts;
  Catalogue().Refresh();
  const bool avecCatalogue = ExisteTbl(kTblKorv) || ExisteTbl(kFldKorv) || ExisteTbl(kIdxKorv);
  for (const char* table : {kTblKorv, kFldKorv, kIdxKorv}) {
    if (avecCatalogue && !ExisteTbl(table) && seule.empty()) ecarts.push_back({table, "absente de la base"});
  }
  const ContenuCatalogue contenu = avecCatalogue ? LitCatalogue(*this) : ContenuCatalogue{};
  std::set<std::string> vues;
  const auto meme = [&](const std::string& table) { return seule.empty() || table == seule; };
  for (TableBase& table : TablesDeLaBase()) {
    if (!meme(table.nom)) continue;
    const Dit dit = [&](std::string texte) { ecarts.push_back({table.nom, std::move(texte)}); };
    const auto entree = std::find_if(tables_.begin(), tables_.end(), [&](const EntreeTbl& e) { return e.nom == table.nom; });
    vues.insert(table.nom);
    if (entree == tables_.end()) {
      dit("dans la base et non en mémoire");
      continue;
    }
    CompareALaBase(table, *entree->tbl, dit);
  }
  for (const EntreeTbl& entree : tables_) {
    if (!meme(entree.nom) || EstTableDuCatalogue(entree.nom)) continue;
    const Dit dit = [&](std::string texte) { ecarts.push_back({entree.nom, std::move(texte)}); };
    if (vues.insert(entree.nom).second) dit("en mémoire et non dans la base");
    const auto sien = contenu.find(entree.nom);
    if (avecCatalogue) CompareAuCatalogue(*this, *entree.tbl, sien == contenu.end() ? nullptr : &sien->second, dit);
  }
  for (const auto& [table, lignes] : contenu) {
    if (meme(table) && !vues.contains(table)) ecarts.push_back({table, "au catalogue et non dans la base"});
  }
  return ecarts;
}

/// The table's definition as the backend alone gives it, beside the one in memory.
void DataBase::CompareALaBase(TableBase& table, DbTbl& memoire, const std::function<void(std::string)>& dit) {
  DbTbl base;
  base.Init(*this, table.table, memoire.AvecMvt(), nullptr, nullptr, table.owner);
  CompareChamps(*this, base, memoire, dit);
  CompareIndex(*this, base, memoire, dit);
}

void DataBase::RecreeCatalogue() {
  if (auto refus = RefaitCatalogue()) throw *std::move(refus);
}

/// Tables, fields and indexes that the backend has otherwise are read from it; fields that are known keep their order.
void DataBase::RelitDefinitions() {
  std::set<std::string> presentes;
  for (TableBase& table : TablesDeLaBase()) {
    presentes.insert(table.nom);
    const auto entree = std::find_if(tables_.begin(), tables_.end(), [&](const EntreeTbl& e) { return e.nom == table.nom; });
    if (entree == tables_.end()) {
      AjouteTable(table.table, nullptr, nullptr, table.owner);
      continue;
    }
    bool autre = false;
    CompareALaBase(table, *entree->tbl, [&](const std::string&) { autre = true; });
    if (autre) entree->tbl->Relit(table.table);
  }
  std::erase_if(tables_, [&](const EntreeTbl& e) { return !presentes.contains(e.nom) && !EstTableDuCatalogue(e.nom); });
  NomsChanges();
}

void DataBase::RecreeCatalogue(std::vector<EcartCatalogue>& changements) {
  changements.clear();
  Catalogue().Refresh();
  const ContenuCatalogue avant = LitCatalogue(*this);
  RelitDefinitions();
  const auto compare = [&] {
    const ContenuCatalogue apres = LitCatalogue(*this);
    std::set<std::string> noms;
    for (const auto& [nom, contenu] : avant) noms.insert(nom);
    for (const auto& [nom, contenu] : apres) noms.insert(nom);
    const auto de = [](const ContenuCatalogue& contenu, const std::string& nom) {
      const auto trouve = contenu.find(nom);
      return trouve == contenu.end() ? ContenuTable{} : trouve->second;
    };
    for (const std::string& nom : noms) CompareContenus(nom, de(avant, nom), de(apres, nom), changements);
  };
  try {
    RecreeCatalogue();
  } catch (const runtime::Error&) {
    (void)runtime::IgnoringErrors(compare);
    throw;
  }
  compare();
}

}  // namespace tamlo::db

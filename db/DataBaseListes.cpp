#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "db/DataBase.h"
#include "db/DbUtil.h"
#include "db/ddl/Generateur.h"
#include "db/sql/TablesQualifiees.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"
#include "support/Support.h"

namespace tamlo::db {

namespace {

/// The lookup that tables and aliases share: a number is the index itself, unchecked; else the last index found, else
/// the first of that name.
template <typename Entrees, typename Nom>
std::int16_t Indice(const Entrees& entrees, const std::string& cherche, Nom nomDe, std::int16_t& dernier) {
  if (runtime::IsNumeric(cherche)) return runtime::ToInt16(cherche);
  const std::string cle = runtime::UpperCase(runtime::Trim(cherche));
  const auto connu = static_cast<std::size_t>(dernier);
  if (connu < entrees.size() && nomDe(entrees[connu]) == cle) return dernier;
  for (std::size_t i = 0; i < entrees.size(); ++i) {
    if (nomDe(entrees[i]) == cle) return dernier = static_cast<std::int16_t>(i);
  }
  return -1;
}

template <typename Entrees>
auto& EntreeA(Entrees& entrees, std::int16_t indice) {
  if (indice < 0 || static_cast<std::size_t>(indice) >= entrees.size()) throw runtime::Error(runtime::kSubscriptOutOfRange);
  return entrees[static_cast<std::size_t>(indice)];
}

/// The entry by its name alone: a table whose name is a number is not the one at that position.
template <typename Entrees>
auto EntreeNommee(Entrees& entrees, const std::string& nom) {
  return std::find_if(entrees.begin(), entrees.end(), [&](const auto& entree) { return entree.nom == nom; });
}

/// A table that is there, as the backend spells it: a name of exactly that spelling goes first.
std::string NomDansLaBase(ado::Catalog& catalogue, const std::string& nom) {
  const std::string coupe(runtime::Trim(nom));
  for (std::size_t i = 0; i < catalogue.TableCount(); ++i) {
    if (catalogue.Tables(i).Name() == coupe) return coupe;
  }
  return catalogue.Tables(coupe).Name();
}

}  // namespace

std::int16_t DataBase::IndiceTbl(const std::string& nom) const {
  return Indice(
      tables_, nom, [](const EntreeTbl& entree) -> const std::string& { return entree.nom; }, dernierTbl_);
}

std::int16_t DataBase::IndiceAlias(const std::string& alias) const {
  return Indice(
      alias_, alias, [](const EntreeAlias& entree) -> const std::string& { return entree.alias; }, dernierAlias_);
}

DbTbl& DataBase::ListeTbl(const std::string& nom) { return *EntreeA(tables_, IndiceTbl(nom)).tbl; }

DbTbl& DataBase::TableNommee(const std::string& nom) {
  const auto entree = EntreeNommee(tables_, runtime::UpperCase(runtime::Trim(nom)));
  if (entree == tables_.end()) throw runtime::Error(runtime::kSubscriptOutOfRange);
  return *entree->tbl;
}

bool DataBase::ExisteTbl(const std::string& nom) {
  bool existe = false;
  const std::string cherche(runtime::Trim(nom));
  runtime::IgnoringErrors([&] { existe = runtime::UpperCase(Catalogue().Tables(cherche).Name()) == runtime::UpperCase(cherche); });
  return existe;
}

void DataBase::AddAlias(const std::string& table, const std::string& alias, const std::string& libelle, bool visible) {
  const std::string reelle = runtime::UpperCase(table);
  if (support::EstVide(reelle)) return;
  const std::string nom = support::EstVide(alias) ? reelle : runtime::UpperCase(alias);
  // By name alone: an alias that is a number must not give its label to the one at that position.
  const auto connu =
      std::find_if(alias_.begin(), alias_.end(), [&](const EntreeAlias& entree) { return entree.alias == runtime::Trim(nom); });
  if (connu != alias_.end()) {
    if (support::EstVide(connu->libelle)) connu->libelle = libelle;
    return;
  }
  (void)runtime::CheckedInt16(static_cast<std::int64_t>(alias_.size()) + 1);
  alias_.push_back({nom, reelle, libelle, visible});
}

std::string DataBase::TblReel(const std::string& alias) const {
  const std::int16_t indice = IndiceAlias(alias);
  return indice == -1 ? alias : EntreeA(alias_, indice).table;
}

std::string DataBase::LibAlias(const std::string& alias) const {
  const std::int16_t indice = IndiceAlias(alias);
  return indice == -1 ? alias : EntreeA(alias_, indice).libelle;
}

bool DataBase::VisAlias(const std::string& alias) const {
  const std::int16_t indice = IndiceAlias(alias);
  return indice != -1 && EntreeA(alias_, indice).visible;
}

DbTbl& DataBase::Inscrit(std::unique_ptr<DbTbl> tbl) {
  (void)runtime::CheckedInt16(static_cast<std::int64_t>(tables_.size()) + 1);
  const std::string nom = tbl->Nom();
  tables_.push_back({std::move(tbl), nom});
  DbTbl& inscrite = *tables_.back().tbl;
  inscrite.liste_ = this;
  if (qualifiees_) qualifiees_->Ajoute(inscrite.Nom(), inscrite.Owner());
  return inscrite;
}

void DataBase::Raye() noexcept {
  tables_.pop_back();
  NomsChanges();
}

DbTbl& DataBase::AddTbl(std::unique_ptr<DbTbl> tbl) {
  VerifieTbl(*this, *tbl);
  tbl->Db(this);
  ddl::CreeTable(*this, *tbl);
  DbTbl& inscrite = Inscrit(std::move(tbl));
  InscritAuCatalogue(inscrite);
  return inscrite;
}

void DataBase::InscritAuCatalogue(DbTbl& tbl) {
  try {
    SauveTblCatalogue(tbl, nullptr, nullptr, nullptr);
  } catch (const runtime::Error& erreur) {
    if (erreur.Number() != runtime::kDuplicateKey) throw;
    // Rows of a table of that name that was dropped behind the layer's back.
    SupprimeLignes(*this, kTblKorv, {{"NOM", tbl.Nom()}});
    for (const char* catalogue : {kFldKorv, kIdxKorv}) SupprimeLignes(*this, catalogue, {{"TABLE", tbl.Nom()}});
    SauveTblCatalogue(tbl, nullptr, nullptr, nullptr);
  }
}

void DataBase::SupTbl(const std::string& nom) {
  if (!ExisteTbl(nom)) {
    // Another program may have made it since the catalog was read; an opening has just read it.
    if (enOuverture_) return;
    Catalogue().Refresh();
    // A backend that does not answer is no backend without the table: its error goes to the caller.
    if (Catalogue().Find(std::string(runtime::Trim(nom))) == nullptr) return;
  }
  const std::string cle = runtime::UpperCase(runtime::Trim(nom));
  const auto entree = EntreeNommee(tables_, cle);
  std::vector<std::pair<std::string, std::string>> nettoyages;
  const auto nettoie = [&](const std::string& catalogue, const std::string& colonne) {
    // The dropped table may be this catalog table itself, and a database may have none. Asked before the list must be read again.
    if (catalogue != cle && ExisteTbl(catalogue)) nettoyages.emplace_back(catalogue, colonne);
  };
  nettoie(kTblKorv, "NOM");
  nettoie(kFldKorv, "TABLE");
  nettoie(kIdxKorv, "TABLE");
  try {
    ddl::SupprimeTable(*this, NomDansLaBase(Catalogue(), nom), entree != tables_.end() ? entree->tbl.get() : nullptr);
  } catch (const runtime::Error&) {
    // Or have dropped it: then there is nothing to do, as when that is known from the start.
    bool partie = false;
    Catalogue().Refresh();
    (void)runtime::IgnoringErrors([&] { partie = Catalogue().Find(std::string(runtime::Trim(nom))) == nullptr; });
    if (partie) return;
    throw;
  }
  Catalogue().Refresh();
  if (entree != tables_.end()) {
    tables_.erase(entree);
    NomsChanges();
  }
  for (const auto& [catalogue, colonne] : nettoyages) SupprimeLignes(*this, catalogue, {{colonne, cle}});
}

}  // namespace tamlo::db

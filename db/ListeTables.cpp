#include "db/ListeTables.h"

#include <algorithm>
#include <utility>

#include "db/Recherche.h"
#include "db/sql/TablesQualifiees.h"
#include "runtime/Conversions.h"
#include "runtime/Text.h"

namespace tamlo::db {

namespace {

std::string CleDe(const std::string& nom) { return runtime::UpperCase(runtime::Trim(nom)); }

template <typename Entrees>
auto Premiere(Entrees& entrees, const std::string& nom) {
  return std::find_if(entrees.begin(), entrees.end(), [cle = CleDe(nom)](const auto& entree) { return entree.nom == cle; });
}

}  // namespace

ListeTables::ListeTables() = default;
ListeTables::~ListeTables() = default;

DbTbl& ListeTables::Liste(const std::string& cle) const {
  const auto nomDe = [](const Entree& entree) -> const std::string& { return entree.nom; };
  // A number is the position itself.
  return *EntreeA(entrees_, runtime::IsNumeric(cle) ? runtime::ToInt16(cle) : PositionNommee(entrees_, CleDe(cle), nomDe, dernier_));
}

DbTbl* ListeTables::Nommee(const std::string& nom) const {
  const auto entree = Premiere(entrees_, nom);
  return entree == entrees_.end() ? nullptr : entree->tbl.get();
}

DbTbl& ListeTables::Ajoute(std::unique_ptr<DbTbl> tbl) {
  (void)runtime::CheckedInt16(static_cast<std::int64_t>(entrees_.size()) + 1);
  const std::string nom = tbl->Nom();
  entrees_.push_back({std::move(tbl), nom});
  DbTbl& inscrite = *entrees_.back().tbl;
  inscrite.ListeeDans(this);
  if (qualifiees_) qualifiees_->Ajoute(inscrite.Nom(), inscrite.Owner());
  return inscrite;
}

DbTbl& ListeTables::Remplace(std::unique_ptr<DbTbl> tbl) {
  const auto entree = Premiere(entrees_, tbl->Nom());
  if (entree == entrees_.end()) return Ajoute(std::move(tbl));
  entree->tbl = std::move(tbl);
  entree->tbl->ListeeDans(this);
  NomsChanges();
  return *entree->tbl;
}

void ListeTables::Retire(const std::string& nom) {
  const auto entree = Premiere(entrees_, nom);
  if (entree == entrees_.end()) return;
  entrees_.erase(entree);
  NomsChanges();
}

void ListeTables::RetireSi(const std::function<bool(const std::string& nom)>& faut) {
  std::erase_if(entrees_, [&](const Entree& entree) { return faut(entree.nom); });
  NomsChanges();
}

void ListeTables::Garde(std::size_t nombre) {
  if (nombre < entrees_.size()) entrees_.resize(nombre);
  NomsChanges();
}

const sql::TablesQualifiees& ListeTables::Qualifiees() const {
  if (!qualifiees_) {
    qualifiees_ = std::make_unique<sql::TablesQualifiees>();
    for (const Entree& entree : entrees_) qualifiees_->Ajoute(entree.tbl->Nom(), entree.tbl->Owner());
  }
  return *qualifiees_;
}

void ListeTables::NomsChanges() noexcept { qualifiees_.reset(); }

}  // namespace tamlo::db

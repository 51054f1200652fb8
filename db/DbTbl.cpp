#include "db/DbTbl.h"

#include <algorithm>

#include "db/DataBase.h"
#include "db/DbUtil.h"
#include "db/Environnement.h"
#include "db/kinds/Moteur.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db {

namespace {

/// The lookup by name that fields and indexes share: the last position found, else the first of that name.
template <typename Element>
std::int16_t PositionNommee(const std::vector<std::unique_ptr<Element>>& liste, const std::string& nom, std::int16_t& dernier) {
  const auto connu = static_cast<std::size_t>(dernier);
  if (connu < liste.size() && liste[connu]->Nom() == nom) return dernier;
  for (std::size_t i = 0; i < liste.size(); ++i) {
    if (liste[i]->Nom() == nom) return dernier = static_cast<std::int16_t>(i);
  }
  return -1;
}

template <typename Element>
Element& ElementA(const std::vector<std::unique_ptr<Element>>& liste, std::int16_t position) {
  if (position < 0 || static_cast<std::size_t>(position) >= liste.size()) throw runtime::Error(runtime::kSubscriptOutOfRange);
  return *liste[static_cast<std::size_t>(position)];
}

/// Relations that the movement flag follows: both sides 0, or 0 on one side and 2 or 3 on the other.
bool PropageMvt(std::int32_t typ, std::int32_t typInv) {
  if (typ == 0) return typInv == 0 || typInv == 2 || typInv == 3;
  return typInv == 0 && (typ == 2 || typ == 3);
}

}  // namespace

std::int16_t DbTbl::FldNomme(const std::string& nom) const {
  return PositionNommee(Connue().champs_, runtime::LowerCase(runtime::Trim(nom)), dernierFld_);
}
std::int16_t DbTbl::IdxNomme(const std::string& nom) const {
  return PositionNommee(Connue().index_, runtime::UpperCase(runtime::Trim(nom)), dernierIdx_);
}

// A number is the position itself, unchecked.
std::int16_t DbTbl::PosFld(const std::string& cle) const { return runtime::IsNumeric(cle) ? runtime::ToInt16(cle) : FldNomme(cle); }
std::int16_t DbTbl::PosIdx(const std::string& cle) const { return runtime::IsNumeric(cle) ? runtime::ToInt16(cle) : IdxNomme(cle); }

DbFld& DbTbl::ListeFld(const std::string& cle) { return ElementA(Connue().champs_, PosFld(cle)); }
DbIdx& DbTbl::ListeIdx(const std::string& cle) { return ElementA(Connue().index_, PosIdx(cle)); }

std::int16_t DbTbl::PlaceFld(const std::string& nom) const {
  const auto champ = std::find_if(champs_.begin(), champs_.end(), [&](const auto& c) { return c->Nom() == nom; });
  return champ == champs_.end() ? std::int16_t{-1} : static_cast<std::int16_t>(champ - champs_.begin());
}

bool DbTbl::ExisteFld(const std::string& nom) const { return PosFld(nom) != -1; }

bool DbTbl::ExisteIdx(const std::string& nom) const { return PosIdx(db_ != nullptr ? db_->Moteur().NomIndex(nom_, nom) : nom) != -1; }

bool DbTbl::ExisteCpt() const {
  return std::any_of(Connue().champs_.begin(), champs_.end(), [](const auto& champ) { return champ->EstCpt(); });
}

bool DbTbl::ExisteIdxSurFld(const std::string& champ) const {
  const std::string nom = runtime::LowerCase(champ);
  for (const auto& index : Connue().index_) {
    for (std::int16_t i = 0; i < index->NbFld(); ++i) {
      if (index->NomFld(i) == nom) return true;
    }
  }
  return false;
}

void DbTbl::Nom(const std::string& nom) {
  nom_ = runtime::UpperCase(runtime::Trim(nom));
  if (liste_ != nullptr) liste_->NomsChanges();
}

void DbTbl::Owner(const std::string& owner) {
  owner_ = owner;
  if (liste_ != nullptr) liste_->NomsChanges();
}

bool DbTbl::EstTableCatalogue() const noexcept { return EstTableDuCatalogue(nom_); }

DataBase& DbTbl::DbRequis() const {
  if (db_ == nullptr) throw runtime::Error(runtime::kObjectNotSet);
  return *db_;
}

bool DbTbl::PrivilegeOK(const std::string& privilege) {
  DataBase& db = DbRequis();
  if (!db.Moteur().faits.privileges) return true;
  const std::string utilisateur = EnvironnementCourant().nomUtlConnecte();
  if (owner_ == utilisateur) return true;
  if (db.PrivilegeOK(privilege + " ANY TABLE")) return true;
  ado::Recordset rs = db.OpenRecordSet(db.Moteur().QuestionPrivilege(utilisateur, owner_, nom_, privilege), 0);
  const bool ok = !rs.Eof();
  rs.Close();
  return ok;
}

void DbTbl::AvecMvt(bool avecMvt) {
  if (avecMvt == avecMvt_) return;
  avecMvt_ = avecMvt;
  if (db_ == nullptr) return;
  if (const NomsDeLigne noms{{"NOM", nom_}}; TiennentDansUnLitteral(*db_, noms)) {
    db_->ExecuteSQL("UPDATE [$TBLKORV$] SET [MVT]=" + std::string(avecMvt ? "-1" : "0") + " WHERE [NOM]='" + nom_ + "'");
  } else {
    PoseDrapeau(*db_, kTblKorv, "MVT", avecMvt, noms);
  }
  for (std::int16_t i = 0; i < db_->NbRlt(); ++i) {
    const DbRlt& relation = db_->ListeRlt(i);
    if (!PropageMvt(relation.Typ(), relation.TypInv())) continue;
    const std::string source = db_->TblReel(relation.AliasSrc());
    const std::string cible = db_->TblReel(relation.AliasCbl());
    if (source != nom_ && cible != nom_) continue;
    const std::string& autre = source == nom_ ? cible : source;
    if (db_->ExisteTbl(autre)) db_->TableNommee(autre).AvecMvt(avecMvt);
  }
}

}  // namespace tamlo::db

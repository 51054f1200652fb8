#include "db/DbTbl.h"

#include <algorithm>

#include "db/DataBase.h"
#include "db/DbUtil.h"
#include "db/LignesCatalogue.h"
#include "db/Environnement.h"
#include "db/ListeTables.h"
#include "db/Recherche.h"
#include "db/kinds/Moteur.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db {

namespace {

constexpr auto kNomDe = [](const auto& element) -> const std::string& { return element->Nom(); };

/// Relations that the movement flag follows: both sides 0, or 0 on one side and 2 or 3 on the other.
bool PropageMvt(std::int32_t typ, std::int32_t typInv) {
  if (typ == 0) return typInv == 0 || typInv == 2 || typInv == 3;
  return typInv == 0 && (typ == 2 || typ == 3);
}

}  // namespace

std::int16_t DbTbl::FldNomme(const std::string& nom) const {
  return PositionNommee(Connue().champs_, runtime::LowerCase(runtime::Trim(nom)), kNomDe, dernierFld_);
}
std::int16_t DbTbl::IdxNomme(const std::string& nom) const {
  return PositionNommee(Connue().index_, runtime::UpperCase(runtime::Trim(nom)), kNomDe, dernierIdx_);
}

// A number is the position itself, unchecked.
std::int16_t DbTbl::PosFld(const std::string& cle) const { return runtime::IsNumeric(cle) ? runtime::ToInt16(cle) : FldNomme(cle); }
std::int16_t DbTbl::PosIdx(const std::string& cle) const { return runtime::IsNumeric(cle) ? runtime::ToInt16(cle) : IdxNomme(cle); }

DbFld& DbTbl::ListeFld(const std::string& cle) { return *EntreeA(Connue().champs_, PosFld(cle)); }
const DbFld& DbTbl::ListeFld(const std::string& cle) const { return *EntreeA(Connue().champs_, PosFld(cle)); }
DbIdx& DbTbl::ListeIdx(const std::string& cle) { return *EntreeA(Connue().index_, PosIdx(cle)); }
const DbIdx& DbTbl::ListeIdx(const std::string& cle) const { return *EntreeA(Connue().index_, PosIdx(cle)); }

Parcours<DbFld, std::unique_ptr<DbFld>> DbTbl::Champs() { return Parcours<DbFld, std::unique_ptr<DbFld>>(Connue().champs_); }
Parcours<const DbFld, std::unique_ptr<DbFld>> DbTbl::Champs() const {
  return Parcours<const DbFld, std::unique_ptr<DbFld>>(Connue().champs_);
}
Parcours<DbIdx, std::unique_ptr<DbIdx>> DbTbl::Index() { return Parcours<DbIdx, std::unique_ptr<DbIdx>>(Connue().index_); }
Parcours<const DbIdx, std::unique_ptr<DbIdx>> DbTbl::Index() const {
  return Parcours<const DbIdx, std::unique_ptr<DbIdx>>(Connue().index_);
}

std::int16_t DbTbl::PlaceFld(const std::string& nom) const {
  const auto champ = std::find_if(champs_.begin(), champs_.end(), [&](const auto& c) { return c->Nom() == nom; });
  return champ == champs_.end() ? std::int16_t{-1} : static_cast<std::int16_t>(champ - champs_.begin());
}

bool DbTbl::ExisteFld(const std::string& nom) const { return PosFld(nom) != -1; }

bool DbTbl::ExisteIdx(const std::string& nom) const { return PosIdx(db_ != nullptr ? db_->Moteur().NomIndex(nom_, nom) : nom) != -1; }

bool DbTbl::ExisteCpt() const {
  const auto champs = Champs();
  return std::any_of(champs.begin(), champs.end(), [](const DbFld& champ) { return champ.EstCpt(); });
}

bool DbTbl::ExisteIdxSurFld(const std::string& champ) const {
  const std::string nom = runtime::LowerCase(champ);
  const auto index = Index();
  return std::any_of(index.begin(), index.end(), [&](const DbIdx& idx) {
    return std::any_of(idx.Champs().begin(), idx.Champs().end(), [&](const DbIdx::Champ& sien) { return sien.nom == nom; });
  });
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

bool DbTbl::PrivilegeOK(const std::string& privilege) const {
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
  for (const DbRlt& relation : db_->Relations()) {
    if (!PropageMvt(relation.Typ(), relation.TypInv())) continue;
    const std::string source = db_->TblReel(relation.AliasSrc());
    const std::string cible = db_->TblReel(relation.AliasCbl());
    if (source != nom_ && cible != nom_) continue;
    const std::string& autre = source == nom_ ? cible : source;
    if (db_->ExisteTbl(autre)) db_->TableNommee(autre).AvecMvt(avecMvt);
  }
}

}  // namespace tamlo::db

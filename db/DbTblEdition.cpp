#include "db/DataBase.h"
#include "db/DbTbl.h"
#include "db/DbUtil.h"
#include "db/ddl/Generateur.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db {

namespace {

bool Porte(const DbIdx& idx, const std::string& champ) {
  for (std::int16_t i = 0; i < idx.NbFld(); ++i) {
    if (runtime::UpperCase(idx.NomFld(i)) == runtime::UpperCase(champ)) return true;
  }
  return false;
}

}  // namespace

void DbTbl::SauveFld(const DbFld& fld, ado::Recordset* rs) {
  if (EstTableCatalogue()) return;
  ado::Recordset propre;
  if (rs == nullptr) {
    if (!DbRequis().ExisteTbl(kFldKorv)) return;
    propre = DbRequis().OpenRecordSet("SELECT * FROM [$FLDKORV$]", 2);
  }
  AjouteLigne(rs != nullptr ? *rs : propre, kColonnesFld, ValeursFld(*this, fld, fld.No()));
  if (rs == nullptr) propre.Close();
}

void DbTbl::SauveIdx(const DbIdx& idx, ado::Recordset* rs) {
  if (EstTableCatalogue()) return;
  ado::Recordset propre;
  if (rs == nullptr) {
    if (!DbRequis().ExisteTbl(kIdxKorv)) return;
    propre = DbRequis().OpenRecordSet("SELECT * FROM [$IDXKORV$]", 2);
  }
  AjouteLigne(rs != nullptr ? *rs : propre, kColonnesIdx, ValeursIdx(*this, idx));
  if (rs == nullptr) propre.Close();
}

void DbTbl::AddFld(const std::string& nom, std::int32_t typ, std::int32_t lg, bool estCpt) {
  if (db_ != nullptr && PosFld(nom) != -1) return;
  const std::int16_t position = NbFld();
  (void)runtime::CheckedInt16(std::int64_t{position} + 1);
  auto champ = std::make_unique<DbFld>();
  champ->Init(nom, runtime::CheckedInt16(typ), lg, estCpt, this, position, false, "", "");
  if (db_ != nullptr) ddl::AjouteColonne(*db_, *this, std::string(runtime::Trim(nom)), typ, lg, estCpt);
  champs_.push_back(std::move(champ));
  if (db_ != nullptr) SauveFld(*champs_.back(), nullptr);
}

void DbTbl::SupFld(const std::string& nom) {
  const std::int16_t position = PosFld(nom);
  if (position < 0 || position >= NbFld()) return;
  const auto place = champs_.begin() + position;
  const std::string champ = (*place)->Nom();
  bool suivis = false;  // the backend has an index over the field: it may change with it
  if (db_ != nullptr) {
    for (const auto& idx : index_) {
      const auto base = Porte(*idx, champ) ? ddl::IndexRestant(*db_, *this, *idx) : std::nullopt;
      suivis = suivis || (base && !base->columns.empty());
    }
    const auto refus = runtime::IgnoringErrors([&] { db_->ExecuteSQL("ALTER TABLE [" + nom_ + "] DROP COLUMN [" + champ + "]"); });
    if (refus) return;
  }
  champs_.erase(place);
  if (db_ == nullptr) return;
  if (db_->ExisteTbl(kFldKorv)) {
    SupprimeLignes(*db_, kFldKorv, {{"TABLE", nom_}, {"NOM", champ}});
    RenumeroteChamps(*db_, nom_, position);
  }
  if (suivis) IndexSansChamp(champ);
}

void DbTbl::IndexSansChamp(const std::string& champ) {
  for (std::size_t i = 0; i < index_.size();) {
    DbIdx& idx = *index_[i++];
    if (!Porte(idx, champ)) continue;
    const auto reste = ddl::IndexRestant(*db_, *this, idx);
    if (!reste) continue;
    if (db_->ExisteTbl(kIdxKorv)) SupprimeLignes(*db_, kIdxKorv, {{"TABLE", nom_}, {"NOM", idx.Nom()}});
    if (reste->columns.empty()) {
      index_.erase(index_.begin() + static_cast<std::ptrdiff_t>(--i));
    } else {
      idx.Init(*reste, this);
      SauveIdx(idx, nullptr);
    }
  }
}

void DbTbl::AddIdx(const std::string& nom, const std::string& champs, bool primaire, bool unique) {
  if (PosIdx(nom) != -1) return;
  (void)runtime::CheckedInt16(std::int64_t{NbIdx()} + 1);
  const ado::Index description = LitChampsIdx(nom, champs, primaire, unique);
  if (db_ != nullptr) ddl::CreeIndex(*db_, *this, description);
  auto index = std::make_unique<DbIdx>();
  index->Init(description, this);
  index_.push_back(std::move(index));
  if (db_ != nullptr) SauveIdx(*index_.back(), nullptr);
}

void DbTbl::SupIdx(const std::string& nom) {
  const std::int16_t position = PosIdx(nom);
  if (position < 0 || position >= NbIdx()) return;
  const auto place = index_.begin() + position;
  const std::string index = (*place)->Nom();
  if (db_ != nullptr && !ddl::SupprimeIndex(*db_, *this, **place)) return;
  index_.erase(place);
  if (db_ == nullptr || !db_->ExisteTbl(kIdxKorv)) return;
  SupprimeLignes(*db_, kIdxKorv, {{"TABLE", nom_}, {"NOM", index}});
}

}  // namespace tamlo::db

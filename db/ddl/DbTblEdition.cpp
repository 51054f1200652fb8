#include <algorithm>
#include <optional>

#include "db/DataBase.h"
#include "db/DbTbl.h"
#include "db/LignesCatalogue.h"
#include "db/ddl/Generateur.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db {

namespace {

bool Porte(const DbIdx& idx, const std::string& champ) {
  const auto meme = [cle = runtime::UpperCase(champ)](const DbIdx::Champ& sien) { return runtime::UpperCase(sien.nom) == cle; };
  return std::any_of(idx.Champs().begin(), idx.Champs().end(), meme);
}

bool EstPosition(const std::string& cle, std::int16_t nombre) {
  if (!runtime::IsNumeric(cle)) return false;
  std::int16_t position = -1;
  runtime::IgnoringErrors([&] { position = runtime::ToInt16(cle); });
  return position >= 0 && position < nombre;
}

}  // namespace

void DbTbl::SauveFld(const DbFld& fld, ado::Recordset* rs) const {
  if (EstTableCatalogue()) return;
  ado::Recordset propre;
  if (rs == nullptr) {
    if (!DbRequis().ExisteTbl(kFldKorv)) return;
    propre = DbRequis().OpenRecordSet("SELECT * FROM [$FLDKORV$]", 2);
  }
  AjouteLigne(rs != nullptr ? *rs : propre, kColonnesFld, ValeursFld(*this, fld, fld.No()));
  if (rs == nullptr) propre.Close();
}

void DbTbl::SauveIdx(const DbIdx& idx, ado::Recordset* rs) const {
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
  (void)runtime::CheckedInt16(std::int64_t{NbFld()} + 1);
  NumerosChamps numeros;
  if (db_ != nullptr && !EstTableCatalogue()) {
    VerifieNomFld(*db_, nom);
    if (numerosTroues_) numeros = LitNumerosChamps(*db_, nom_);
  }
  const std::int16_t numero = numeros.Suivant(NbFld());
  auto champ = std::make_unique<DbFld>();
  champ->Init(nom, runtime::CheckedInt16(typ), lg, estCpt, this, numero, false, "", "");
  if (db_ != nullptr) ddl::AjouteColonne(*db_, *this, std::string(runtime::Trim(nom)), typ, lg, estCpt);
  numerosTroues_ = numerosTroues_ || numero != NbFld();
  champs_.push_back(std::move(champ));
  if (db_ == nullptr) return;
  DbFld& ajoute = *champs_.back();
  // A row that a column of that name left behind would make it two fields.
  if (numeros.De(ajoute.Nom())) SupprimeLignes(*db_, kFldKorv, {{"TABLE", nom_}, {"NOM", ajoute.Nom()}});
  try {
    SauveFld(ajoute, nullptr);
    return;
  } catch (const runtime::Error& erreur) {
    if (erreur.Number() != runtime::kDuplicateKey) throw;
  }
  // Its number was given to another field since the table was loaded.
  numerosTroues_ = true;
  ajoute.no_ = LitNumerosChamps(*db_, nom_).Suivant(ajoute.No());
  SauveFld(ajoute, nullptr);
}

void DbTbl::SupFld(const std::string& nom) {
  const std::int16_t position = FldNomme(nom);
  // A position of a field may be the name of a column that memory does not know: the backend is asked for that one.
  if (position == -1 && (db_ == nullptr || !EstPosition(nom, NbFld()))) return;
  const std::string champ = runtime::LowerCase(runtime::Trim(nom));
  std::vector<IndexTouche> touches;
  if (db_ != nullptr) {
    touches = IndexSur(champ);
    const std::string donne(runtime::Trim(nom));
    const auto refus = runtime::IgnoringErrors([&] { ddl::SupprimeColonne(*db_, *this, donne); });
    if (refus) return;
  }
  if (position != -1) champs_.erase(champs_.begin() + position);
  if (db_ == nullptr) return;
  OublieFld(champ, position);
  IndexSansChamp(touches);
}

void DbTbl::OublieFld(const std::string& champ, std::int16_t position) {
  if (!db_->ExisteTbl(kFldKorv)) return;
  std::optional<std::int16_t> numero;
  if (position != -1 && !numerosTroues_) numero = position;
  if (!numero) numero = LitNumerosChamps(*db_, nom_).De(champ);
  if (!numero) return;
  SupprimeLignes(*db_, kFldKorv, {{"TABLE", nom_}, {"NOM", champ}});
  try {
    RenumeroteChamps(*db_, nom_, *numero);
    return;
  } catch (const runtime::Error& erreur) {
    if (erreur.Number() != runtime::kDuplicateKey) throw;
  }
  // Another object has dropped a field since the table was loaded.
  numerosTroues_ = true;
  RenumeroteChamps(*db_, nom_, LitNumerosChamps(*db_, nom_).PremierLibre());
}

std::vector<DbTbl::IndexTouche> DbTbl::IndexSur(const std::string& champ) {
  std::vector<IndexTouche> touches;
  for (const auto& idx : index_) {
    if (!Porte(*idx, champ)) continue;
    // One that the backend does not have, or under no name that is known, cannot change with the field.
    const auto nomBase = ddl::NomIndexPresent(*db_, *this, *idx);
    if (nomBase && !nomBase->empty()) touches.push_back({idx.get(), *nomBase});
  }
  return touches;
}

void DbTbl::IndexSansChamp(const std::vector<IndexTouche>& touches) {
  for (const auto& [idx, nomBase] : touches) {
    const auto reste = ddl::IndexRestant(*db_, *this, *idx, nomBase);
    if (!reste) continue;
    if (db_->ExisteTbl(kIdxKorv)) SupprimeLignes(*db_, kIdxKorv, {{"TABLE", nom_}, {"NOM", idx->Nom()}});
    if (reste->columns.empty()) {
      std::erase_if(index_, [idx = idx](const auto& sien) { return sien.get() == idx; });
    } else {
      idx->Init(*reste, this);
      SauveIdx(*idx, nullptr);
    }
  }
}

void DbTbl::AddIdx(const std::string& nom, const std::string& champs, bool primaire, bool unique) {
  if (PosIdx(nom) != -1) return;
  (void)runtime::CheckedInt16(std::int64_t{NbIdx()} + 1);
  const ado::Index description = LitChampsIdx(std::string(runtime::Trim(nom)), champs, primaire, unique);
  if (db_ != nullptr && !EstTableCatalogue()) {
    DbIdx decrit;
    decrit.Init(description, nullptr);
    VerifieIdx(*db_, decrit);
  }
  if (db_ != nullptr) ddl::CreeIndex(*db_, *this, description);
  auto index = std::make_unique<DbIdx>();
  index->Init(description, this);
  index_.push_back(std::move(index));
  if (db_ != nullptr) SauveIdx(*index_.back(), nullptr);
}

void DbTbl::SupIdx(const std::string& nom) {
  const std::int16_t position = IdxNomme(nom);
  // The same as for a field.
  if (position == -1 && (db_ == nullptr || !EstPosition(nom, NbIdx()))) return;
  DbIdx inconnu;
  inconnu.Nom(runtime::UpperCase(runtime::Trim(nom)));
  const DbIdx& idx = position == -1 ? inconnu : *index_[static_cast<std::size_t>(position)];
  const std::string index = idx.Nom();
  if (db_ != nullptr && !ddl::SupprimeIndex(*db_, *this, idx)) return;
  if (position != -1) index_.erase(index_.begin() + position);
  if (db_ == nullptr || !db_->ExisteTbl(kIdxKorv)) return;
  SupprimeLignes(*db_, kIdxKorv, {{"TABLE", nom_}, {"NOM", index}});
}

}  // namespace tamlo::db

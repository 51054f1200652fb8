#include "ado/BulkInsert.h"
#include "db/DataBase.h"
#include "db/DbUtil.h"

namespace tamlo::db {

namespace {

/// A recordset of a catalog table: the caller's, or one opened here and closed at the end.
class RecordsetCatalogue {
 public:
  RecordsetCatalogue(DataBase& db, const std::string& table, ado::Recordset* donne) : donne_(donne) {
    if (donne_ == nullptr) propre_ = db.OpenRecordSet("SELECT * FROM [" + table + "]", 2);
  }
  [[nodiscard]] ado::Recordset& Rs() { return donne_ != nullptr ? *donne_ : propre_; }
  void Ferme() {
    if (donne_ == nullptr) propre_.Close();
  }

 private:
  ado::Recordset* donne_;
  ado::Recordset propre_;
};

}  // namespace

void DataBase::SauveTblCatalogue(DbTbl& tbl, ado::Recordset* rsTbl, ado::Recordset* rsFld, ado::Recordset* rsIdx) {
  if (EstTableDuCatalogue(tbl.Nom())) return;
  if (rsTbl == nullptr && !ExisteTbl(kTblKorv)) return;
  RecordsetCatalogue tables(*this, kTblKorv, rsTbl);
  AjouteLigne(tables.Rs(), kColonnesTbl, ValeursTbl(tbl));
  RecordsetCatalogue champs(*this, kFldKorv, rsFld);
  // By position: a field keeps its number when one before it is dropped, and the next one's number is their count.
  for (std::int16_t i = 0; i < tbl.NbFld(); ++i) {
    AjouteLigne(champs.Rs(), kColonnesFld, ValeursFld(tbl, tbl.ListeFld(std::to_string(i)), i));
  }
  RecordsetCatalogue index(*this, kIdxKorv, rsIdx);
  for (std::int16_t i = 0; i < tbl.NbIdx(); ++i) tbl.SauveIdx(tbl.ListeIdx(std::to_string(i)), &index.Rs());
  index.Ferme();
  champs.Ferme();
  tables.Ferme();
}

void DataBase::RecreeCatalogue() {
  SupTbl(kTblKorv);
  CreeCatTbl(*this);
  SupTbl(kFldKorv);
  CreeCatFld(*this);
  SupTbl(kIdxKorv);
  CreeCatIdx(*this);
  // Nobody else writes these three empty tables meanwhile: their rows go in batches, where the provider has them.
  ado::BulkInsert lignesTbl(Connexion(), kTblKorv, {kColonnesTbl.begin(), kColonnesTbl.end()});
  ado::BulkInsert lignesFld(Connexion(), kFldKorv, {kColonnesFld.begin(), kColonnesFld.end()});
  ado::BulkInsert lignesIdx(Connexion(), kIdxKorv, {kColonnesIdx.begin(), kColonnesIdx.end()});
  for (const EntreeTbl& entree : tables_) {
    DbTbl& tbl = *entree.tbl;
    if (EstTableDuCatalogue(tbl.Nom())) continue;
    lignesTbl.Add(ValeursTbl(tbl));
    for (std::int16_t i = 0; i < tbl.NbFld(); ++i) lignesFld.Add(ValeursFld(tbl, tbl.ListeFld(std::to_string(i)), i));
    for (std::int16_t i = 0; i < tbl.NbIdx(); ++i) lignesIdx.Add(ValeursIdx(tbl, tbl.ListeIdx(std::to_string(i))));
  }
  lignesIdx.Flush();
  lignesFld.Flush();
  lignesTbl.Flush();
}

}  // namespace tamlo::db

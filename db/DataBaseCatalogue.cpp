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
  tables.Rs().AddNew();
  tables.Rs().Fields("NOM").Value(tbl.Nom());
  tables.Rs().Fields("MVT").Value(tbl.AvecMvt());
  tables.Rs().Update();
  RecordsetCatalogue champs(*this, kFldKorv, rsFld);
  for (std::int16_t i = 0; i < tbl.NbFld(); ++i) tbl.SauveFld(tbl.ListeFld(std::to_string(i)), &champs.Rs());
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
  ado::Recordset rsTbl = OpenRecordSet("SELECT * FROM [$TBLKORV$]", 2);
  ado::Recordset rsFld = OpenRecordSet("SELECT * FROM [$FLDKORV$]", 2);
  ado::Recordset rsIdx = OpenRecordSet("SELECT * FROM [$IDXKORV$]", 2);
  for (const EntreeTbl& entree : tables_) SauveTblCatalogue(*entree.tbl, &rsTbl, &rsFld, &rsIdx);
  rsIdx.Close();
  rsFld.Close();
  rsTbl.Close();
}

}  // namespace tamlo::db

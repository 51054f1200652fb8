#include "ado/Types.h"
#include "db/DataBase.h"
#include "db/DbUtil.h"
#include "runtime/Dates.h"
#include "runtime/Error.h"

namespace tamlo::db {

namespace {

constexpr const char* kSonde = "TEST_DT";

/// True when "$TBLKORV$" knows the probe table, or is not there. A program that builds the catalog anew may have taken the row away while
/// another one wrote the rest.
bool Inscrite(DataBase& db) {
  if (!db.ExisteTbl(kTblKorv)) return true;
  ado::Recordset rs = db.OpenRecordSet("SELECT * FROM [$TBLKORV$]", 0);
  bool inscrite = false;
  for (; !rs.Eof() && !inscrite; rs.MoveNext()) inscrite = TexteCatalogue(rs.Fields("NOM").Value()) == kSonde;
  rs.Close();
  return inscrite;
}

}  // namespace

/// The probe table has its index and its rows in the catalog: what a program that died while it made them has left out is added.
void DataBase::CompleteSonde() {
  DbTbl& connue = TableNommee(kSonde);
  if (connue.ExisteFld("DT") && connue.ExisteIdx("DT") && Inscrite(*this)) return;
  auto lue = std::make_unique<DbTbl>();
  lue->Init(*this, Catalogue().Tables(kSonde), avecMvt_, nullptr, nullptr, "");
  lue->AddIdx("DT", "DT", false, false);
  for (EntreeTbl& entree : tables_) {
    if (entree.tbl.get() == &connue) entree.tbl = std::move(lue);
  }
  NomsChanges();
  DbTbl& complete = TableNommee(kSonde);
  complete.liste_ = this;
  for (const auto& [catalogue, colonne] : {std::pair{kTblKorv, "NOM"}, std::pair{kFldKorv, "TABLE"}, std::pair{kIdxKorv, "TABLE"}}) {
    if (ExisteTbl(catalogue)) SupprimeLignes(*this, catalogue, {{colonne, kSonde}});
  }
  SauveTblCatalogue(complete, nullptr, nullptr, nullptr);
}

void DataBase::TesteFormatDate() {
  if (typ_ != TypMySql) return;
  tableEnCours_ = "$TESTDT$";
  SupTbl("$TESTDT$");
  tableEnCours_ = kSonde;
  if (!ExisteTbl(kSonde)) {
    auto tbl = std::make_unique<DbTbl>();
    tbl->Nom(kSonde);
    tbl->AddFld("DT", ado::adDate, 0, false);
    tbl->AddIdx("DT", "DT", false, false);
    AddTbl(std::move(tbl));
  } else {
    const auto refus = runtime::IgnoringErrors([&] { CompleteSonde(); });
    if (refus) NoteErreur(kSonde, refus);
  }
  const auto refus = runtime::IgnoringErrors([&] {
    ado::Recordset rs =
        OpenRecordSet("SELECT * FROM [TEST_DT] WHERE [DT] = '" + runtime::FormatDate(runtime::Today(), "YYYY-MM-DD") + "'", 3);
    // A recordset may wait for its first row to be asked for before the server sees the statement.
    (void)rs.Eof();
    rs.Close();
  });
  if (refus) NoteErreur(kSonde, refus);
  fmtDate_ = refus ? "DD-MM-YYYY" : "YYYY-MM-DD";
}

}  // namespace tamlo::db

#include <memory>
#include <optional>
#include <utility>

#include "ado/Connection.h"
#include "ado/Types.h"
#include "db/DataBase.h"
#include "db/DbUtil.h"
#include "db/LignesCatalogue.h"
#include "db/Patience.h"
#include "db/kinds/Moteur.h"
#include "runtime/Conversions.h"
#include "runtime/Dates.h"
#include "runtime/Error.h"

namespace tamlo::db {

namespace {

constexpr const char* kSonde = "TEST_DT";

/// True when the catalog has all three rows of the probe table, or is not there. A program that builds the catalog anew may have taken them
/// away, or have written some of them only, while another one did the same.
bool Inscrite(DataBase& db) {
  for (const char* nom : kTablesReconstruites) {
    if (!db.ExisteTbl(nom)) return true;
  }
  ado::Recordset rs;
  rs.Open(
      "SELECT (SELECT COUNT(*) FROM `$TBLKORV$` WHERE `NOM`='TEST_DT')+(SELECT COUNT(*) FROM `$FLDKORV$` WHERE `TABLE`='TEST_DT' AND "
      "`NOM`='dt')+(SELECT COUNT(*) FROM `$IDXKORV$` WHERE `TABLE`='TEST_DT' AND `NOM`='DT')",
      &db.Connexion(), ado::adOpenForwardOnly, ado::adLockUnspecified, ado::adOptionUnspecified);
  const bool inscrite = !rs.Eof() && runtime::ToInt32(rs.Fields(0).Value()) == 3;
  rs.Close();
  return inscrite;
}

/// The probe table has its index and its rows in the catalog: what a program that died while it made them has left out is added.
void CompleteSonde(DataBase& db) {
  if (db.EstListee(kSonde) && db.TableNommee(kSonde).ExisteFld("DT") && db.TableNommee(kSonde).ExisteIdx("DT") && Inscrite(db)) return;
  auto lue = std::make_unique<DbTbl>();
  lue->Init(db, db.Catalogue().Tables(kSonde), db.AvecMvt(), nullptr, nullptr, "");
  lue->AddIdx("DT", "DT", false, false);
  const DbTbl& sonde = db.TablesListees().Remplace(std::move(lue));
  // Together: two programs that do this at once would take each other's rows away.
  std::optional<ado::Transaction> ensemble;
  (void)runtime::IgnoringErrors([&] { ensemble.emplace(db.Connexion()); });
  for (const auto& [catalogue, colonne] : {std::pair{kTblKorv, "NOM"}, std::pair{kFldKorv, "TABLE"}, std::pair{kIdxKorv, "TABLE"}}) {
    if (db.ExisteTbl(catalogue)) SupprimeLignes(db, catalogue, {{colonne, kSonde}});
  }
  db.SauveTblCatalogue(sonde, nullptr, nullptr, nullptr);
  if (ensemble) ensemble->Commit();
}

/// What another program does to the probe table at the same moment is waited for: who has not made it completes it.
void EtablitSonde(DataBase& db) {
  for (Patience patience;;) {
    try {
      if (db.ExisteTbl(kSonde)) return CompleteSonde(db);
      auto tbl = std::make_unique<DbTbl>();
      tbl->Nom(kSonde);
      tbl->AddFld("DT", ado::adDate, 0, false);
      tbl->AddIdx("DT", "DT", false, false);
      db.AddTbl(std::move(tbl));
      return;
    } catch (const runtime::Error& erreur) {
      if (!db.Moteur().DUnAutreProgramme(erreur) || !patience.Encore()) throw;
    }
    db.Catalogue().Refresh();
  }
}

}  // namespace

void DataBase::TesteFormatDate() {
  if (!Moteur().faits.sondeDates) return;
  tableEnCours_ = "$TESTDT$";
  SupTbl("$TESTDT$");
  tableEnCours_ = kSonde;
  const bool connue = ExisteTbl(kSonde);
  try {
    EtablitSonde(*this);
  } catch (const runtime::Error& erreur) {
    if (!connue) throw;
    NoteErreur(kSonde, {erreur.Number(), erreur.Description()});
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

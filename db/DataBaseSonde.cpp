#include "ado/Types.h"
#include "db/DataBase.h"
#include "runtime/Dates.h"
#include "runtime/Error.h"

namespace tamlo::db {

void DataBase::TesteFormatDate() {
  if (typ_ != TypMySql) return;
  SupTbl("$TESTDT$");
  if (!ExisteTbl("TEST_DT")) {
    auto tbl = std::make_unique<DbTbl>();
    tbl->Nom("TEST_DT");
    tbl->AddFld("DT", ado::adDate, 0, false);
    tbl->AddIdx("DT", "DT", false, false);
    AddTbl(std::move(tbl));
  }
  const auto refus = runtime::IgnoringErrors([&] {
    ado::Recordset rs =
        OpenRecordSet("SELECT * FROM [TEST_DT] WHERE [DT] = '" + runtime::FormatDate(runtime::Today(), "YYYY-MM-DD") + "'", 3);
    // A recordset may wait for its first row to be asked for before the server sees the statement.
    (void)rs.Eof();
    rs.Close();
  });
  fmtDate_ = refus ? "DD-MM-YYYY" : "YYYY-MM-DD";
}

}  // namespace tamlo::db

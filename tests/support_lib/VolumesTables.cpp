#include "tests/support_lib/VolumesTables.h"

#include <memory>
#include <utility>

namespace tamlo::tests {

void MakeVolumesTables(db::DataBase& base) {
  auto utl = std::make_unique<db::DbTbl>();
  utl->Nom("UTL");
  utl->AddFld("IDUTL", ado::adInteger, 4, false);
  utl->AddFld("NOM", ado::adVarWChar, 30, false);
  utl->AddFld("MOTPASSE", ado::adVarWChar, 10, false);
  utl->AddIdx("PK", "IDUTL", true, true);
  base.AddTbl(std::move(utl));
  auto vlmUtl = std::make_unique<db::DbTbl>();
  vlmUtl->Nom("VLMUTL");
  for (const char* field : {"IDUTL", "IDVLM"}) vlmUtl->AddFld(field, ado::adInteger, 4, false);
  vlmUtl->AddFld("NIVEAU", ado::adSmallInt, 2, false);
  vlmUtl->AddIdx("PK", "IDUTL;IDVLM", true, true);
  base.AddTbl(std::move(vlmUtl));
}

}  // namespace tamlo::tests

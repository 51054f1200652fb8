#include <iostream>

#include "app/Fournisseurs.h"
#include "db/DataBase.h"
#include "jet/Database.h"
#include "runtime/Conversions.h"

int main() {
  tamlo::app::EnregistreFournisseurs();
  jet::Database::Create("EXEMPLE.MDB");
  tamlo::db::DataBase base;
  if (!base.Ouvre("EXEMPLE.MDB", tamlo::db::TypJet, true)) return 1;
  base.ExecuteSQL("create table [UTL] ([IDUTL] long, [NOM] text(30))");
  base.ExecuteSQL("insert into [UTL] values (1, 'Dupont')");
  for (auto rs = base.OpenRecordSet("select * from [UTL]", 0); !rs.Eof(); rs.MoveNext()) {
    std::cout << tamlo::runtime::ToText(rs.Fields("NOM").Value()) << "\n";
  }
  base.Ferme();
}

#include <iostream>

#include "app/Fournisseurs.h"
#include "db/DataBase.h"
#include "runtime/Conversions.h"

int main() {
  tamlo::app::EnregistreFournisseurs();
  tamlo::db::DataBase base;
  if (!base.Ouvre("DRIVER=SQLite3;Database=exemple.db", tamlo::db::TypOdbc, true)) return 1;
  base.ExecuteSQL("create table [UTL] ([IDUTL] integer, [NOM] varchar(30))");
  base.ExecuteSQL("insert into [UTL] values (1, 'Dupont')");
  for (auto rs = base.OpenRecordSet("select * from [UTL]", 0); !rs.Eof(); rs.MoveNext()) {
    std::cout << tamlo::runtime::ToText(rs.Fields("NOM").Value()) << "\n";
  }
  base.Ferme();
}

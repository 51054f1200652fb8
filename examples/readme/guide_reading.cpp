#include <filesystem>
#include <iostream>

#include "db/DataBase.h"
#include "jet/Database.h"
#include "providers/Fournisseurs.h"
#include "runtime/Conversions.h"

int main() {
  tamlo::providers::EnregistreFournisseurs();
  if (!std::filesystem::exists("LECTURE.MDB")) jet::Database::Create("LECTURE.MDB");
  tamlo::db::DataBase base;
  if (!base.Ouvre("LECTURE.MDB", tamlo::db::TypJet, true)) return 1;
  if (!base.ExisteTbl("VILLE")) {
    base.ExecuteSQL("create table [VILLE] ([NOM] text(30), [HABITANTS] long)");
    base.ExecuteSQL("insert into [VILLE] values ('Vannes', 53000)");
    base.ExecuteSQL("insert into [VILLE] values ('Auray', 14000)");
  }
  auto rs = base.OpenRecordSet("select [NOM], [HABITANTS] from [VILLE] where [HABITANTS] > 20000 order by [NOM]", 0);
  for (; !rs.Eof(); rs.MoveNext()) {
    std::cout << tamlo::runtime::ToText(rs.Fields("NOM").Value()) << " " << tamlo::runtime::ToText(rs.Fields(1).Value()) << "\n";
  }
  base.Ferme();
}

#include <cstdint>
#include <filesystem>
#include <iostream>

#include "ado/Command.h"
#include "db/DataBase.h"
#include "jet/Database.h"
#include "providers/Fournisseurs.h"
#include "runtime/Conversions.h"

int main() {
  tamlo::providers::EnregistreFournisseurs();
  if (!std::filesystem::exists("EXEMPLE.MDB")) jet::Database::Create("EXEMPLE.MDB");
  tamlo::db::DataBase base;
  if (!base.Ouvre("EXEMPLE.MDB", tamlo::db::TypJet, true)) {
    std::cerr << base.ListeErr(0).description << "\n";
    return 1;
  }
  if (!base.ExisteTbl("UTL")) base.ExecuteSQL("create table [UTL] ([IDUTL] long, [NOM] text(30))");
  tamlo::ado::Command ajoute;  // values never become part of the statement's text
  ajoute.ActiveConnection(&base.Connexion());
  ajoute.CommandText("insert into [UTL] values (?, ?)");
  ajoute.Parameters().Append({.value = std::int32_t{1}});
  ajoute.Parameters().Append({.value = "L'Hermite"});
  ajoute.Execute();
  for (auto rs = base.OpenRecordSet("select * from [UTL]", 0); !rs.Eof(); rs.MoveNext()) {
    std::cout << tamlo::runtime::ToText(rs.Fields("NOM").Value()) << "\n";
  }
  base.Ferme();
}

#include <cstdint>
#include <filesystem>
#include <iostream>

#include "ado/Command.h"
#include "db/DataBase.h"
#include "jet/Database.h"
#include "providers/Fournisseurs.h"
#include "runtime/Error.h"

int main() {
  tamlo::providers::EnregistreFournisseurs();
  if (!std::filesystem::exists("ECRITURE.MDB")) jet::Database::Create("ECRITURE.MDB");
  tamlo::db::DataBase base;
  if (!base.Ouvre("ECRITURE.MDB", tamlo::db::TypJet, true)) return 1;
  if (!base.ExisteTbl("CLIENT")) base.ExecuteSQL("create table [CLIENT] ([CODE] long primary key, [NOM] text(30))");

  const std::int32_t code = base.GetCptSuiv("CLIENT", "CODE");  // the largest one plus 1
  auto rs = base.OpenRecordSet("select * from [CLIENT]", 2);
  rs.AddNew();
  rs.Fields("CODE").Value(code);
  rs.Fields("NOM").Value("O'Brien");
  rs.Update();

  tamlo::ado::Command corrige;
  corrige.ActiveConnection(&base.Connexion());
  corrige.CommandText("update [CLIENT] set [NOM] = :nom where [CODE] = :code");
  corrige.Parameters().Append({.name = "nom", .value = "L'Hermite"});
  corrige.Parameters().Append({.name = "code", .value = code});
  std::cout << corrige.Execute() << "\n";  // rows affected

  try {
    rs.AddNew();
    rs.Fields("CODE").Value(code);
    rs.Update();
  } catch (const tamlo::runtime::Error& erreur) {
    std::cout << erreur.Number() << "\n";  // 3022: a row with this key is there, on every kind
    rs.CancelUpdate();
  }
  base.Ferme();
}

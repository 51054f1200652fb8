#include <cstdint>
#include <filesystem>
#include <iostream>

#include "db/DataBase.h"
#include "jet/Database.h"
#include "providers/Fournisseurs.h"
#include "runtime/Error.h"

namespace {

bool Ouvre(tamlo::db::DataBase& base, const char* fichier) {
  if (!std::filesystem::exists(fichier)) jet::Database::Create(fichier);
  return base.Ouvre(fichier, tamlo::db::TypJet, true);
}

}  // namespace

int main() {
  tamlo::providers::EnregistreFournisseurs();
  tamlo::db::DataBase source;
  tamlo::db::DataBase cible;
  if (!Ouvre(source, "SOURCE.MDB") || !Ouvre(cible, "CIBLE.MDB")) return 1;
  if (!source.ExisteTbl("VILLE")) {
    source.ExecuteSQL("create table [VILLE] ([NOM] text(30), [HABITANTS] long)");
    source.ExecuteSQL("insert into [VILLE] values ('Vannes', 53000)");
    source.Ferme();  // what a statement has made is listed by the next opening
    if (!Ouvre(source, "SOURCE.MDB")) return 1;
  }
  cible.SupTbl("VILLE");
  try {
    const auto bilan = source.TblCopie("VILLE", cible, true, true, {.progression = [](std::int64_t lignes) { return lignes < 1'000'000; }});
    std::cout << bilan.ecrites << "\n";
  } catch (const tamlo::db::ErreurCopie& erreur) {
    std::cerr << erreur.Description() << ": " << erreur.AuMoins() << " lignes sont dans la cible\n";
    return 1;
  }
  const auto verifie = source.VerifieCopie("VILLE", cible);
  std::cout << (verifie.Egales() ? "égales" : verifie.premiereDifference) << "\n";
  source.Ferme();
  cible.Ferme();
}

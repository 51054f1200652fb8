// consumer FILE: makes an SQLite file with a table through the layer, copies the table into a second file and compares the two.
#include <iostream>
#include <string>

#include "providers/Fournisseurs.h"
#include "db/DataBase.h"
#include "runtime/Error.h"

namespace {

constexpr const char* kTable = "create table if not exists [UTL] ([IDUTL] integer primary key, [NOM] varchar(30))";

/// An empty table. The layer creates none on a generic ODBC source: the statement does, and the second opening lists what it made.
void Ouvre(tamlo::db::DataBase& base, const std::string& fichier) {
  const std::string nom = "DRIVER=SQLite3;Database=" + fichier;
  if (!base.Ouvre(nom, tamlo::db::TypOdbc, true)) throw tamlo::runtime::Error(5);
  base.ExecuteSQL(kTable);
  base.ExecuteSQL("delete from [UTL]");
  base.Ferme();
  if (!base.Ouvre(nom, tamlo::db::TypOdbc, true)) throw tamlo::runtime::Error(5);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  try {
    tamlo::providers::EnregistreFournisseurs();
    tamlo::db::DataBase source;
    tamlo::db::DataBase cible;
    Ouvre(source, argv[1]);
    Ouvre(cible, std::string(argv[1]) + "2");
    source.ExecuteSQL("insert into [UTL] values (1, 'Dupont')");
    source.ExecuteSQL("insert into [UTL] values (2, 'Élodie')");
    const auto copie = source.CopieDonnees("UTL", cible);
    const auto bilan = source.VerifieCopie("UTL", cible);
    std::cout << copie.ecrites << " lignes, " << bilan.differences << " difference\n";
    source.Ferme();
    cible.Ferme();
    return bilan.Egales() && copie.ecrites == 2 ? 0 : 1;
  } catch (const tamlo::runtime::Error& erreur) {
    std::cerr << erreur.Number() << " " << erreur.Description() << "\n";
    return 1;
  }
}

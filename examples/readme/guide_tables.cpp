#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <utility>

#include "ado/Types.h"
#include "db/DataBase.h"
#include "jet/Database.h"
#include "providers/Fournisseurs.h"

int main() {
  tamlo::providers::EnregistreFournisseurs();
  if (!std::filesystem::exists("TABLES.MDB")) jet::Database::Create("TABLES.MDB");
  tamlo::db::DataBase base;
  if (!base.Ouvre("TABLES.MDB", tamlo::db::TypJet, true)) return 1;
  if (!base.ExisteTbl("ARTICLE")) {
    auto article = std::make_unique<tamlo::db::DbTbl>();
    article->Nom("ARTICLE");
    article->AddFld("NUMERO", tamlo::ado::adInteger, 4, true);  // a counter
    article->AddFld("LIBELLE", tamlo::ado::adVarWChar, 40, false);
    article->AddFld("PRIX", tamlo::ado::adDouble, 8, false);
    article->AddIdx("PRIMARY", "NUMERO", true, true);
    article->AddIdx("PARPRIX", "-PRIX;LIBELLE", false, false);  // dearest first
    base.AddTbl(std::move(article));
  }
  tamlo::db::DbTbl& article = base.ListeTbl("ARTICLE");
  for (std::int16_t i = 0; i < article.NbFld(); ++i) {
    const auto& champ = article.ListeFld(std::to_string(i));
    std::cout << champ.Nom() << " " << champ.Typ() << (champ.EstCpt() ? " compteur" : "") << "\n";
  }
  std::cout << article.ListeIdx("PARPRIX").SFld() << "\n";  // -prix;libelle
  base.Ferme();
}

#include "tests/attaque/Terrain.h"

#include <algorithm>
#include <set>
#include <stdexcept>

#include "db/Environnement.h"
#include "tests/attaque/Lecteur.h"
#include "tests/support_lib/FakePlatform.h"

namespace tamlo::attaque {

namespace {

std::string Abrege(const std::string& cellule) {
  std::string dite = cellule.substr(0, 60);
  return dite + (cellule.size() > 60 ? "... (" + std::to_string(cellule.size()) + " bytes)" : "");
}

std::string EcartsRangees(const std::string& nom, const TableModele& table, const std::map<std::int32_t, std::vector<Cellule>>& lues) {
  std::string ecarts;
  for (const auto& [id, rangee] : table.rangees) {
    const auto lue = lues.find(id);
    if (lue == lues.end()) {
      ecarts += nom + ": row " + std::to_string(id) + " is LOST\n";
      continue;
    }
    for (std::size_t i = 0; i < rangee.size(); ++i) {
      if (lue->second.size() <= i || lue->second[i] != rangee[i]) {
        ecarts += nom + ": row " + std::to_string(id) + " column " + table.colonnes[i].nom + " is <" +
                  Abrege(lue->second.size() > i ? lue->second[i] : "") + "> and not <" + Abrege(rangee[i]) + ">\n";
      }
    }
  }
  for (const auto& [id, rangee] : lues) {
    if (!table.rangees.contains(id)) ecarts += nom + ": row " + std::to_string(id) + " should not be there\n";
  }
  return ecarts;
}

}  // namespace

Terrain& TerrainNomme(const std::string& nom) {
  (void)tests::TousLesBackends();
  for (Terrain& (*terrain)() : {&TerrainAccess, &TerrainMariaDb, &TerrainSqlite, &TerrainPostgres, &TerrainAmas}) {
    if (terrain().Nom() == nom) return terrain();
  }
  throw std::invalid_argument(nom);
}

void Ouvre(db::DataBase& base, const Terrain& terrain, const std::string& nom) {
  auto& environnement = db::EnvironnementCourant();
  const bool serveur = terrain.EstServeur();
  environnement.nomLogin = serveur ? "tamlo" : "";
  environnement.pwdLogin = serveur ? "tamlo" : "";
  tests::FakePlatform plateforme;
  if (!base.Ouvre(terrain.Acces(nom), terrain.Kind(), true))
    throw std::runtime_error(plateforme.messages.at(0).title + " " + plateforme.messages.at(0).text);
}

std::string Ecarts(const Terrain& terrain, const Etat& attendu, const Lecture& lue, bool structure) {
  std::string ecarts = lue.defauts;
  for (const auto& [nom, table] : attendu.tables) {
    const auto colonnes = lue.colonnes.find(nom);
    if (colonnes == lue.colonnes.end()) {
      ecarts += "table " + nom + " is LOST\n";
      continue;
    }
    std::vector<std::string> noms;
    for (const Colonne& colonne : table.colonnes) noms.push_back(colonne.nom);
    if (colonnes->second != noms) ecarts += "table " + nom + " has other columns\n";
    const auto rangees = lue.rangees.find(nom);
    ecarts += EcartsRangees(nom, table, rangees == lue.rangees.end() ? std::map<std::int32_t, std::vector<Cellule>>() : rangees->second);
    if (!structure || !terrain.Catalogue()) continue;
    const auto champs = lue.champs.find(nom);
    int numero = 0;
    std::set<std::string> auCatalogue;
    if (champs != lue.champs.end()) {
      for (const auto& [no, champ] : champs->second) {
        if (no != numero++) ecarts += "catalog: " + nom + " has a gap before " + champ + "\n";
        if (!auCatalogue.insert(champ).second) ecarts += "catalog: " + nom + " has " + champ + " twice\n";
      }
    }
    if (auCatalogue != std::set<std::string>(noms.begin(), noms.end())) ecarts += "catalog: " + nom + " has other fields\n";
    const auto index = lue.index.find(nom);
    if ((index == lue.index.end() ? std::map<std::string, std::string>() : index->second) != table.index)
      ecarts += "catalog: " + nom + " has other indexes\n";
  }
  for (const auto& [nom, colonnes] : lue.colonnes) {
    if (!attendu.tables.contains(nom)) ecarts += "table " + nom + " should not be there\n";
  }
  if (structure && terrain.Catalogue()) {
    std::set<std::string> attendues;
    for (const auto& [nom, table] : attendu.tables) attendues.insert(nom);
    std::set<std::string> lues(lue.tables.begin(), lue.tables.end());
    lues.erase("TEST_DT");
    if (lues != attendues ||
        lues.size() + (std::find(lue.tables.begin(), lue.tables.end(), "TEST_DT") != lue.tables.end() ? 1 : 0) != lue.tables.size())
      ecarts += "catalog: other tables\n";
  }
  return ecarts;
}

}  // namespace tamlo::attaque
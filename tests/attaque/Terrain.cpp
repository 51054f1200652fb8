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

/// What the catalog says of a table's fields and indexes, against the model.
std::string EcartsCatalogue(const std::string& nom, const TableModele& table, const Lecture& lue) {
  std::string ecarts;
  std::set<std::string> auCatalogue;
  if (const auto champs = lue.champs.find(nom); champs != lue.champs.end()) {
    int numero = 0;
    for (const auto& [no, champ] : champs->second) {
      if (no != numero++) ecarts += "catalog: " + nom + " has a gap before " + champ + "\n";
      if (!auCatalogue.insert(champ).second) ecarts += "catalog: " + nom + " has " + champ + " twice\n";
    }
  }
  std::set<std::string> noms;
  for (const Colonne& colonne : table.colonnes) noms.insert(colonne.nom);
  if (auCatalogue != noms) ecarts += "catalog: " + nom + " has other fields\n";
  const auto index = lue.index.find(nom);
  if ((index == lue.index.end() ? std::map<std::string, std::string>() : index->second) != table.index)
    ecarts += "catalog: " + nom + " has other indexes\n";
  return ecarts;
}

std::string EcartsTable(const std::string& nom, const TableModele& table, const Lecture& lue) {
  const auto colonnes = lue.colonnes.find(nom);
  if (colonnes == lue.colonnes.end()) return "table " + nom + " is LOST\n";
  std::vector<std::string> noms;
  for (const Colonne& colonne : table.colonnes) noms.push_back(colonne.nom);
  std::string ecarts;
  if (colonnes->second != noms) ecarts += "table " + nom + " has other columns\n";
  const auto rangees = lue.rangees.find(nom);
  return ecarts +
         EcartsRangees(nom, table, rangees == lue.rangees.end() ? std::map<std::int32_t, std::vector<Cellule>>() : rangees->second);
}

/// The catalog's list of tables, in which each stands once.
std::string EcartsListe(const Etat& attendu, const Lecture& lue) {
  std::vector<std::string> attendues;
  for (const auto& [nom, table] : attendu.tables) attendues.push_back(nom);
  std::vector<std::string> lues(lue.tables.begin(), lue.tables.end());
  std::sort(lues.begin(), lues.end());
  if (const auto essai = std::find(lues.begin(), lues.end(), "TEST_DT"); essai != lues.end()) lues.erase(essai);
  return lues == attendues ? "" : "catalog: other tables\n";
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
  const bool catalogue = structure && terrain.Catalogue();
  std::string ecarts = lue.defauts;
  for (const auto& [nom, table] : attendu.tables) {
    ecarts += EcartsTable(nom, table, lue);
    if (catalogue && lue.colonnes.contains(nom)) ecarts += EcartsCatalogue(nom, table, lue);
  }
  for (const auto& [nom, colonnes] : lue.colonnes) {
    if (!attendu.tables.contains(nom)) ecarts += "table " + nom + " should not be there\n";
  }
  if (catalogue) ecarts += EcartsListe(attendu, lue);
  return ecarts;
}

}  // namespace tamlo::attaque

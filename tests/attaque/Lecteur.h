#pragma once

#include <string>
#include <vector>

#include "tests/attaque/Terrain.h"

/// What the readers of every kind share: programs of others that are run and what they print.
namespace tamlo::attaque {

/// The output of a command line; one that fails is told in defauts.
[[nodiscard]] std::string Lance(const std::string& commande, std::string* defauts = nullptr);
[[nodiscard]] std::string PourShell(const std::string& texte);
/// Between two marks, doubled inside.
[[nodiscard]] std::string Double(const std::string& texte, char marque);
[[nodiscard]] std::string DeHexa(const std::string& chiffres);
[[nodiscard]] std::string EnHexa(const std::string& octets);
/// What stands in a connection string behind a key, up to the next semicolon.
[[nodiscard]] std::string Apres(const std::string& texte, const std::string& cle);
/// The layer's own tables.
[[nodiscard]] bool EstInterne(const std::string& table);
[[nodiscard]] bool EstTexte(std::int16_t typ);
/// Keeps a row; a second one of its ID is a fault.
void Range(Lecture& lue, const std::string& table, const TableModele& modele, const std::vector<std::string>& dites);

[[nodiscard]] Terrain& TerrainAccess();
[[nodiscard]] Terrain& TerrainMariaDb();
[[nodiscard]] Terrain& TerrainSqlite();
[[nodiscard]] Terrain& TerrainPostgres();
[[nodiscard]] Terrain& TerrainAmas();

}  // namespace tamlo::attaque

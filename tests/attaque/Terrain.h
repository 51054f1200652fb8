#pragma once

#include <memory>
#include <string>
#include <vector>

#include "db/DataBase.h"
#include "tests/attaque/Modele.h"
#include "tests/backends/Backend.h"

namespace tamlo::attaque {

/// What a reader that is not ours found in a database.
struct Lecture {
  std::map<std::string, std::vector<std::string>> colonnes;  ///< of each table but the layer's own, in the backend's order
  std::map<std::string, std::map<std::int32_t, std::vector<Cellule>>> rangees;
  std::map<std::string, std::map<int, std::string>> champs;         ///< rows of $FLDKORV$: table, number, name
  std::map<std::string, std::map<std::string, std::string>> index;  ///< rows of $IDXKORV$: table, name, list
  std::vector<std::string> tables;                                  ///< rows of $TBLKORV$
  std::string defauts;  ///< two rows of one ID, an answer that cannot be read, what the engine's check says
};

/// A kind of database with its foreign reader: mdb-tables and mdb-export, mariadb, sqlite3, psql.
class Terrain {
 public:
  virtual ~Terrain() = default;
  [[nodiscard]] virtual std::string Nom() const = 0;
  [[nodiscard]] virtual std::int16_t Kind() const = 0;
  [[nodiscard]] virtual Particularites Traits() const = 0;
  [[nodiscard]] virtual std::string BaseVide() = 0;
  /// What opens the base that BaseVide has named: another node each time where there are several.
  [[nodiscard]] virtual std::string Acces(const std::string& base) const { return base; }
  [[nodiscard]] virtual Lecture Lit(const std::string& base, const Etat& attendu) = 0;
  /// The layer makes tables and indexes and keeps the catalog.
  [[nodiscard]] virtual bool Catalogue() const { return true; }
  [[nodiscard]] virtual std::string TypeBrut(const Colonne& /*colonne*/) const { return {}; }
  /// How the dialect writes a name.
  [[nodiscard]] virtual std::string Entre(const std::string& nom) const { return "[" + nom + "]"; }
  /// False for names that the driver takes for something else.
  [[nodiscard]] virtual bool Prend(const std::string& /*nom*/) const { return true; }
  [[nodiscard]] virtual bool ConnaitChamps() const { return true; }  ///< the layer reads definitions there
  [[nodiscard]] virtual bool StructureEnTransaction() const { return true; }
  [[nodiscard]] virtual bool Imbriquees() const { return false; }  ///< transactions inside each other
  /// A server that can be killed.
  [[nodiscard]] virtual bool EstServeur() const { return false; }
  virtual void Tue() {}
  virtual void Releve() {}
};

[[nodiscard]] Terrain& TerrainNomme(const std::string& nom);

/// Opens as the layer's user does; std::runtime_error with the message when it does not open.
void Ouvre(db::DataBase& base, const Terrain& terrain, const std::string& nom);

/// What of a reading is not as it must be; empty when all is. structure: also names and numbers in the catalog.
[[nodiscard]] std::string Ecarts(const Terrain& terrain, const Etat& attendu, const Lecture& lue, bool structure);

}  // namespace tamlo::attaque

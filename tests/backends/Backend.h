#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "db/DataBase.h"

namespace tamlo::tests {

/// In what backends differ. Each member is one sentence; a test asks for the member and never for the backend.
struct Capacites {
  bool creeTables = true;         ///< The layer creates tables and indexes; where it does not, tests create them by a plain statement.
  bool ajouteColonnes = true;     ///< The layer can add a column.
  bool clePrimaire = false;       ///< A primary key is kept as such; elsewhere it becomes a unique index.
  bool indexSimple = true;        ///< A new table takes an index that is not unique.
  bool indexDescendant = true;    ///< The backend tells which fields of an index are descending.
  bool numerique131 = true;       ///< A field of type 131 gets a column.
  bool transactions = true;       ///< RollBack undoes; on SQL Server the layer works without transactions.
  bool sondeDates = false;        ///< The opening finds the date literal format, with the help of table TEST_DT.
  bool nomPrimary = false;        ///< The primary index is known by the one name PRIMARY.
  bool litteraux = true;          ///< Text literals of the dialect are understood.
  bool retireContraintes = true;  ///< The catalog of indexes is written by the layer, so its agreement can be looked at.
  bool texteNul = true;        ///< Text and memo columns made by the layer take the null; elsewhere they take the empty text in its place.
  bool indexPrefixes = false;  ///< The backend knows an index by the table's name, "_" and the index's name.
  bool clesEtrangeres = true;  ///< A foreign key can be added to a table that exists, and keeps what it leans on from being dropped.
  bool clesSurIndex = true;    ///< A foreign key leans on a unique index; elsewhere it wants a constraint.
  bool gardeChampsDeCles = true;  ///< A field that a foreign key leans on is not dropped; the engine drops it with the key.
  bool compteurs = false;         ///< The layer knows which fields are counters.
  bool booleenFaux = true;        ///< A truth value that is not written is false; elsewhere it is unknown.
  bool booleenNul = true;         ///< A truth value can be unknown; elsewhere an unknown one is false.
  bool pointsDeReprise = true;    ///< A batch that fails inside a transaction is undone alone; the engine loses the transaction with it.
  bool longueurs = true;          ///< A text column holds no more characters than it was declared with.
};

/// A kind of database that the suite runs on. Made on first use and kept until the program ends.
class Backend {
 public:
  virtual ~Backend() = default;

  [[nodiscard]] virtual std::string Nom() const = 0;
  [[nodiscard]] virtual std::int16_t Kind() const = 0;
  [[nodiscard]] virtual Capacites Capacite() const = 0;
  /// The user and password of the login.
  [[nodiscard]] virtual std::string Utilisateur() const { return {}; }
  [[nodiscard]] virtual std::string MotDePasse() const { return {}; }
  /// Makes an empty database and gives the name by which DataBase::Ouvre reaches it.
  [[nodiscard]] virtual std::string BaseVide() = 0;
  /// What is wrong inside a closed database of that name, where the backend lets one look: one line for each finding.
  [[nodiscard]] virtual std::string Defauts(const std::string& /*nom*/) const { return {}; }
  /// Of the table names X]Y, X`Y, X"Y and X'Y those that the backend refuses, and the statement that drops one that it took.
  [[nodiscard]] virtual std::vector<std::string> NomsRefuses() const { return {}; }
  [[nodiscard]] virtual std::string TexteSupTableBrut(const std::string& nom) const { return "DROP TABLE \"" + nom + "\""; }
  /// The column type of a plain CREATE TABLE for an ADO type, where the layer does not create tables.
  [[nodiscard]] virtual std::string TypeBrut(std::int16_t /*typ*/, std::int32_t /*lg*/) const { return {}; }
};

/// The backends of the suite, and those that take what the dialect quotes with back quotes and writes between double quotes.
[[nodiscard]] std::vector<Backend*> TousLesBackends();
[[nodiscard]] Backend& BackendNomme(const std::string& nom);

/// An open database of a backend, closed at the end. Each time it is closed it must be without a defect.
class BaseOuverte {
 public:
  /// Opens a database; a blank name makes an empty one.
  explicit BaseOuverte(Backend& backend, const std::string& nom = "");
  ~BaseOuverte();
  BaseOuverte(const BaseOuverte&) = delete;
  BaseOuverte& operator=(const BaseOuverte&) = delete;

  [[nodiscard]] db::DataBase& operator*() { return base_; }
  [[nodiscard]] db::DataBase* operator->() { return &base_; }
  [[nodiscard]] Backend& Sur() { return backend_; }
  [[nodiscard]] const std::string& Nom() const { return nom_; }

  /// Creates a table from its definition, by the layer where it creates tables, else by a plain statement; lists it in both cases.
  db::DbTbl& Cree(std::unique_ptr<db::DbTbl> tbl);
  /// Closes and opens again: the definitions are loaded anew.
  void Rouvre();

 private:
  void Ouvre();
  void Ferme();

  Backend& backend_;
  std::string nom_;
  db::DataBase base_;
  bool ouverte_ = false;
};

/// A definition: name, then fields as {name, type, length}.
struct Champ {
  const char* nom;
  std::int16_t typ;
  std::int32_t lg = 0;
};
[[nodiscard]] std::unique_ptr<db::DbTbl> Table(const std::string& nom, const std::vector<Champ>& champs);

}  // namespace tamlo::tests

#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "db/DbTbl.h"
#include "db/Parcours.h"

namespace tamlo::db {

namespace sql {
class TablesQualifiees;
}

/// The tables of one database, in the order in which they were listed, each under the name that its definition had then. Owns the
/// definitions, which keep their addresses. At most 32767.
class ListeTables {
 public:
  struct Entree {
    std::unique_ptr<DbTbl> tbl;
    std::string nom;
    DbTbl& operator*() const noexcept { return *tbl; }
  };

  ListeTables();
  ~ListeTables();
  ListeTables(const ListeTables&) = delete;
  ListeTables& operator=(const ListeTables&) = delete;

  [[nodiscard]] std::int16_t Nb() const noexcept { return static_cast<std::int16_t>(entrees_.size()); }
  /// By name in any case, or by position from 0 as text. Error 9 when there is none, 6 for a number beyond 16 bits.
  [[nodiscard]] DbTbl& Liste(const std::string& cle) const;
  /// The same by name alone, even where the name is a number; nullptr when there is none.
  [[nodiscard]] DbTbl* Nommee(const std::string& nom) const;
  /// All of them, with the names under which they are listed.
  [[nodiscard]] const std::vector<Entree>& Entrees() const noexcept { return entrees_; }

  /// Lists a table behind the others, without looking for one of its name. Error 6 beyond 32767.
  DbTbl& Ajoute(std::unique_ptr<DbTbl> tbl);
  /// Lists a table in the place of the one of its name, which ends; behind the others where there is none.
  DbTbl& Remplace(std::unique_ptr<DbTbl> tbl);
  /// Takes the first table of that name off the list; nothing when there is none.
  void Retire(const std::string& nom);
  /// Takes off those for whose name the answer is true.
  void RetireSi(const std::function<bool(const std::string& nom)>& faut);
  /// Keeps the first nombre tables.
  void Garde(std::size_t nombre);
  void Vide() { Garde(0); }

  /// Names and owners for the translation of statements. Valid until the next change.
  [[nodiscard]] const sql::TablesQualifiees& Qualifiees() const;
  /// A listed table says that its name or owner has changed.
  void NomsChanges() noexcept;

 private:
  std::vector<Entree> entrees_;
  mutable std::unique_ptr<sql::TablesQualifiees> qualifiees_;  // mutable: an index over the list, made when a statement first needs it
  mutable std::int16_t dernier_ = 0;                           // mutable: a hint for the next lookup, the position that was found last
};

}  // namespace tamlo::db

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ado/Catalog.h"

namespace tamlo::db {

class DbTbl;
struct CleLue;

/// One index of a table: its name, flags and fields in order. Belongs to its table; filled once by Init.
class DbIdx {
 public:
  /// One field: its name in lower case, the same in the case of the description, and its direction, 1 ascending, 2 descending.
  struct Champ {
    std::string nom;
    std::string decrit;
    std::int16_t sens = 1;
  };

  /// From a description (the backend's own or one built from a field list). On MySQL the fields come from "SHOW KEYS",
  /// those of the description where the server has no key of that name, and the index is primary exactly when it is
  /// named PRIMARY; errors of that query go to the caller. Error 6 beyond 32767 fields.
  void Init(const ado::Index& index, const DbTbl* table);
  /// The same for a MySQL table whose keys have been read already.
  void Init(const ado::Index& index, const DbTbl* table, const std::vector<CleLue>& cles);

  [[nodiscard]] std::int16_t NbFld() const;
  /// The fields in their order, for a range-based for.
  [[nodiscard]] const std::vector<Champ>& Champs() const noexcept { return champs_; }
  [[nodiscard]] bool Primary() const noexcept { return primary_; }
  [[nodiscard]] bool Unique() const noexcept { return unique_; }
  /// Name (lower case) of field i, counted from 0. Error 9 outside.
  [[nodiscard]] const std::string& NomFld(std::int16_t i) const;
  /// The same name in the case of the description that Init was given; of a key read from a MySQL server, NomFld. Error 9 outside.
  [[nodiscard]] const std::string& NomFldDecrit(std::int16_t i) const;
  /// The encoded field list: names joined by ";", "-" before a descending one; "" for an index without fields.
  [[nodiscard]] std::string SFld() const;
  /// Direction of field i, counted from 0: 1 ascending, 2 descending. Error 9 outside.
  [[nodiscard]] std::int16_t SensFld(std::int16_t i) const;
  [[nodiscard]] const std::string& Nom() const noexcept { return nom_; }
  void Nom(const std::string& nom) { nom_ = nom; }

 private:
  void Decrit(const ado::Index& index);
  [[nodiscard]] const Champ& ChampA(std::int16_t i) const;

  std::string nom_;
  std::vector<Champ> champs_;
  bool primary_ = false;
  bool unique_ = false;
};

}  // namespace tamlo::db

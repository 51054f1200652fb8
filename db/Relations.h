#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "db/DbRlt.h"
#include "db/Parcours.h"

namespace tamlo::db {

/// The relations between the aliases of one database, in the order in which they were registered. Owns them; they keep their addresses. At
/// most 32767.
class Relations {
 public:
  using Entree = std::unique_ptr<DbRlt>;

  [[nodiscard]] std::int16_t Nb() const noexcept { return static_cast<std::int16_t>(relations_.size()); }
  /// Position from 0. Error 9 outside.
  [[nodiscard]] DbRlt& Liste(std::int16_t i) const;
  [[nodiscard]] const std::vector<Entree>& Entrees() const noexcept { return relations_; }

  /// Registers a relation; false when one between the same aliases exists. Aliases become upper case, fields lower case, and the flag is
  /// stored inverted. Error 6 beyond 32767.
  bool Add(const std::string& aliasSrc, const std::string& fldSrc, const std::string& aliasCbl, const std::string& fldCbl, std::int32_t typ,
           std::int32_t typInv, bool obg);
  /// Appends a relation as it stands, without looking for one between the same aliases. Error 6 beyond 32767.
  void Ajoute(const DbRlt& rlt);
  /// Keeps the first nombre relations.
  void Garde(std::size_t nombre);
  void Vide() noexcept { relations_.clear(); }

  /// The first chain in registry order from one alias to the other, a direct relation before a longer one; empty when there is none or
  /// aliasDe stands in visites, where aliases are separated by ";".
  void Chaine(const std::string& aliasDe, const std::string& aliasVers, std::vector<DbRlt*>& chaine, std::int16_t& longueur,
              const std::string& visites) const;

 private:
  std::vector<Entree> relations_;
};

}  // namespace tamlo::db

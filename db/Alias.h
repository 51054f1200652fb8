#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tamlo::db {

/// The other names of a database's tables, in the order in which they were added. Names are kept in upper case; a lookup takes one in any
/// case, or a position from 0 as text (error 9 outside, 6 beyond 16 bits). At most 32767.
class Alias {
 public:
  struct Entree {
    std::string alias;
    std::string table;
    std::string libelle;
    bool visible = false;
  };

  /// Names a table; alias: the table's own name when blank. A name that is known keeps its table and visibility, and takes the label where
  /// it has none. Nothing for a blank table. Error 6 beyond 32767.
  void Add(const std::string& table, const std::string& alias, const std::string& libelle, bool visible);
  /// The argument itself when there is none of that name (Vis: false).
  [[nodiscard]] std::string TblReel(const std::string& alias) const;
  [[nodiscard]] std::string Lib(const std::string& alias) const;
  [[nodiscard]] bool Vis(const std::string& alias) const;
  void Vide() noexcept { entrees_.clear(); }

  [[nodiscard]] auto begin() const noexcept { return entrees_.begin(); }
  [[nodiscard]] auto end() const noexcept { return entrees_.end(); }

 private:
  /// nullptr when there is none of that name.
  [[nodiscard]] const Entree* De(const std::string& alias) const;

  std::vector<Entree> entrees_;
  mutable std::int16_t dernier_ = 0;  // mutable: a hint for the next lookup, the position that was found last
};

}  // namespace tamlo::db

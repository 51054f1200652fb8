#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "db/DataBase.h"

namespace tamlo::db::catalogue {

/// What the three catalog tables say of one table.
struct ContenuTable {
  struct Champ {
    std::int16_t no = 0;
    std::string nom;
    std::string ini;
    std::string fmt;
    bool obg = false;
  };
  struct Index {
    std::string champs;
    bool primaire = false;
    bool unique = false;
  };
  std::optional<bool> mvt;             ///< of its row of "$TBLKORV$"; none without one
  std::vector<Champ> champs;           ///< by number
  std::map<std::string, Index> index;  ///< by name
};

/// All rows of the three catalog tables, by the names of the tables that they speak of; those of a catalog table that is not there are none.
using ContenuCatalogue = std::map<std::string, ContenuTable>;
[[nodiscard]] ContenuCatalogue LitCatalogue(DataBase& db);

/// What has changed of a table's rows, in words.
void CompareContenus(const std::string& table, const ContenuTable& avant, const ContenuTable& apres, std::vector<EcartCatalogue>& ecarts);

/// "oui" or "non".
[[nodiscard]] const char* OuiNon(bool valeur) noexcept;

}  // namespace tamlo::db::catalogue

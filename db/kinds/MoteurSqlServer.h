#pragma once

#include "db/kinds/Moteur.h"

namespace tamlo::db::kinds {

/// Kind 1, SQL Server: names in double quotes, the indexes of a new table as constraints inside its CREATE TABLE, columns added by the catalog.
class MoteurSqlServer final : public Moteur {
 public:
  MoteurSqlServer();

  [[nodiscard]] bool DUnAutreProgramme(const runtime::Error& erreur) const override;

 protected:
  void Traduit(std::string& sql, const Contexte& contexte) const override;
  [[nodiscard]] std::string Contraintes(const DefTbl& tbl) const override;
};

}  // namespace tamlo::db::kinds

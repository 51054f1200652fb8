#pragma once

#include "db/kinds/Moteur.h"

namespace tamlo::db::kinds {

/// Kind 4 and every number that no other kind has, generic ODBC: statements as for MySQL; no table and no index is created.
class MoteurOdbc final : public Moteur {
 public:
  MoteurOdbc();

  [[nodiscard]] bool DUnAutreProgramme(const runtime::Error& erreur) const override;

 protected:
  void Traduit(std::string& sql, const Contexte& contexte) const override;
};

}  // namespace tamlo::db::kinds

#pragma once

#include "db/kinds/Moteur.h"

namespace tamlo::db::kinds {

/// Kind 0, an Access file: tables, columns and indexes are objects of the connection's catalog, statements are in the dialect already.
class MoteurJet final : public Moteur {
 public:
  MoteurJet();

 protected:
  void Traduit(std::string& sql, const Contexte& contexte) const override;
};

}  // namespace tamlo::db::kinds

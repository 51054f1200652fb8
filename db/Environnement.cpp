#include "db/Environnement.h"

#include "support/Support.h"

namespace tamlo::db {

void MontreMessage(const std::string& texte, const std::string& titre) { support::Msg(texte, ui::kExclamation | ui::kOkOnly, titre); }

Environnement& EnvironnementCourant() noexcept {
  static Environnement environnement;
  return environnement;
}

}  // namespace tamlo::db

#include "db/Environnement.h"

namespace tamlo::db {

Environnement& EnvironnementCourant() noexcept {
  static Environnement environnement;
  return environnement;
}

}  // namespace tamlo::db

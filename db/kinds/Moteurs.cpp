#include "db/kinds/Moteurs.h"

#include <array>
#include <cstddef>

#include "db/kinds/MoteurJet.h"
#include "db/kinds/MoteurMySql.h"
#include "db/kinds/MoteurOdbc.h"
#include "db/kinds/MoteurOracle.h"
#include "db/kinds/MoteurSqlServer.h"

namespace tamlo::db::kinds {

const Moteur& MoteurDe(std::int16_t kind) {
  static const MoteurJet jet;
  static const MoteurSqlServer sqlServer;
  static const MoteurOracle oracle;
  static const MoteurMySql mySql;
  static const MoteurOdbc odbc;
  static const std::array<const Moteur*, 5> kParNumero{&jet, &sqlServer, &oracle, &mySql, &odbc};
  const auto rang = static_cast<std::size_t>(kind);
  return kind < 0 || rang >= kParNumero.size() ? odbc : *kParNumero[rang];
}

}  // namespace tamlo::db::kinds

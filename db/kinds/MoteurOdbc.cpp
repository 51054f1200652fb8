#include "db/kinds/MoteurOdbc.h"

#include "db/kinds/MoteurMySql.h"

namespace tamlo::db::kinds {

namespace {

constexpr Faits kFaits{
    .provider = "MSDASQL",
    .longueursSures = false,
    .indexSurTable = false,
    .gardePrimaire = true,
};

}  // namespace

MoteurOdbc::MoteurOdbc() : Moteur(kFaits) {}

void MoteurOdbc::Traduit(std::string& sql, const Contexte& contexte) const { TraduitPourMySql(sql, contexte.fmtDate); }

// A server of that family may stand behind it.
bool MoteurOdbc::DUnAutreProgramme(const runtime::Error& erreur) const { return EstDUnAutreMySql(erreur); }

}  // namespace tamlo::db::kinds

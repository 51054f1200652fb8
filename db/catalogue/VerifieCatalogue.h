#pragma once

#include <string>
#include <vector>

#include "db/DataBase.h"

namespace tamlo::db::catalogue {

/// See DataBase::VerifieCatalogue and DataBase::RecreeCatalogue.
[[nodiscard]] std::vector<EcartCatalogue> Verifie(DataBase& db, const std::string& nom);
void Repare(DataBase& db, std::vector<EcartCatalogue>& changements);

}  // namespace tamlo::db::catalogue

#pragma once

#include "db/DataBase.h"

namespace tamlo::db::catalogue {

/// Registers the relations that stand in the catalog. A catalog table that was made without its key gets it.
void LitRelations(DataBase& db);

}  // namespace tamlo::db::catalogue

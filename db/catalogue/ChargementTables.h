#pragma once

#include "db/DataBase.h"
#include "db/Patience.h"

namespace tamlo::db::catalogue {

/// Fills the table list of a database that is being opened: from the catalog where there is a whole one, else from the backend, and the
/// catalog is then built from the list. patience: the one of the opening, for what another program does at the same moment.
void LitTables(DataBase& db, Patience& patience);

}  // namespace tamlo::db::catalogue

#include "providers/Fournisseurs.h"

#include "ado/odbc/OdbcProvider.h"
#ifdef TAMLO_JET
#include "ado/jet/JetProvider.h"
#endif
#ifdef TAMLO_SQLITE
#include "ado/sqlite/SqliteProvider.h"
#endif

namespace tamlo::providers {

void EnregistreFournisseurs() {
  ado::odbc::RegisterOdbcProviders();
#ifdef TAMLO_JET
  ado::jetprovider::RegisterJetProvider();
#endif
#ifdef TAMLO_SQLITE
  ado::sqlite::RegisterSqliteProvider();
#endif
}

}  // namespace tamlo::providers

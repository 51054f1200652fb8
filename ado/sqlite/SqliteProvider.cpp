#include "ado/sqlite/SqliteProvider.h"

#include "ado/Provider.h"
#include "ado/sqlite/SqliteConnection.h"

namespace tamlo::ado::sqlite {

void RegisterSqliteProvider() {
  RegisterProvider("SQLITE", [](const OpenRequest& request) -> std::unique_ptr<ProviderConnection> {
    return std::make_unique<SqliteConnection>(request);
  });
}

}  // namespace tamlo::ado::sqlite

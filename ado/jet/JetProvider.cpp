#include "ado/jet/JetProvider.h"

#include "ado/Provider.h"
#include "ado/jet/JetConnection.h"
#include "ado/jet/JetCreation.h"

namespace tamlo::ado::jetprovider {

void RegisterJetProvider() {
  RegisterProvider(
      "Microsoft.Jet.OLEDB.4.0",
      [](const OpenRequest& request) -> std::unique_ptr<ProviderConnection> { return std::make_unique<JetConnection>(request); },
      CreateDatabase);
}

}  // namespace tamlo::ado::jetprovider

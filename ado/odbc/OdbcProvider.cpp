#include "ado/odbc/OdbcProvider.h"

#include <memory>

#include "ado/Provider.h"
#include "ado/odbc/OdbcConnection.h"
#include "ado/odbc/connect/ConnectionText.h"
#include "ado/odbc/connect/RegisteredText.h"
#include "runtime/Secret.h"

namespace tamlo::ado::odbc {

void RegisterOdbcProviders() {
  for (const char* name : {"MSDASQL", "MSDASQL.1", "sqloledb", "OraOLEDB.Oracle"}) {
    RegisterProvider(name, [](const OpenRequest& request) -> std::unique_ptr<ProviderConnection> {
      const std::vector<std::string> sources = DataSources();
      ConnectionText text = BuildConnectionText(request.registeredOnly ? Registered(request, sources, Drivers()) : request, sources);
      const runtime::WipedAtEnd wipe(text.text);
      auto session = std::make_shared<Session>(text.text, text.name, request.timeoutSeconds);
      session->GeneralNumbers(request.generalNumbers);
      return std::make_unique<OdbcConnection>(std::move(session));
    });
  }
}

}  // namespace tamlo::ado::odbc

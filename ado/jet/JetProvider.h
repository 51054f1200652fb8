#pragma once

namespace tamlo::ado::jetprovider {

/// Makes "Microsoft.Jet.OLEDB.4.0" known: Access files through our own engine. Links to ODBC sources open through whatever provider is
/// registered as "MSDASQL"; without one they are listed and cannot be used. Calling it again changes nothing.
void RegisterJetProvider();

}  // namespace tamlo::ado::jetprovider

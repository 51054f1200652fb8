#pragma once

namespace tamlo::app {

/// Makes every data access provider that this build holds known to connections. For main files; once is enough.
void EnregistreFournisseurs();

}  // namespace tamlo::app

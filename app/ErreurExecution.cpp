#include "app/ErreurExecution.h"

#include <string>

#include "support/Support.h"
#include "ui/Platform.h"

namespace tamlo::app {

void AfficheErreurExecution(const runtime::Error& erreur) {
  const std::string description = erreur.Description().empty() ? "Erreur définie par l'application ou par l'objet" : erreur.Description();
  support::Msg("Erreur d'exécution '" + std::to_string(erreur.Number()) + "' :\n\n" + description, ui::kCritical | ui::kOkOnly, "tamlo");
}

}  // namespace tamlo::app

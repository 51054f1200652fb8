#include <memory>

#include "app/Demarrage.h"
#include "app/LigneCommande.h"
#include "app/Processus.h"
#include "app/Terminal.h"
#include "providers/Fournisseurs.h"
#include "runtime/Secret.h"
#include "ui/Platform.h"
#ifdef _WIN32
#include "ui/win32/Win32Platform.h"
#else
#include "ui/qt/QtPlatform.h"
#endif

namespace {

std::unique_ptr<tamlo::ui::Platform> MakePlatform() {
#ifdef _WIN32
  return tamlo::ui::win32::CreatePlatform();
#else
  return tamlo::ui::qt::CreatePlatform();
#endif
}

}  // namespace

/// The one place that knows platform and providers, and plugs them into the tool.
int main(int argc, char** argv) {
  tamlo::app::ProtegeMemoire();
  if (const auto reponse = tamlo::app::ReponseTerminal(argc, argv)) return tamlo::app::EcritTerminal(*reponse) ? 0 : 1;
  // Passwords leave the argument list before anything slow happens.
  tamlo::app::LigneLue ligne = tamlo::app::LitLigneCommande(argc, argv);
  tamlo::app::LigneCommande(ligne.texte, ligne.guillemet);
  tamlo::runtime::Wipe(ligne.texte);
  const auto platform = MakePlatform();
  tamlo::ui::UsePlatform(platform.get());
  tamlo::providers::EnregistreFournisseurs();
  tamlo::app::BrancheCouche(tamlo::app::DossierDuProgramme());
  const int statut = tamlo::app::ExecuteProgramme();
  tamlo::ui::UsePlatform(nullptr);
  return statut;
}

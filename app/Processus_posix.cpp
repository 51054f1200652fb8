#include <sys/prctl.h>

#include <cstring>
#include <filesystem>
#include <system_error>

#include "app/Processus.h"
#include "runtime/Error.h"
#include "runtime/Secret.h"

namespace tamlo::app {

namespace {

constexpr std::int32_t kCheminIntrouvable = 76;

}  // namespace

LigneLue LitLigneCommande(int nombre, char** arguments) {
  std::vector<std::string> lus(arguments + (nombre > 0 ? 1 : 0), arguments + nombre);
  for (const int motPasse : {6, 8}) {
    // The memory that the system shows as this process's arguments.
    if (motPasse < nombre) std::memset(arguments[motPasse], 0, std::strlen(arguments[motPasse]));
  }
  if (nombre > 1) EffaceSecrets(arguments[1]);
  LigneLue lue{JointArguments(lus), PremierGuillemet(lus)};
  for (std::string& argument : lus) runtime::Wipe(argument);
  return lue;
}

void ProtegeMemoire() noexcept { ::prctl(PR_SET_DUMPABLE, 0); }

std::string DossierDuProgramme() {
  std::error_code erreur;
  const std::filesystem::path programme = std::filesystem::read_symlink("/proc/self/exe", erreur);
  return erreur ? std::filesystem::current_path().string() : programme.parent_path().string();
}

void ChangeDossierCourant(const std::string& dossier) {
  std::error_code erreur;
  std::filesystem::current_path(dossier, erreur);
  if (erreur) throw runtime::Error(kCheminIntrouvable, "Chemin d'accès introuvable");
}

}  // namespace tamlo::app

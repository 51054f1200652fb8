#include "app/Terminal.h"

#include <string_view>

namespace tamlo::app {

namespace {

constexpr const char* kAide =
    "Usage : tamlo base type volume nom niveau [mot_de_passe [utilisateur mot_de_passe_codé]]\n"
    "\n"
    "Crée un utilisateur d'une base des volumes : une fenêtre demande son mot de passe.\n"
    "\n"
    "  base               chemin d'un fichier Access, source de données ou chaîne de connexion ODBC\n"
    "  type               0 fichier Access, 1 SQL Server, 2 Oracle, 3 MySQL, autre : source ODBC quelconque\n"
    "  volume             identifiant du volume\n"
    "  nom                nom de l'utilisateur à créer, 30 caractères au plus\n"
    "  niveau             niveau de l'utilisateur sur le volume\n"
    "  mot_de_passe       mot de passe en clair ; sans lui, celui qui est enregistré est proposé\n"
    "  utilisateur        utilisateur qui se connecte à la base\n"
    "  mot_de_passe_codé  son mot de passe, sous la forme codée\n"
    "\n"
    "  --help             affiche cette aide\n"
    "  --version          affiche la version\n"
    "\n"
    "Code de retour : 0 après OK ou Annuler, 1 après tout échec. Voir aussi tamlo(1).\n";

}  // namespace

std::optional<std::string> ReponseTerminal(int nombre, const char* const* arguments) {
  if (nombre != 2) return std::nullopt;
  const std::string_view mot = arguments[1];
  if (mot == "--help") return kAide;
  if (mot == "--version") return "tamlo " TAMLO_VERSION "\n";
  return std::nullopt;
}

}  // namespace tamlo::app

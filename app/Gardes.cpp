#include "app/Gardes.h"

#include "ado/Secrets.h"
#include "app/FinProgramme.h"
#include "db/DataBase.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"
#include "support/Support.h"
#include "ui/Platform.h"

namespace tamlo::app {

namespace {

[[noreturn]] void Interrompt(const std::string& raison) {
  support::Msg(raison + "\n\nRien n'a été écrit.", ui::kCritical | ui::kOkOnly, "Programme interrompu");
  throw FinProgramme{kEchec};
}

std::string Compare(const std::string& nom) { return runtime::UpperCase(runtime::TrimRight(nom)); }

}  // namespace

void RefuseGuillemet(std::int16_t position) {
  if (position == 0) Interrompt("Un guillemet (\") de la ligne de commande n'est pas fermé.");
  Interrompt("Le paramètre " + std::to_string(position) + " contient un guillemet (\"), qu'un paramètre ne peut pas contenir.");
}

void ExigeNom(const std::string& nom) {
  if (support::EstVide(std::string_view(nom))) Interrompt("Le nom de l'utilisateur à créer (paramètre 4) est vide.");
  const std::size_t longueur = runtime::Length(nom);
  if (longueur <= kMaxNom) return;
  Interrompt("Le nom de l'utilisateur à créer (paramètre 4) compte " + std::to_string(longueur) + " caractères ; il en tient " +
             std::to_string(kMaxNom) + " au plus.");
}

void ExigeNomTenu(const std::string& tenu, const std::string& nom) {
  if (tenu != nom) Interrompt("Le nom de l'utilisateur à créer (paramètre 4) contient des caractères que la fenêtre ne peut pas tenir.");
}

void ExigeMemeNom(const std::string& trouve, const std::string& cherche) {
  if (Compare(trouve) == Compare(cherche)) return;
  Interrompt("La recherche de l'utilisateur <" + cherche + "> a trouvé la ligne d'un autre utilisateur.");
}

void AnnonceLectureSeule(db::DataBase& base) {
  bool lectureSeule = false;
  // A provider need not know the property.
  runtime::IgnoringErrors([&] { lectureSeule = runtime::ToBoolean(base.Connexion().Property("Read-Only Data Source")); });
  if (!lectureSeule) return;
  support::Msg("La base <" + ado::WithoutSecrets(base.Nom()) + "> est en lecture seule : l'utilisateur ne pourra pas y être enregistré.",
               ui::kExclamation | ui::kOkOnly, "Base en lecture seule");
}

}  // namespace tamlo::app

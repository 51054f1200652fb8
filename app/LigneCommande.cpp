#include "app/LigneCommande.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "app/Element.h"
#include "app/Gardes.h"
#include "runtime/Secret.h"
#include "runtime/Text.h"

namespace tamlo::app {

namespace {

struct Ligne {
  std::string texte;
  std::int16_t guillemet = 0;
  bool guillemetOuvert = false;
  std::vector<std::string> parametres;
};

Ligne& LigneCourante() noexcept {
  static Ligne ligne;
  return ligne;
}

}  // namespace

void LigneCommande(const std::string& ligne, std::int16_t guillemet) {
  LigneCourante().texte = ligne;
  LigneCourante().guillemet = guillemet;
}

void LitParametres() {
  std::vector<std::string>& liste = LigneCourante().parametres;
  liste.clear();
  LigneCourante().guillemetOuvert = false;
  const std::string_view ligne = runtime::Trim(LigneCourante().texte);
  if (ligne.empty()) return;
  liste.emplace_back();
  bool entreGuillemets = false;
  for (std::size_t i = 0; i < ligne.size();) {
    if (ligne[i] == '"') {
      entreGuillemets = !entreGuillemets;
      ++i;
    } else if (ligne[i] == ' ' && !entreGuillemets) {
      liste.emplace_back();
      i = std::min(ligne.find_first_not_of(' ', i), ligne.size());
    } else {
      liste.back().push_back(ligne[i]);
      ++i;
    }
  }
  LigneCourante().guillemetOuvert = entreGuillemets;
}

const std::string& Parametres(std::int16_t position) { return Element(LigneCourante().parametres, position); }

std::int16_t NbParametres() noexcept {
  constexpr std::size_t kPlusGrand = 32767;
  return static_cast<std::int16_t>(std::min(LigneCourante().parametres.size(), kPlusGrand));
}

void ExigeGuillemets() {
  const Ligne& ligne = LigneCourante();
  if (ligne.guillemet > 0) RefuseGuillemet(ligne.guillemet);
  if (ligne.guillemetOuvert) RefuseGuillemet(0);
}

void EffaceParametres() noexcept {
  Ligne& ligne = LigneCourante();
  runtime::Wipe(ligne.texte);
  for (const std::size_t motPasse : {kMotPasse, kMotPasseConnecte}) {
    if (motPasse <= ligne.parametres.size()) runtime::Wipe(ligne.parametres[motPasse - 1]);
  }
}

}  // namespace tamlo::app

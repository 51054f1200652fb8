#include "db/sql/Textes.h"

#include <algorithm>
#include <cstring>

#include "runtime/Conversions.h"
#include "runtime/RegionalSettings.h"
#include "runtime/Text.h"
#include "support/Support.h"

namespace tamlo::db::sql {

void Positions::Compte(std::size_t octet) {
  caracteres_ += static_cast<std::int64_t>(runtime::Length(texte_.substr(octet_, octet - octet_)));
  octet_ = octet;
  (void)runtime::CheckedInt16(caracteres_ + 1);
}

std::string Remplace(std::string_view texte, std::string_view cherche, std::string_view remplace) {
  std::string sortie;
  sortie.reserve(texte.size() + remplace.size());
  Positions positions(texte);
  std::size_t courant = 0;
  for (;;) {
    const std::size_t trouve = texte.find(cherche, courant);
    if (trouve == std::string_view::npos) break;
    const std::size_t suite = trouve + cherche.size();
    positions.Verifie(suite);
    sortie.append(texte.substr(courant, trouve - courant));
    sortie.append(remplace);
    courant = suite;
  }
  sortie.append(texte.substr(courant));
  return sortie;
}

namespace {

/// Replaces by something not longer, without another buffer.
void RemplaceSurPlace(std::string& texte, std::size_t trouve, std::string_view cherche, std::string_view remplace) {
  char* const octets = texte.data();
  std::size_t ecrit = trouve;
  while (trouve != std::string::npos) {
    std::memcpy(octets + ecrit, remplace.data(), remplace.size());
    ecrit += remplace.size();
    const std::size_t courant = trouve + cherche.size();
    trouve = texte.find(cherche, courant);
    const std::size_t fin = std::min(trouve, texte.size());
    std::memmove(octets + ecrit, octets + courant, fin - courant);
    ecrit += fin - courant;
  }
  texte.resize(ecrit);
}

}  // namespace

void RemplaceDans(std::string& texte, std::string_view cherche, std::string_view remplace) {
  const std::size_t trouve = texte.find(cherche);
  if (trouve == std::string::npos) return;
  if (remplace.size() <= cherche.size() && texte.size() <= Positions::kOctetsSurs) {
    RemplaceSurPlace(texte, trouve, cherche, remplace);
  } else {
    texte = Remplace(texte, cherche, remplace);
  }
}

std::string ChaineFixe(std::string_view texte, std::size_t longueur) {
  if (support::EstVide(texte)) return std::string(longueur, ' ');
  std::string sortie(runtime::Left(texte, longueur));
  sortie.append(longueur - runtime::Length(sortie), ' ');
  return sortie;
}

std::string LitFmtDateCourte() {
  // The profile hands its values out in a buffer of 20 characters, the last of which ends the text.
  constexpr std::size_t kTampon = 20;
  const std::string& reglage = runtime::UserSettings().shortDate;
  const std::string_view valeur = reglage.empty() ? std::string_view(" ") : std::string_view(reglage);
  if (valeur.size() < kTampon) return std::string(valeur);
  return ChaineFixe(valeur, std::min(runtime::Length(valeur), kTampon - 1));
}

}  // namespace tamlo::db::sql

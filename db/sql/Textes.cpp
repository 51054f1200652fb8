#include "db/sql/Textes.h"

#include <algorithm>

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

namespace {

/// The next occurrence from depart on. What stands behind a blank is rarer than blanks are, and is looked for first.
std::size_t Trouve(std::string_view texte, std::string_view cherche, std::size_t depart) {
  if (cherche.size() < 2 || cherche.front() != ' ') return texte.find(cherche, depart);
  std::size_t suite = texte.find(cherche.substr(1), depart + 1);
  while (suite != std::string_view::npos && texte[suite - 1] != ' ') suite = texte.find(cherche.substr(1), suite + 1);
  return suite == std::string_view::npos ? suite : suite - 1;
}

}  // namespace

void RemplaceDans(std::string& texte, std::string_view cherche, std::string_view remplace) {
  std::size_t trouve = Trouve(texte, cherche, 0);
  if (trouve == std::string::npos) return;
  std::string sortie;
  sortie.reserve(texte.size() + 2 * remplace.size());
  Positions positions(texte);
  std::size_t courant = 0;
  for (; trouve != std::string::npos; trouve = Trouve(texte, cherche, courant)) {
    sortie.append(texte, courant, trouve - courant).append(remplace);
    courant = trouve + cherche.size();
    positions.Verifie(courant);
  }
  texte = std::move(sortie.append(texte, courant));
}

std::string Remplace(std::string texte, std::string_view cherche, std::string_view remplace) {
  RemplaceDans(texte, cherche, remplace);
  return texte;
}

void RemplaceDans(std::string& texte, char cherche, char remplace) {
  // A text without one has npos + 1, its front, to be looked at.
  if (texte.size() > Positions::kOctetsSurs) Positions(texte).Verifie(texte.rfind(cherche) + 1);
  for (char& octet : texte) octet = octet == cherche ? remplace : octet;
}

bool MajusculesAscii(std::span<char> octets) {
  unsigned char reunis = 0;
  for (char& octet : octets) {
    reunis |= static_cast<unsigned char>(octet);
    octet = octet >= 'a' && octet <= 'z' ? static_cast<char>(octet - 'a' + 'A') : octet;
  }
  constexpr unsigned char kPremierAutre = 0x80;
  return reunis < kPremierAutre;
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

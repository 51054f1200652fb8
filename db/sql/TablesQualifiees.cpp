#include "db/sql/TablesQualifiees.h"

#include <algorithm>

#include "support/Support.h"

namespace tamlo::db::sql {

namespace {

constexpr std::string_view kFinsDeMot = " .,";

std::uint64_t BitLongueur(std::size_t longueur) { return std::uint64_t{1} << std::min<std::size_t>(longueur, 63); }

/// The empty word has no first byte: it counts as one that no text holds there.
unsigned char PremierOctet(std::string_view mot) { return mot.empty() ? 0 : static_cast<unsigned char>(mot.front()); }

}  // namespace

void TablesQualifiees::Ajoute(const std::string& nom, const std::string& owner) {
  if (support::EstVide(std::string_view(owner))) return;
  const auto rang = static_cast<std::uint32_t>(tables_.size());
  constexpr std::string_view kSpeciaux = " .,[]";
  const bool simple = !nom.empty() && nom.find_first_of(kSpeciaux) == std::string::npos &&
                      owner.find_first_of(" ,[]") == std::string::npos && owner.find("CVDATE") == std::string::npos;
  tables_.push_back({nom, owner, simple});
  const std::string_view nu = std::string_view(nom).substr(0, nom.find_first_of(kFinsDeMot));
  const std::string_view entreCrochets = std::string_view(nom).substr(0, nom.find(']'));
  Range(nu, rang);
  if (entreCrochets != nu) Range(entreCrochets, rang);
}

void TablesQualifiees::Range(std::string_view mot, std::uint32_t rang) {
  parMot_[std::string(mot)].push_back(rang);
  longueurs_[PremierOctet(mot)] |= BitLongueur(mot.size());
}

const TablesQualifiees::Rangs* TablesQualifiees::Cherche(std::string_view mot) const {
  if ((longueurs_[PremierOctet(mot)] & BitLongueur(mot.size())) == 0) return nullptr;
  const auto trouve = parMot_.find(mot);
  return trouve == parMot_.end() ? nullptr : &trouve->second;
}

std::int64_t TablesQualifiees::Suivante(std::string_view texte, std::int64_t apres) const {
  std::int64_t suivante = -1;
  const auto examine = [&](std::string_view mot) {
    const Rangs* rangs = Cherche(mot);
    if (rangs == nullptr) return;
    const auto rang = std::upper_bound(rangs->begin(), rangs->end(), apres);
    if (rang != rangs->end() && (suivante < 0 || *rang < suivante)) suivante = *rang;
  };
  for (std::size_t i = texte.find_first_of(" ,"); i != std::string_view::npos; i = texte.find_first_of(" ,", i + 1)) {
    const std::size_t fin = texte.find_first_of(kFinsDeMot, i + 1);
    if (fin != std::string_view::npos) examine(texte.substr(i + 1, fin - i - 1));
    if (i + 1 == texte.size() || texte[i + 1] != '[') continue;
    const std::size_t crochet = texte.find(']', i + 2);
    if (crochet != std::string_view::npos) examine(texte.substr(i + 2, crochet - i - 2));
  }
  return suivante;
}

}  // namespace tamlo::db::sql

#include "db/sql/TablesQualifiees.h"

#include <algorithm>

#include "support/Support.h"

namespace tamlo::db::sql {

namespace {

constexpr std::string_view kFinsDeMot = " .,";

std::uint64_t BitLongueur(std::size_t longueur) { return std::uint64_t{1} << std::min<std::size_t>(longueur, 63); }

/// The empty word has no first byte: it counts as one that no text holds there.
unsigned char PremierOctet(std::string_view mot) { return mot.empty() ? 0 : static_cast<unsigned char>(mot.front()); }

std::size_t Empreinte(std::string_view mot) {
  std::uint64_t empreinte = 0xcbf29ce484222325U;
  for (const char octet : mot) empreinte = (empreinte ^ static_cast<unsigned char>(octet)) * 0x100000001b3U;
  return static_cast<std::size_t>(empreinte ^ (empreinte >> 32U));
}

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

std::size_t TablesQualifiees::CaseDe(std::string_view mot) const {
  const std::size_t masque = cases_.size() - 1;
  std::size_t place = Empreinte(mot) & masque;
  while (cases_[place] != 0 && mots_[cases_[place] - 1].texte != mot) place = (place + 1) & masque;
  return place;
}

void TablesQualifiees::Agrandit() {
  cases_.assign(std::max<std::size_t>(cases_.size() * 2, 64), 0);
  for (std::uint32_t i = 0; i < mots_.size(); ++i) cases_[CaseDe(mots_[i].texte)] = i + 1;
}

void TablesQualifiees::Range(std::string_view mot, std::uint32_t rang) {
  if (mots_.size() * 2 >= cases_.size()) Agrandit();
  const std::size_t place = CaseDe(mot);
  if (cases_[place] == 0) {
    mots_.push_back({std::string(mot), {}});
    cases_[place] = static_cast<std::uint32_t>(mots_.size());
  }
  mots_[cases_[place] - 1].rangs.push_back(rang);
  motVide_ |= mot.empty();
  longueurs_[PremierOctet(mot)] |= BitLongueur(mot.size());
}

const TablesQualifiees::Rangs* TablesQualifiees::Cherche(std::string_view mot) const {
  if ((longueurs_[PremierOctet(mot)] & BitLongueur(mot.size())) == 0) return nullptr;
  const std::uint32_t trouve = cases_[CaseDe(mot)];
  return trouve == 0 ? nullptr : &mots_[trouve - 1].rangs;
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

#include "db/sql/TablesQualifiees.h"

#include <algorithm>

#include "support/Support.h"

namespace tamlo::db::sql {

namespace {

bool EstSeparateur(char octet) { return octet == ' ' || octet == ','; }
bool EstFinDeMot(char octet) { return EstSeparateur(octet) || octet == '.'; }

/// The text up to its first end of a word.
std::string_view Mot(std::string_view texte) {
  return {texte.data(), static_cast<std::size_t>(std::find_if(texte.begin(), texte.end(), EstFinDeMot) - texte.begin())};
}

std::uint64_t BitDe(std::string_view mot) { return std::uint64_t{1} << std::min<std::size_t>(mot.size(), 63); }

/// The empty word counts as one with a byte that no text holds there.
unsigned char Premier(std::string_view mot) { return mot.empty() ? 0 : static_cast<unsigned char>(mot.front()); }

}  // namespace

void TablesQualifiees::Ajoute(const std::string& nom, const std::string& owner) {
  if (support::EstVide(std::string_view(owner))) return;
  const std::size_t rang = tables_.size();
  tables_.push_back({nom, owner});
  composes_ = composes_ || std::any_of(nom.begin(), nom.end(), EstSeparateur);
  const std::string nu(Mot(nom));
  const std::string entreCrochets = nom.substr(0, nom.find(']'));
  Range(nu, rang);
  if (entreCrochets != nu) Range(entreCrochets, rang);
}

void TablesQualifiees::Range(const std::string& mot, std::size_t rang) {
  parMot_[mot].push_back(rang);
  longueurs_[Premier(mot)] |= BitDe(mot);
}

bool TablesQualifiees::PeutCommencer(std::string_view reste) const {
  const bool motVide = longueurs_[0] != 0;
  return motVide || (!reste.empty() && longueurs_[Premier(reste)] != 0);
}

void TablesQualifiees::AjouteRangs(Rangs& rangs, std::string_view mot) const {
  if ((longueurs_[Premier(mot)] & BitDe(mot)) == 0) return;
  if (const auto trouve = parMot_.find(mot); trouve != parMot_.end())
    rangs.insert(rangs.end(), trouve->second.begin(), trouve->second.end());
}

TablesQualifiees::Rangs TablesQualifiees::Nommees(std::string_view texte) const {
  Rangs rangs;
  for (std::size_t i = 0; i < texte.size(); ++i) {
    if (!EstSeparateur(texte[i])) continue;
    const std::string_view reste = texte.substr(i + 1);
    if (PeutCommencer(reste)) AjouteRangs(rangs, Mot(reste));
    if (!reste.starts_with('[') || !PeutCommencer(reste.substr(1))) continue;
    if (const std::size_t crochet = reste.find(']'); crochet != std::string_view::npos) AjouteRangs(rangs, reste.substr(1, crochet - 1));
  }
  std::sort(rangs.begin(), rangs.end());
  rangs.erase(std::unique(rangs.begin(), rangs.end()), rangs.end());
  return rangs;
}

bool TablesQualifiees::PeutNommer(std::string_view owner) const {
  return composes_ || owner.find('[') != std::string_view::npos || !Nommees(" " + std::string(owner) + ".").empty();
}

}  // namespace tamlo::db::sql

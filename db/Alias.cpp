#include "db/Alias.h"

#include <algorithm>

#include "db/Recherche.h"
#include "runtime/Conversions.h"
#include "runtime/Text.h"
#include "support/Support.h"

namespace tamlo::db {

void Alias::Add(const std::string& table, const std::string& alias, const std::string& libelle, bool visible) {
  const std::string reelle = runtime::UpperCase(table);
  if (support::EstVide(reelle)) return;
  const std::string nom = support::EstVide(alias) ? reelle : runtime::UpperCase(alias);
  // By name alone: an alias that is a number must not give its label to the one at that position.
  const auto connu =
      std::find_if(entrees_.begin(), entrees_.end(), [&](const Entree& entree) { return entree.alias == runtime::Trim(nom); });
  if (connu != entrees_.end()) {
    if (support::EstVide(connu->libelle)) connu->libelle = libelle;
    return;
  }
  (void)runtime::CheckedInt16(static_cast<std::int64_t>(entrees_.size()) + 1);
  entrees_.push_back({nom, reelle, libelle, visible});
}

const Alias::Entree* Alias::De(const std::string& alias) const {
  const auto nomDe = [](const Entree& entree) -> const std::string& { return entree.alias; };
  // A number is the position itself.
  const std::int16_t position = runtime::IsNumeric(alias)
                                    ? runtime::ToInt16(alias)
                                    : PositionNommee(entrees_, runtime::UpperCase(runtime::Trim(alias)), nomDe, dernier_);
  return position == -1 ? nullptr : &EntreeA(entrees_, position);
}

std::string Alias::TblReel(const std::string& alias) const {
  const Entree* entree = De(alias);
  return entree == nullptr ? alias : entree->table;
}

std::string Alias::Lib(const std::string& alias) const {
  const Entree* entree = De(alias);
  return entree == nullptr ? alias : entree->libelle;
}

bool Alias::Vis(const std::string& alias) const {
  const Entree* entree = De(alias);
  return entree != nullptr && entree->visible;
}

}  // namespace tamlo::db

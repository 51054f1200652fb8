#include "db/Relations.h"

#include <algorithm>

#include "db/Recherche.h"
#include "runtime/Conversions.h"
#include "runtime/Text.h"

namespace tamlo::db {

DbRlt& Relations::Liste(std::int16_t i) const { return *EntreeA(relations_, i); }

void Relations::Ajoute(const DbRlt& rlt) {
  (void)runtime::CheckedInt16(static_cast<std::int64_t>(relations_.size()) + 1);
  relations_.push_back(std::make_unique<DbRlt>(rlt));
}

bool Relations::Add(const std::string& aliasSrc, const std::string& fldSrc, const std::string& aliasCbl, const std::string& fldCbl,
                    std::int32_t typ, std::int32_t typInv, bool obg) {
  const std::string source = runtime::UpperCase(aliasSrc);
  const std::string cible = runtime::UpperCase(aliasCbl);
  const bool connue = std::any_of(relations_.begin(), relations_.end(),
                                  [&](const auto& relation) { return relation->AliasSrc() == source && relation->AliasCbl() == cible; });
  if (connue) return false;
  DbRlt relation;
  relation.Init(source, runtime::LowerCase(fldSrc), cible, runtime::LowerCase(fldCbl), typ, typInv, !obg);
  Ajoute(relation);
  return true;
}

void Relations::Garde(std::size_t nombre) {
  if (nombre < relations_.size()) relations_.resize(nombre);
}

void Relations::Chaine(const std::string& aliasDe, const std::string& aliasVers, std::vector<DbRlt*>& chaine, std::int16_t& longueur,
                       const std::string& visites) const {
  chaine.clear();
  longueur = 0;
  // Separators at both ends: an alias is not taken for a longer one that contains it.
  if ((";" + visites + ";").find(";" + aliasDe + ";") != std::string::npos) return;
  for (const auto& relation : relations_) {
    const bool direct = relation->AliasSrc() == aliasDe && relation->AliasCbl() == aliasVers;
    const bool inverse = relation->AliasCbl() == aliasDe && relation->AliasSrc() == aliasVers;
    if (!direct && !inverse) continue;
    chaine.push_back(relation.get());
    longueur = 1;
    return;
  }
  const std::string dejaVus = aliasDe + ";" + visites;
  for (const auto& relation : relations_) {
    const bool parSource = relation->AliasSrc() == aliasDe;
    if (!parSource && relation->AliasCbl() != aliasDe) continue;
    Chaine(parSource ? relation->AliasCbl() : relation->AliasSrc(), aliasVers, chaine, longueur, dejaVus);
    if (longueur == 0) continue;
    chaine.insert(chaine.begin(), relation.get());
    longueur = runtime::Add16(longueur, 1);
    return;
  }
}

}  // namespace tamlo::db

#include "db/sql/Qualification.h"

#include <algorithm>
#include <iterator>

#include "db/sql/Textes.h"

namespace tamlo::db::sql {

namespace {

/// A form in which a name is qualified: what stands around it, and whether it is in brackets.
struct Forme {
  char avant;
  bool crochets;
  char apres;
};
constexpr Forme kFormes[] = {{' ', false, ' '}, {' ', false, '.'}, {' ', false, ','}, {' ', true, ' '},
                             {' ', true, '.'},  {' ', true, ','},  {' ', true, '('},  {' ', true, ')'},
                             {',', false, ' '}, {',', false, '.'}, {',', false, ','}, {',', true, ' '},
                             {',', true, '.'},  {',', true, ','},  {',', true, '('},  {',', true, ')'}};
constexpr std::size_t kNbFormes = std::size(kFormes);

/// The first form from depuis on that the place at which a name stands has; kNbFormes for none.
std::size_t FormeEn(std::string_view sql, std::size_t place, std::size_t longueur, std::size_t depuis) {
  std::size_t fin = place + longueur;
  const bool crochets = place > 0 && sql[place - 1] == '[' && fin < sql.size() && sql[fin] == ']';
  for (std::size_t i = depuis; i < kNbFormes; ++i) {
    const std::size_t marge = kFormes[i].crochets ? 1 : 0;
    if (marge == 1 && !crochets) continue;
    if (place > marge && fin + marge < sql.size() && sql[place - marge - 1] == kFormes[i].avant && sql[fin + marge] == kFormes[i].apres)
      return i;
  }
  return kNbFormes;
}

/// The same for all places of the text.
std::size_t FormePresente(std::string_view sql, std::string_view nom, std::size_t depuis) {
  std::size_t premiere = kNbFormes;
  for (std::size_t place = sql.find(nom); place != std::string_view::npos; place = sql.find(nom, place + 1)) {
    premiere = std::min(premiere, FormeEn(sql, place, nom.size(), depuis));
  }
  return premiere;
}

std::size_t Qualifie(std::string& sql, const TablesQualifiees::Table& table) {
  std::size_t passes = 1;
  std::string cherche;
  std::string remplace;
  for (std::size_t i = FormePresente(sql, table.nom, 0); i < kNbFormes; i = FormePresente(sql, table.nom, i + 1)) {
    const auto [avant, crochets, apres] = kFormes[i];
    cherche.assign(1, avant).append(crochets ? "[" : "").append(table.nom).append(crochets ? "]" : "").append(1, apres);
    remplace.assign(1, avant).append(table.owner).append(".").append(cherche, 1);
    RemplaceDans(sql, cherche, remplace);
    passes += 2;
  }
  return passes;
}

}  // namespace

std::size_t Qualifie(std::string& sql, const TablesQualifiees& tables) {
  std::size_t passes = 1;
  TablesQualifiees::Rangs rangs = tables.Nommees(sql);
  for (auto rang = rangs.begin(); rang != rangs.end();) {
    const TablesQualifiees::Table& table = tables[*rang];
    passes += Qualifie(sql, table);
    if (tables.PeutNommer(table.owner)) {
      const std::size_t fait = *rang;
      rangs = tables.Nommees(sql);
      rang = std::upper_bound(rangs.begin(), rangs.end(), fait);
      ++passes;
    } else {
      ++rang;
    }
  }
  return passes;
}

}  // namespace tamlo::db::sql

#include <algorithm>
#include <bit>

#include "db/sql/Octets.h"
#include "db/sql/Passes.h"
#include "db/sql/QualifieUsuel.h"
#include "db/sql/Textes.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db::sql {

namespace {

/// The sixteen replacements of one table.
void Qualifie(std::string& sql, const TablesQualifiees::Table& table) {
  struct Forme {
    std::string_view avant;
    std::string_view apres;
    bool crochets;
  };
  static constexpr Forme kFormes[] = {{" ", " ", false}, {" ", ".", false}, {" ", ",", false}, {" ", " ", true},
                                      {" ", ".", true},  {" ", ",", true},  {" ", "(", true},  {" ", ")", true},
                                      {",", " ", false}, {",", ".", false}, {",", ",", false}, {",", " ", true},
                                      {",", ".", true},  {",", ",", true},  {",", "(", true},  {",", ")", true}};
  std::string cherche;
  std::string remplace;
  for (const Forme& forme : kFormes) {
    const std::string nom = forme.crochets ? "[" + table.nom + "]" : table.nom;
    cherche.assign(forme.avant).append(nom).append(forme.apres);
    remplace.assign(forme.avant).append(table.owner).append(".").append(nom).append(forme.apres);
    RemplaceDans(sql, cherche, remplace);
  }
}

void AjouteMasques(std::string& sql, const std::string& masque) {
  std::size_t depart = 0;
  Positions positions(sql);
  for (;;) {
    const std::size_t c = sql.find(kCvdate, depart);
    if (c == std::string::npos) return;
    positions.Verifie(c);
    const std::size_t e = sql.find(')', c);
    if (e == std::string::npos) throw runtime::Error(runtime::kInvalidArgument);
    positions.Verifie(e);
    sql.insert(e, ",'" + masque + (EstDateSeule(std::string_view(sql).substr(c, e - c)) ? "'" : " HH24:MI:SS'"));
    depart = e + 1;
    positions = Positions(sql);
    positions.Verifie(depart);
  }
}

/// Step by step, as the dialect describes it: for whatever the quick way leaves alone.
void TraduitPasAPas(std::string& sql, const TablesQualifiees& tables) {
  sql += ' ';
  // Only the tables that the text may name are looked at. What is put in may name further ones, so the text is asked
  // again.
  for (std::int64_t rang = tables.Suivante(sql, -1); rang >= 0; rang = tables.Suivante(sql, rang)) {
    Qualifie(sql, tables[static_cast<std::size_t>(rang)]);
  }
  sql = std::string(runtime::Trim(sql));
  AjouteMasques(sql, LitFmtDateCourte());
  RemplaceDans(sql, " AS ", " ");
  RemplaceDans(sql, kCvdate, "TO_DATE");
  RemplaceDans(sql, "[", "\"");
  RemplaceDans(sql, "]", "\"");
}

}  // namespace

bool EstDateSeule(std::string_view jusquaParenthese) {
  constexpr std::size_t kAvantDate = 9;  // "CVDATE(" and the two quotes
  constexpr std::size_t kDateSeule = 10;
  return jusquaParenthese.size() <= kAvantDate + kDateSeule || runtime::Length(jusquaParenthese) <= kAvantDate + kDateSeule;
}

void PourOracle(std::string& sql, const TablesQualifiees* tables) {
  static const TablesQualifiees kAucune;
  const TablesQualifiees& connues = tables != nullptr ? *tables : kAucune;
  if (!TraduitUsuel(sql, connues)) TraduitPasAPas(sql, connues);
  if (CommenceParDelete(sql)) RetireAsterisques(sql);
}

}  // namespace tamlo::db::sql

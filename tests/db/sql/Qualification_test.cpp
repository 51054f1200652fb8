#include "db/sql/Qualification.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace tamlo::db::sql {
namespace {

/// nombre owned tables, the two of the statements among them.
TablesQualifiees Tables(std::size_t nombre) {
  TablesQualifiees tables;
  for (std::size_t i = 2; i < nombre; ++i) {
    tables.Ajoute("T" + std::to_string(i), "ADM");
    if (i == nombre / 2) tables.Ajoute("UTL", "ADM");
  }
  tables.Ajoute("VLM", "ADM");
  return tables;
}

constexpr const char* kDeux = "SELECT U.[NOM], V.* FROM [UTL] AS U, VLM V WHERE U.[NOM] = V.[NOM] ";

TEST(Qualification, GoesOverATextAsOftenWithTwentyThousandTablesAsWithAThousand) {
  std::string sql = kDeux;
  const std::size_t passes = Qualifie(sql, Tables(1000));
  EXPECT_EQ(sql, "SELECT U.[NOM], V.* FROM ADM.[UTL] AS U, ADM.VLM V WHERE U.[NOM] = V.[NOM] ");
  EXPECT_LE(passes, 20U) << "ten others follow: folding, masks, aliases, marks, asterisks";
  std::string encore = kDeux;
  EXPECT_EQ(Qualifie(encore, Tables(20000)), passes);
  EXPECT_EQ(encore, sql);
}

TEST(Qualification, ATextThatNamesNoTableIsLookedAtOnce) {
  std::string sql = "SELECT * FROM T2";
  EXPECT_EQ(Qualifie(sql, Tables(1000)), 2U) << "one look for names, one for the forms of T2";
  std::string sans = "SELECT * FROM AUTRE ";
  EXPECT_EQ(Qualifie(sans, Tables(20000)), 1U);
}

TEST(TablesQualifiees, OnlyTheTablesOfTheTextAreNamedHoweverManyThereAre) {
  for (const std::size_t nombre : {1000U, 20000U}) {
    const TablesQualifiees tables = Tables(nombre);
    std::vector<std::string> noms;
    for (const std::size_t rang : tables.Nommees(kDeux)) noms.push_back(tables[rang].nom);
    EXPECT_EQ(noms, (std::vector<std::string>{"UTL", "VLM"})) << nombre;
  }
}

TEST(TablesQualifiees, ATableWithABlankOwnerIsLeftOut) {
  TablesQualifiees tables;
  tables.Ajoute("UTL", "  ");
  tables.Ajoute("VLM", "");
  EXPECT_TRUE(tables.Nommees(kDeux).empty());
}

struct CasOwner {
  const char* nom;
  const char* owner;
  bool peutNommer;
};

TEST(TablesQualifiees, AnOwnerMayNameATableOnceItStandsInAText) {
  for (const CasOwner& cas : {CasOwner{"UTL", "ADM", false}, CasOwner{"UTL", "UTL", true}, CasOwner{"UTL", "A UTL", true},
                              CasOwner{"UTL", "A,UTL.X", true}, CasOwner{"UTL", "A.UTL", false}, CasOwner{"UTL", "[A", true},
                              CasOwner{"A B", "ADM", true}, CasOwner{"UTL", "UT", false}, CasOwner{"", "ADM", false}}) {
    TablesQualifiees tables;
    tables.Ajoute(cas.nom, cas.owner);
    EXPECT_EQ(tables.PeutNommer(cas.owner), cas.peutNommer) << cas.nom << "|" << cas.owner;
  }
}

}  // namespace
}  // namespace tamlo::db::sql

#include "ado/jet/FrenchReason.h"

#include <gtest/gtest.h>

namespace tamlo::ado::jetprovider {
namespace {

TEST(FrenchReason, AKnownSentenceIsSaidInFrenchWithItsNames) {
  EXPECT_EQ(FrenchReason("The column \"NOM\" must have a value"), "la colonne \"NOM\" exige une valeur");
  EXPECT_EQ(FrenchReason("The table \"UTL\" has no column \"N° 1\""), "la table \"UTL\" n'a pas de colonne \"N° 1\"");
  EXPECT_EQ(FrenchReason("overflow"), "dépassement de capacité");
}

TEST(FrenchReason, ThePlaceIsToldBehindIt) {
  EXPECT_EQ(FrenchReason("expression expected (at character 12)"), "expression attendue (caractère 12)");
  EXPECT_EQ(FrenchReason("\"A.MDB\" is cut short (page 0, offset 100)"), "\"A.MDB\" est tronqué (page 0, octet 100)");
  EXPECT_EQ(FrenchReason("expression expected, the text ends here (at character 24)"),
            "expression attendue à la fin du texte (caractère 24)");
  EXPECT_EQ(FrenchReason("number of values and of columns differ near \"VALUES\" (at character 17)"),
            "il n'y a pas autant de valeurs que de colonnes près de \"VALUES\" (caractère 17)");
}

TEST(FrenchReason, ASentenceThatIsNotKnownStaysWhole) {
  for (const char* reason : {"what \"A\" and \"B\" are up to (at character 3)", "a row points outside (page 7, offset 20)", "half a \"name",
                             "", "SELECT expected somewhere", "no SELECT expected"})
    EXPECT_EQ(FrenchReason(reason), reason);
}

}  // namespace
}  // namespace tamlo::ado::jetprovider

#include "db/sql/Textes.h"

#include <gtest/gtest.h>

#include "runtime/Error.h"
#include "runtime/RegionalSettings.h"

using tamlo::db::sql::ChaineFixe;
using tamlo::db::sql::LitFmtDateCourte;
using tamlo::db::sql::Remplace;
using tamlo::db::sql::RemplaceDans;

TEST(Remplace, ReplacesEveryOccurrenceFromLeftToRight) {
  EXPECT_EQ(Remplace("a-b-c", "-", "+"), "a+b+c");
  EXPECT_EQ(Remplace("aaaa", "aa", "b"), "bb");
  EXPECT_EQ(Remplace("aaa", "aa", "b"), "ba");
  EXPECT_EQ(Remplace("", "x", "y"), "");
}

TEST(Remplace, DoesNotSearchWhatItPutIn) {
  EXPECT_EQ(Remplace("ab", "a", "aa"), "aab");
  EXPECT_EQ(Remplace("aab", "ab", "b"), "ab");
}

TEST(Remplace, ComparesExactly) { EXPECT_EQ(Remplace("Aa", "a", "x"), "Ax"); }

TEST(Remplace, OverflowsWhereTheSearchCannotGoOn) {
  const auto numero = [](const std::string& texte) {
    return tamlo::runtime::IgnoringErrors([&] { (void)Remplace(texte, "x", "y"); }).number;
  };
  EXPECT_EQ(numero(std::string(32765, 'a') + "x"), 0);
  EXPECT_EQ(numero(std::string(32766, 'a') + "x"), tamlo::runtime::kOverflow);
  EXPECT_EQ(numero(std::string(40000, 'a')), 0);
}

TEST(RemplaceDans, LeavesTheTextAfterAnError) {
  std::string texte = "x" + std::string(32766, 'a') + "x";
  const std::string avant = texte;
  EXPECT_THROW(RemplaceDans(texte, "x", ""), tamlo::runtime::Error);
  EXPECT_EQ(texte, avant);
}

TEST(RemplaceDans, DoesWhatRemplaceDoes) {
  for (const char* remplace : {"", "y", "yy", "yyyy"}) {
    std::string texte = "xxaxxxbxx";
    RemplaceDans(texte, "xx", remplace);
    EXPECT_EQ(texte, Remplace("xxaxxxbxx", "xx", remplace));
  }
}

TEST(ChaineFixe, CutsAndPadsToTheLength) {
  EXPECT_EQ(ChaineFixe("abc", 5), "abc  ");
  EXPECT_EQ(ChaineFixe("abc", 2), "ab");
  EXPECT_EQ(ChaineFixe("été", 4), "été ");
  EXPECT_EQ(ChaineFixe("été", 1), "é");
}

TEST(ChaineFixe, IsAllBlanksForABlankText) {
  EXPECT_EQ(ChaineFixe("", 3), "   ");
  EXPECT_EQ(ChaineFixe("      ", 2), "  ");
  EXPECT_EQ(ChaineFixe("", 0), "");
}

TEST(LitFmtDateCourte, GivesTheSettingAtMostNineteenCharactersLong) {
  const auto lit = [](const std::string& courte) {
    const tamlo::runtime::RegionalSettingsOverride reglages({courte, ','});
    return LitFmtDateCourte();
  };
  EXPECT_EQ(lit("dd/MM/yyyy"), "dd/MM/yyyy");
  EXPECT_EQ(lit(""), " ");
  EXPECT_EQ(lit("dddd dd MMMM yyyy 'é'"), "dddd dd MMMM yyyy '");
}

#include "app/Processus.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "app/LigneCommande.h"
#include "runtime/Error.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::app {
namespace {

std::vector<std::string> SplitAgain(const std::vector<std::string>& arguments) {
  LigneCommande(JointArguments(arguments));
  LitParametres();
  std::vector<std::string> parameters;
  for (std::int16_t i = 1; i <= NbParametres(); ++i) parameters.push_back(Parametres(i));
  return parameters;
}

using Texts = std::vector<std::string>;

TEST(JointArguments, ArgumentsComeOutOfTheSplittingAsTheyWentIn) {
  for (const Texts& arguments : {Texts{"VOLUMES", "4", "12", "DUPONT", "3"}, Texts{"C:\\Mes bases\\V.MDB", "0", "1", "JEAN PAUL", "2"},
                                 Texts{"", "", "a", ""}, Texts{" a ", "  ", "b\tc", "d'e"}, Texts{"é", "à ç"}, Texts{}}) {
    EXPECT_EQ(SplitAgain(arguments), arguments);
  }
}

TEST(JointArguments, ADoubleQuoteIsDroppedAndLeavesTheOthersWhole) {
  EXPECT_EQ(SplitAgain({"a\"b", "c\" d", "\"", "e f"}), (Texts{"ab", "c d", "", "e f"}));
}

TEST(PremierGuillemet, IsThePositionOfTheFirstArgumentThatNoCommandLineCarries) {
  EXPECT_EQ(PremierGuillemet({}), 0);
  EXPECT_EQ(PremierGuillemet({"V", "0", "12", "AL'EX", "3"}), 0);
  EXPECT_EQ(PremierGuillemet({"V", "0", "12", "AL\"EX", "3", "\""}), 4);
}

std::wstring WithoutPasswords(std::wstring line) {
  EffaceMotsPasse(line.data());
  return line;
}

TEST(EffaceMotsPasse, TheSixthAndTheEighthParameterBecomeSpaces) {
  EXPECT_EQ(WithoutPasswords(L"VOLUMES 4 12 DUPONT 3 secret ADMIN codé"), L"VOLUMES 4 12 DUPONT 3        ADMIN     ");
  EXPECT_EQ(WithoutPasswords(L"  V 0 12 DUPONT 3   secret  "), L"  V 0 12 DUPONT 3           ");
}

TEST(EffaceMotsPasse, SpacesBetweenDoubleQuotesBelongToTheParameter) {
  EXPECT_EQ(WithoutPasswords(L"\"C:\\Mes bases\\V.MDB\" 0 12 \"JEAN PAUL\" 3 \"mon secret\" A"),
            L"\"C:\\Mes bases\\V.MDB\" 0 12 \"JEAN PAUL\" 3              A");
  EXPECT_EQ(WithoutPasswords(L"1 2 3 4 \"\" a\" b\"c 7 \"x"), L"1 2 3 4 \"\"        7   ");
}

TEST(EffaceMotsPasse, StarsTakeThePlaceOfThePasswordsInsideTheFirst) {
  EXPECT_EQ(WithoutPasswords(L"DSN=V;UID=moi;PWD=été 4 12 DUPONT 3"), L"DSN=V;UID=moi;PWD=*** 4 12 DUPONT 3");
  EXPECT_EQ(WithoutPasswords(L"\"DSN=V;PWD = {a b};X=1\" 4 12 \"PWD=DUPONT\" 3"), L"\"DSN=V;PWD = *****;X=1\" 4 12 \"PWD=DUPONT\" 3");
  EXPECT_EQ(WithoutPasswords(L"DSN=V;P\"W\"D=\"a b\" 4 12 DUPONT 3"), L"DSN=V;P\"W\"D=\"***\" 4 12 DUPONT 3");
}

TEST(EffaceSecrets, StarsTakeThePlaceOfThePasswordsOfAConnectionString) {
  std::string text = "PWD=a;DSN=V;Password={b c}";
  EffaceSecrets(text.data());
  EXPECT_EQ(text, "PWD=*;DSN=V;Password=*****");
}

TEST(EffaceMotsPasse, FiveParametersStayAsTheyAre) {
  EXPECT_EQ(WithoutPasswords(L"V 0 12 DUPONT 3"), L"V 0 12 DUPONT 3");
  EXPECT_EQ(WithoutPasswords(L""), L"");
}

#ifndef _WIN32  // there the command line is one text of the system's

/// The memory of an argument list as a program gets it.
class ArgumentList {
 public:
  explicit ArgumentList(Texts texts) : texts_(std::move(texts)) {
    for (std::string& text : texts_) pointers_.push_back(text.data());
    pointers_.push_back(nullptr);
  }
  int Count() const { return static_cast<int>(texts_.size()); }
  char** Pointers() { return pointers_.data(); }
  const Texts& Memory() const { return texts_; }

 private:
  Texts texts_;
  std::vector<char*> pointers_;
};

TEST(LitLigneCommande, ReadsThePasswordsAndBlanksThemInTheList) {
  ArgumentList list({"/usr/bin/tamlo", "VOLUMES", "4", "12", "DUPONT", "3", "secret", "ADMIN", "codé"});
  EXPECT_EQ(LitLigneCommande(list.Count(), list.Pointers()).texte, "VOLUMES 4 12 DUPONT 3 secret ADMIN codé");
  EXPECT_EQ(list.Memory(),
            (Texts{"/usr/bin/tamlo", "VOLUMES", "4", "12", "DUPONT", "3", std::string(6, '\0'), "ADMIN", std::string(5, '\0')}));
}

TEST(LitLigneCommande, AlsoOfARunThatEndsWithTheUsageBox) {
  ArgumentList list({"tamlo", "1", "2", "3", "4", "5", "six", "7", "huit", "9"});
  EXPECT_EQ(LitLigneCommande(list.Count(), list.Pointers()).texte, "1 2 3 4 5 six 7 huit 9");
  EXPECT_EQ(list.Memory()[6], std::string(3, '\0'));
  EXPECT_EQ(list.Memory()[8], std::string(4, '\0'));
}

TEST(LitLigneCommande, WithoutArgumentsIsEmpty) {
  ArgumentList list({"tamlo"});
  EXPECT_EQ(LitLigneCommande(list.Count(), list.Pointers()).texte, "");
  EXPECT_EQ(LitLigneCommande(0, list.Pointers()).texte, "");
}

TEST(LitLigneCommande, APasswordInsideTheFirstArgumentIsReadAndLeavesTheListToo) {
  ArgumentList list({"tamlo", "DSN=V;PWD=secret;UID=moi", "4", "12", "AL\"EX", "3"});
  const LigneLue read = LitLigneCommande(list.Count(), list.Pointers());
  EXPECT_EQ(read.texte, "DSN=V;PWD=secret;UID=moi 4 12 ALEX 3");
  EXPECT_EQ(read.guillemet, 4);
  EXPECT_EQ(list.Memory()[1], "DSN=V;PWD=******;UID=moi");
}

#endif

TEST(DossierDuProgramme, IsWhereTheProgramFileLies) {
  const std::filesystem::path folder = DossierDuProgramme();
  EXPECT_TRUE(folder.is_absolute());
  EXPECT_TRUE(std::filesystem::exists(folder / "app_test") || std::filesystem::exists(folder / "app_test.exe"));
}

TEST(ChangeDossierCourant, MakesTheFolderCurrent) {
  const auto before = std::filesystem::current_path();
  {
    const tests::TemporaryFolder folder;
    ChangeDossierCourant(folder.Path().string());
    EXPECT_TRUE(std::filesystem::equivalent(std::filesystem::current_path(), folder.Path()));
    ChangeDossierCourant(before.string());
  }
  EXPECT_EQ(std::filesystem::current_path(), before);
}

TEST(ChangeDossierCourant, AFolderThatIsNotThereIsError76) {
  const tests::TemporaryFolder folder;
  try {
    ChangeDossierCourant(folder.File("absent"));
    FAIL() << "no error";
  } catch (const runtime::Error& error) {
    EXPECT_EQ(error.Number(), 76);
    EXPECT_EQ(error.Description(), "Chemin d'accès introuvable");
  }
}

}  // namespace
}  // namespace tamlo::app

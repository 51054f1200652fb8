#include "app/Demarrage.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

#include "app/BasesOuvertes.h"
#include "app/LigneCommande.h"
#include "app/UtlConnecte.h"
#include "db/Environnement.h"
#include "runtime/Error.h"
#include "runtime/RegionalSettings.h"
#include "tests/app/VolumesScriptes.h"

namespace tamlo::app {
namespace {

using tests::RecordedCall;
using tests::ShownMessage;
using Texts = std::vector<std::string>;

class MainTest : public VolumesScriptes {
 protected:
  void ExpectErrorBox(const std::string& text) {
    ASSERT_EQ(platform.messages.size(), 1U);
    EXPECT_EQ(platform.messages[0], (ShownMessage{text, ui::kCritical, "tamlo"}));
  }
  std::size_t Opened() const { return provider.Count(RecordedCall::Kind::kOpen); }
};

class WrongCountTest : public MainTest, public testing::WithParamInterface<const char*> {};

TEST_P(WrongCountTest, ShowsTheUsageBoxAndOpensNothing) {
  EXPECT_EQ(Execute(GetParam()), 1);
  ASSERT_EQ(platform.messages.size(), 1U);
  EXPECT_EQ(platform.messages[0].title, "Programme interrompu");
  EXPECT_EQ(platform.messages[0].buttons, 16);
  EXPECT_EQ(platform.messages[0].text,
            "\n"
            "Veuillez indiquez les paramètres suivants :\n"
            "\n"
            "      1 - Nom de la base des volumes\n"
            "      2 - Type de la base des volumes\n"
            "      3 - Identifiant du volume concerné\n"
            "      4 - Nom de l'utilisateur à créer\n"
            "      5 - Niveau de l'utilisateur à créer\n"
            "      6 - Mot de passe de l'utilisateur à créer - facultatif\n"
            "      7 - Utilisateur connecté - facultatif\n"
            "      8 - Mot de passe de l'utilisateur connecté - facultatif");
  EXPECT_EQ(Opened(), 0U);
  EXPECT_TRUE(platform.Forms().empty());
  EXPECT_EQ(platform.runs, 0);
}

INSTANTIATE_TEST_SUITE_P(Counts, WrongCountTest,
                         testing::Values("", "   ", "a", "base.mdb 0 12 DUPONT", "base.mdb 0 12 DUPONT 3 pwd utl code 9"));

TEST_F(MainTest, SevenParametersEndWithError9BeforeTheDatabaseIsOpened) {
  EXPECT_EQ(Execute("base.mdb 0 12 DUPONT 3 secret ADMIN"), 1);
  ExpectErrorBox("Erreur d'exécution '9' :\n\nL'indice n'appartient pas à la sélection");
  EXPECT_EQ(Opened(), 0U);
}

TEST_F(MainTest, FiveParametersLookTheStoredPasswordUp) {
  UtlFound({{std::int32_t{7}, "DUPONT", Encoded("abc")}}, std::int32_t{7});
  Start("base.mdb 0 12 DUPONT 3");
  EXPECT_EQ(Box("txtNom").Text(), "DUPONT");
  EXPECT_EQ(Box("txtPwd").Text(), "abc");
  EXPECT_EQ(Box("txtPwd2").Text(), "abc");
  EXPECT_EQ(OwnSources(), Texts{"SELECT * FROM UTL WHERE NOM='DUPONT'"});
}

TEST_F(MainTest, SixParametersPassTheClearPasswordAndNoConnectedUser) {
  UtlFound({{std::int32_t{7}, "DUPONT", Encoded("abc")}}, std::int32_t{7});
  Start("base 4 12 DUPONT 3 secret");
  EXPECT_EQ(Box("txtPwd").Text(), "secret");
  EXPECT_EQ(Box("txtPwd2").Text(), "secret");
  EXPECT_EQ(NomUtlConnecte(), "");
  const RecordedCall open = provider.Calls().front();
  EXPECT_EQ(open.kind, RecordedCall::Kind::kOpen);
  EXPECT_EQ(open.open.userId, "");
  EXPECT_EQ(open.open.password, "");
}

TEST_F(MainTest, EightParametersLogInAsTheConnectedUser) {
  Start("base 4 12 DUPONT 3 secret ADMIN " + Encoded("motdepasse"));
  const RecordedCall open = provider.Calls().front();
  EXPECT_EQ(open.kind, RecordedCall::Kind::kOpen);
  EXPECT_EQ(open.open.provider, "MSDASQL");
  EXPECT_EQ(open.open.connectionString, "BASE");
  EXPECT_EQ(open.open.userId, "ADMIN");
  EXPECT_EQ(open.open.password, "motdepasse");
  EXPECT_EQ(NomUtlConnecte(), "ADMIN");
  EXPECT_EQ(IdUtlConnecte(), 0);
}

TEST_F(MainTest, AnEncodedPasswordOfEveryCharacterTravelsOnTheCommandLine) {
  std::string all;
  for (char code = ' '; code <= '}'; ++code) all += code;
  Start("base 4 12 DUPONT 3 secret ADMIN " + Encoded(all));
  EXPECT_EQ(provider.Calls().front().open.password, all);
}

TEST_F(MainTest, AFailedOpenEndsWithTheLayersMessageAlone) {
  provider.FailOpen(-2147467259, "serveur absent");
  EXPECT_EQ(Execute("base.mdb 0 12 DUPONT 3"), 1);
  ASSERT_EQ(platform.messages.size(), 1U);
  EXPECT_EQ(platform.messages[0],
            (ShownMessage{"La base est incorrecte. Erreur -2147467259 (serveur absent)", 48, "Impossible d'ouvrir la base <BASE.MDB>"}));
  EXPECT_EQ(NbBasesOuvertes(), 0);
  EXPECT_TRUE(platform.Forms().empty());
}

TEST_F(MainTest, AKindThatIsNoNumberEndsWithError13BeforeTheDatabaseIsOpened) {
  EXPECT_EQ(Execute("base.mdb Access 12 DUPONT 3"), 1);
  ExpectErrorBox("Erreur d'exécution '13' :\n\nIncompatibilité de type");
  EXPECT_EQ(Opened(), 0U);
}

TEST_F(MainTest, AKindOutOfRangeEndsWithError6BeforeTheDatabaseIsOpened) {
  EXPECT_EQ(Execute("base.mdb 32768 12 DUPONT 3"), 1);
  ExpectErrorBox("Erreur d'exécution '6' :\n\nDépassement de capacité");
  EXPECT_EQ(Opened(), 0U);
}

TEST_F(MainTest, AnEmptyKindEndsWithError13) {
  EXPECT_EQ(Execute("base.mdb \"\" 12 DUPONT 3"), 1);
  ExpectErrorBox("Erreur d'exécution '13' :\n\nIncompatibilité de type");
}

TEST_F(MainTest, AVolumeThatIsNoNumberEndsWithError13AndClosesTheDatabase) {
  EXPECT_EQ(Execute("base.mdb 0 douze DUPONT 3"), 1);
  ExpectErrorBox("Erreur d'exécution '13' :\n\nIncompatibilité de type");
  EXPECT_EQ(provider.Count(RecordedCall::Kind::kClose), 1U);
  EXPECT_EQ(platform.runs, 0);
}

TEST_F(MainTest, ALevelThatIsNoNumberEndsWithError13) {
  EXPECT_EQ(Execute("base.mdb 0 12 DUPONT trois"), 1);
  ExpectErrorBox("Erreur d'exécution '13' :\n\nIncompatibilité de type");
}

TEST_F(MainTest, OfTwoWrongNumbersTheVolumesIsTold) {
  EXPECT_EQ(Execute("base.mdb 0 douze DUPONT 40000"), 1);
  ExpectErrorBox("Erreur d'exécution '13' :\n\nIncompatibilité de type");
}

TEST_F(MainTest, ALevelOutOfRangeEndsWithError6) {
  EXPECT_EQ(Execute("base.mdb 0 12 DUPONT 40000"), 1);
  ExpectErrorBox("Erreur d'exécution '6' :\n\nDépassement de capacité");
}

TEST_F(MainTest, TheVolumeIsReadWithTheUsersDecimalSeparator) {
  const runtime::RegionalSettingsOverride french({"dd/MM/yyyy", ','});
  platform.whileRunning = [this] { Form().PressEnter(); };
  EXPECT_EQ(Execute("base.mdb 0 12,5 DUPONT 3 secret"), 0);
  EXPECT_EQ(OwnSources().back(), "SELECT * FROM VLMUTL WHERE IDUTL=1 AND IDVLM=12.5");
}

TEST_F(MainTest, TheFormIsShownWithTheHourglassGone) {
  Start("base.mdb 0 12 DUPONT 3");
  EXPECT_TRUE(Form().shown);
  EXPECT_EQ(platform.pointers, (std::vector{ui::Pointer::kHourglass, ui::Pointer::kDefault}));
  EXPECT_TRUE(platform.messages.empty());
}

TEST_F(MainTest, CancelEndsWithStatus0) {
  platform.whileRunning = [this] { Form().PressEscape(); };
  EXPECT_EQ(Execute("base.mdb 0 12 DUPONT 3"), 0);
  EXPECT_TRUE(platform.messages.empty());
  EXPECT_EQ(platform.runs, 1);
}

TEST_F(MainTest, AnErrorWithoutADescriptionStillSaysSomething) {
  provider.FailPrefix(kUtl, 1234, "");
  EXPECT_EQ(Execute("base.mdb 0 12 DUPONT 3"), 1);
  ExpectErrorBox("Erreur d'exécution '1234' :\n\nErreur définie par l'application ou par l'objet");
}

TEST_F(MainTest, ADefectOfTheProgramEndsWithItsBoxToo) {
  platform.whileRunning = [] { throw std::logic_error("xyz"); };
  EXPECT_EQ(Execute("base.mdb 0 12 DUPONT 3"), 1);
  ExpectErrorBox("Erreur d'exécution '51' :\n\nErreur interne : xyz");
}

TEST_F(MainTest, NoMemoryLeftEndsWithItsBoxToo) {
  platform.whileRunning = [] { throw std::bad_alloc(); };
  EXPECT_EQ(Execute("base.mdb 0 12 DUPONT 3"), 1);
  ExpectErrorBox("Erreur d'exécution '7' :\n\nMémoire insuffisante");
}

}  // namespace
}  // namespace tamlo::app

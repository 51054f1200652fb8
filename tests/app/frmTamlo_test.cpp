#include "app/frmTamlo.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "app/BasesOuvertes.h"
#include "app/Demarrage.h"
#include "app/LigneCommande.h"
#include "app/TableCode.h"
#include "tests/app/VolumesScriptes.h"

namespace tamlo::app {
namespace {

using runtime::Null;
using tests::RecordedCall;
using tests::ShownMessage;
using Texts = std::vector<std::string>;

bool Same(ui::Rectangle a, ui::Rectangle b) { return a.left == b.left && a.top == b.top && a.width == b.width && a.height == b.height; }

class FormTest : public VolumesScriptes {
 protected:
  void Load(const std::string& password = "secret") { Start("base.mdb 0 12 dupont 3 " + password); }
};

TEST_F(FormTest, LooksAsDesigned) {
  Load();
  EXPECT_EQ(Form().caption, "Création d'un utilisateur");
  EXPECT_EQ(Form().clientWidth, 6150);
  EXPECT_EQ(Form().clientHeight, 3090);
  EXPECT_TRUE(Same(Box("txtNom").state.place, {2625, 480, 2790, 315}));
  EXPECT_TRUE(Same(Box("txtPwd").state.place, {2625, 1080, 705, 315}));
  EXPECT_TRUE(Same(Box("txtPwd2").state.place, {2640, 1575, 705, 315}));
  EXPECT_TRUE(Same(Form().Button("btnOK").state.place, {3300, 2640, 1320, 330}));
  EXPECT_TRUE(Same(Form().Button("btnAnnuler").state.place, {4710, 2640, 1320, 330}));
  EXPECT_EQ(Form().Button("btnOK").caption, "&OK");
  EXPECT_TRUE(Form().Button("btnOK").isDefault);
  EXPECT_EQ(Form().Button("btnAnnuler").caption, "&Annuler");
  EXPECT_TRUE(Form().Button("btnAnnuler").isCancel);
}

TEST_F(FormTest, TheControlsArePlacedFromTheConfirmationToOkThenTheLabels) {
  Load();
  EXPECT_EQ(Form().added, (Texts{"txtPwd2", "txtNom", "txtPwd", "btnAnnuler", "btnOK", "lblNom", "lblPwd", "lblPwd2"}));
}

TEST_F(FormTest, LimitsLockAndColours) {
  Load();
  EXPECT_EQ(Box("txtNom").maxLength, 30);
  EXPECT_EQ(Box("txtPwd").maxLength, 10);
  EXPECT_EQ(Box("txtPwd2").maxLength, 10);
  EXPECT_EQ(Box("txtNom").backColor, (ui::Color{192, 192, 192}));
  EXPECT_EQ(Box("txtPwd").backColor, (ui::Color{255, 255, 224}));
  EXPECT_EQ(Box("txtPwd2").backColor, (ui::Color{255, 255, 224}));
  EXPECT_TRUE(Box("txtNom").locked);
  EXPECT_FALSE(Box("txtPwd").locked);
  EXPECT_FALSE(Box("txtPwd2").locked);
}

TEST_F(FormTest, TabsGoThroughPasswordsButtonsAndName) {
  Load();
  EXPECT_EQ(Form().Focused(), &Box("txtPwd"));
  const std::vector<ui::Control*> order{&Box("txtPwd"), &Box("txtPwd2"), &Form().Button("btnOK"), &Form().Button("btnAnnuler"),
                                        &Box("txtNom")};
  EXPECT_EQ(Form().tabOrder, order);
}

TEST_F(FormTest, TheTipsAreAlsoLabelsAndSpokenNames) {
  Load();
  const std::pair<const char*, const char*> texts[] = {{"Nom", "Nom"}, {"Pwd", "Mot de passe"}, {"Pwd2", "Confirmation du mot de passe"}};
  for (const auto& [name, text] : texts) {
    const tests::FakeTextBox& box = Box(std::string("txt") + name);
    EXPECT_EQ(box.state.tip, text);
    EXPECT_EQ(box.state.accessibleName, text);
    const tests::FakeLabel& label = Form().Label(std::string("lbl") + name);
    EXPECT_EQ(label.caption, text);
    EXPECT_EQ(label.buddy, &box);
    // In the free space left of its box, at its height.
    EXPECT_GE(label.state.place.left, 0);
    EXPECT_LE(label.state.place.left + label.state.place.width, box.state.place.left);
    EXPECT_LE(label.state.place.top, box.state.place.top);
    EXPECT_GE(label.state.place.top + label.state.place.height, box.state.place.top + box.state.place.height);
  }
}

TEST_F(FormTest, IsCentredOnTheScreen) {
  platform.screenWidth = 20000;
  platform.screenHeight = 10000;
  Load();
  EXPECT_EQ(Form().left, (20000 - 6150 - tests::FakeForm::kFrameWidth) / 2);
  EXPECT_EQ(Form().top, 3252);  // 3252.5, to the even neighbour
}

TEST_F(FormTest, APasswordParameterFillsBothBoxesAndNothingIsRead) {
  UtlFound({{std::int32_t{7}, "dupont", Encoded("abc")}}, std::int32_t{7});
  Load("secret");
  EXPECT_EQ(Box("txtPwd").Shown(), "******");
  EXPECT_EQ(Box("txtPwd2").Shown(), "******");
  EXPECT_EQ(Box("txtPwd").Text(), "secret");
  EXPECT_EQ(OwnSources(), Texts{});
}

TEST_F(FormTest, AKnownNameFillsBothBoxesWithTheStoredPassword) {
  UtlFound({{std::int32_t{7}, "dupont", Encoded("abc") + "  "}}, std::int32_t{7});
  Start("base.mdb 0 12 dupont 3");
  EXPECT_EQ(Box("txtPwd").Text(), "abc");
  EXPECT_EQ(Box("txtPwd2").Text(), "abc");
  EXPECT_EQ(OwnSources(), Texts{"SELECT * FROM UTL WHERE NOM='dupont'"});
}

TEST_F(FormTest, AnUnknownNameLeavesBothBoxesEmpty) {
  Start("base.mdb 0 12 dupont 3");
  EXPECT_EQ(Box("txtPwd").Text(), "");
  EXPECT_EQ(Box("txtPwd2").Text(), "");
}

TEST_F(FormTest, ANullStoredPasswordReadsAsEmpty) {
  UtlFound({{std::int32_t{7}, "dupont", Null{}}}, std::int32_t{7});
  Start("base.mdb 0 12 dupont 3");
  EXPECT_EQ(Box("txtPwd").Text(), "");
}

TEST_F(FormTest, APasswordOfSpacesCountsAsNone) {
  UtlFound({{std::int32_t{7}, "DUPONT  ", Encoded("abc")}}, std::int32_t{7});
  Load("\"   \"");
  EXPECT_EQ(Box("txtPwd").Text(), "abc");
}

TEST_F(FormTest, TheNameStaysAsGivenUntilItLosesTheFocus) {
  Start("base.mdb 0 12 Éric-André 3 secret");
  EXPECT_EQ(Box("txtNom").Text(), "Éric-André");
  Form().Focus(Box("txtNom"));
  EXPECT_EQ(Box("txtNom").Text(), "Éric-André");
  Form().PressTab();
  EXPECT_EQ(Box("txtNom").Text(), "ÉRIC-ANDRÉ");
}

TEST_F(FormTest, APasswordLongerThanItsBoxIsCut) {
  Start("base.mdb 0 12 ABCDEFGHIJKLMNOPQRSTUVWXYZ0123 3 motdepasselong");
  EXPECT_EQ(Box("txtNom").Text(), "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123");
  EXPECT_EQ(Box("txtPwd").Text(), "motdepasse");
}

TEST_F(FormTest, TheEleventhCharacterOfAPasswordIsRefused) {
  Load();
  Box("txtPwd").Type("12345678901");
  EXPECT_EQ(Box("txtPwd").Text(), "1234567890");
  Box("txtPwd2").Type("éàùçôîûâêëï");
  EXPECT_EQ(Box("txtPwd2").Text(), "éàùçôîûâêë");
}

TEST_F(FormTest, ABoxThatGainsTheFocusHasItsWholeTextSelected) {
  Load("été");
  for (const char* name : {"txtPwd", "txtPwd2", "txtNom"}) {
    Form().Focus(Box(name));
    EXPECT_EQ(Box(name).SelectionStart(), 0) << name;
    EXPECT_EQ(Box(name).SelectionLength(), Box(name).Text() == "été" ? 3 : 6) << name;
  }
  Box("txtPwd").Type("x");
  EXPECT_EQ(Box("txtPwd").Text(), "x");
}

TEST_F(FormTest, PasswordsGiveNothingToTheClipboard) {
  Load("secret");
  EXPECT_EQ(Box("txtPwd").Copied(), "");
  EXPECT_EQ(Box("txtPwd2").Copied(), "");
}

class SaveTest : public VolumesScriptes {
 protected:
  static constexpr const char* kLine = "base.mdb 0 12 DUPONT 3 secret";

  int Save(const std::string& line = kLine) {
    platform.whileRunning = [this] { Form().PressEnter(); };
    return Execute(line);
  }
  void ExpectErrorBox(const std::string& text) {
    ASSERT_EQ(platform.messages.size(), 1U);
    EXPECT_EQ(platform.messages[0], (ShownMessage{text, ui::kCritical, "tamlo"}));
  }
};

TEST_F(SaveTest, ANewUserGetsTheNextIdAndItsLink) {
  UtlFound({}, std::int32_t{41});
  EXPECT_EQ(Save(), 0);
  EXPECT_EQ(Inserted(kUtl), Texts{"IdUtl=42 Nom=DUPONT MotPasse=" + Encoded("secret")});
  EXPECT_EQ(Inserted(kVlmUtl), Texts{"IdUtl=42 IdVlm=12 Niveau=3"});
  EXPECT_EQ(OwnSources(), (Texts{"SELECT * FROM UTL WHERE NOM='DUPONT'", "SELECT MAX([IDUTL]) FROM UTL",
                                 "SELECT * FROM VLMUTL WHERE IDUTL=42 AND IDVLM=12"}));
  EXPECT_TRUE(platform.messages.empty());
}

TEST_F(SaveTest, TheFirstUserOfAnEmptyTableGetsId1) {
  EXPECT_EQ(Save(), 0);
  EXPECT_EQ(Inserted(kUtl), Texts{"IdUtl=1 Nom=DUPONT MotPasse=" + Encoded("secret")});
  EXPECT_EQ(Inserted(kVlmUtl), Texts{"IdUtl=1 IdVlm=12 Niveau=3"});
}

TEST_F(SaveTest, AKnownUserKeepsItsIdAndGetsTheNewPasswordAndAMissingLink) {
  UtlFound({{std::int32_t{7}, "DUPONT", Encoded("old")}}, std::int32_t{41});
  EXPECT_EQ(Save(), 0);
  EXPECT_EQ(Inserted(kUtl), Texts{});
  EXPECT_EQ(Updated(kUtl), Texts{"Nom=DUPONT MotPasse=" + Encoded("secret")});
  EXPECT_EQ(Inserted(kVlmUtl), Texts{"IdUtl=7 IdVlm=12 Niveau=3"});
}

TEST_F(SaveTest, AnExistingLinkKeepsItsLevel) {
  UtlFound({{std::int32_t{7}, "DUPONT", Encoded("old")}}, std::int32_t{41});
  VlmUtlFound({{std::int32_t{7}, std::int32_t{12}, std::int16_t{9}}});
  EXPECT_EQ(Save(), 0);
  EXPECT_EQ(Inserted(kVlmUtl), Texts{});
  EXPECT_EQ(Updated(kVlmUtl), Texts{});
}

TEST_F(SaveTest, TheTwoTablesAreWrittenWithoutATransaction) {
  EXPECT_EQ(Save(), 0);
  // The opening has built the catalog in one.
  const auto& calls = provider.Calls();
  const auto first = std::find_if(calls.begin(), calls.end(), [](const RecordedCall& call) { return call.text.rfind(kUtl, 0) == 0; });
  ASSERT_NE(first, calls.end());
  EXPECT_EQ(std::count_if(first, calls.end(), [](const RecordedCall& call) { return call.kind == RecordedCall::Kind::kBegin; }), 0);
}

TEST_F(SaveTest, AnEmptyPasswordIsAccepted) {
  platform.whileRunning = [this] {
    Box("txtPwd").Text("");
    Box("txtPwd2").Text("");
    Form().PressEnter();
  };
  EXPECT_EQ(Execute(kLine), 0);
  EXPECT_EQ(Inserted(kUtl), Texts{"IdUtl=1 Nom=DUPONT MotPasse="});
}

TEST_F(SaveTest, TheNameInTheBoxIsSaved) {
  platform.whileRunning = [this] {
    Form().Focus(Box("txtNom"));
    Form().Button("btnOK").Click();
  };
  EXPECT_EQ(Execute("base.mdb 0 12 éric 3 secret"), 0);
  EXPECT_EQ(Inserted(kUtl), Texts{"IdUtl=1 Nom=ÉRIC MotPasse=" + Encoded("secret")});
}

TEST_F(SaveTest, ADuplicateKeyIsTriedAgainWithANewIdUntilTheInsertSucceeds) {
  UtlFound({}, std::int32_t{41});
  provider.FailWrite(kUtl, 3022, "doublon", 2);
  EXPECT_EQ(Save(), 0);
  EXPECT_EQ(Inserted(kUtl), Texts(3, "IdUtl=42 Nom=DUPONT MotPasse=" + Encoded("secret")));
  const Texts sources = OwnSources();
  EXPECT_EQ(std::count(sources.begin(), sources.end(), "SELECT MAX([IDUTL]) FROM UTL"), 3);
  EXPECT_EQ(Inserted(kVlmUtl), Texts{"IdUtl=42 IdVlm=12 Niveau=3"});
  EXPECT_TRUE(platform.messages.empty());
}

TEST_F(SaveTest, ADuplicateThatNoNewIdCuresEndsAllTheSame) {
  provider.FailWrite(kUtl, 3022, "doublon", -1);
  EXPECT_EQ(Save(), 1);
  EXPECT_TRUE(platform.messages.empty());
  EXPECT_EQ(Inserted(kVlmUtl), Texts{"IdUtl=1 IdVlm=12 Niveau=3"});
}

TEST_F(SaveTest, AnyOtherRefusalOfTheUserRowIsSilentAndTheLinkIsWritten) {
  provider.FailWrite(kUtl, -2147467259, "colonne trop courte", -1);
  EXPECT_EQ(Save(), 1);
  EXPECT_TRUE(platform.messages.empty());
  EXPECT_EQ(Inserted(kUtl).size(), 1U);
  EXPECT_EQ(Inserted(kVlmUtl), Texts{"IdUtl=1 IdVlm=12 Niveau=3"});
}

TEST_F(SaveTest, ARefusedDuplicateThenAnotherErrorIsSilentToo) {
  UtlFound({}, std::int32_t{41});
  provider.FailWrite(kUtl, 3022, "doublon", 1);
  provider.FailWrite(kUtl, -2147467259, "colonne trop courte", 1);
  EXPECT_EQ(Save(), 1);
  EXPECT_TRUE(platform.messages.empty());
  EXPECT_EQ(Inserted(kUtl).size(), 2U);
}

TEST_F(SaveTest, ARefusedLinkRowEndsTheRunWithTheErrorBox) {
  provider.FailWrite(kVlmUtl, -2147467259, "lecture seule", -1);
  EXPECT_EQ(Save(), 1);
  ExpectErrorBox("Erreur d'exécution '-2147467259' :\n\nlecture seule");
  EXPECT_EQ(provider.Count(RecordedCall::Kind::kClose), 1U);
}

TEST_F(SaveTest, TheErrorBoxIsShownOverTheFormThatStayedOpen) {
  provider.FailWrite(kVlmUtl, -2147467259, "lecture seule", -1);
  bool unloaded = true;
  platform.onMessageBox = [&](const ShownMessage&) { unloaded = Form().unloaded; };
  EXPECT_EQ(Save(), 1);
  EXPECT_FALSE(unloaded);
}

TEST_F(SaveTest, AServerThatIsGoneEndsTheRunWithTheErrorBoxAndNothingWritten) {
  platform.whileRunning = [this] {
    provider.FailPrefix("SELECT", -2147467259, "serveur perdu");
    Form().PressEnter();
  };
  EXPECT_EQ(Execute(kLine), 1);
  ExpectErrorBox("Erreur d'exécution '-2147467259' :\n\nserveur perdu");
  EXPECT_EQ(Inserted(kUtl), Texts{});
  EXPECT_EQ(Inserted(kVlmUtl), Texts{});
}

TEST_F(SaveTest, ANameWithAQuoteEndsTheRunWithTheErrorBox) {
  provider.Fail("SELECT * FROM UTL WHERE NOM='L'herm'", -2147467259, "erreur de syntaxe");
  EXPECT_EQ(Execute("base.mdb 0 12 L'herm 3"), 1);
  ExpectErrorBox("Erreur d'exécution '-2147467259' :\n\nerreur de syntaxe");
  EXPECT_EQ(platform.runs, 0);
}

TEST_F(SaveTest, AMissingColumnEndsTheRunWithError3265) {
  provider.AnswerPrefix(
      kUtl, {{tests::MakeField("IdUtl", ado::adInteger), tests::MakeField("Nom", ado::adVarWChar, 30)}, {{std::int32_t{7}, "DUPONT"}}});
  EXPECT_EQ(Save(), 1);
  ExpectErrorBox(
      "Erreur d'exécution '3265' :\n\nImpossible de trouver l'objet dans la collection correspondant au nom ou à la "
      "référence ordinale demandé. (MotPasse)");
}

TEST_F(SaveTest, DifferingPasswordsAreToldAndTypedAgain) {
  platform.whileRunning = [this] {
    Box("txtPwd").Text("abc");
    Box("txtPwd2").Text("ABC");
    Form().Focus(Box("txtPwd2"));
    Form().PressEnter();
    ASSERT_EQ(platform.messages.size(), 1U);
    EXPECT_EQ(platform.messages[0],
              (ShownMessage{"La confirmation du mot de passe diffère de celui-ci. Merci de saisir à nouveau ces 2 zones", 48,
                            "Mot de passe incorrect"}));
    EXPECT_EQ(Box("txtPwd").Text(), "abc");
    EXPECT_EQ(Box("txtPwd2").Text(), "ABC");
    EXPECT_EQ(Form().Focused(), &Box("txtPwd"));
    EXPECT_EQ(Box("txtPwd").SelectionStart(), 0);
    EXPECT_EQ(Box("txtPwd").SelectionLength(), 3);
    EXPECT_FALSE(Form().unloaded);
    EXPECT_EQ(OwnSources(), Texts{});

    Box("txtPwd2").Type("abc");
    Form().PressEnter();
    EXPECT_TRUE(Form().unloaded);
  };
  EXPECT_EQ(Execute(kLine), 0);
  EXPECT_EQ(platform.messages.size(), 1U);
  EXPECT_EQ(Inserted(kUtl), Texts{"IdUtl=1 Nom=DUPONT MotPasse=" + Encoded("abc")});
}

TEST_F(SaveTest, DifferingPasswordsSelectTheFirstBoxAlsoWhenItHasTheFocusAlready) {
  platform.whileRunning = [this] {
    Box("txtPwd").Type("abcd");
    EXPECT_EQ(Box("txtPwd").SelectionLength(), 0);
    Form().PressEnter();
    EXPECT_EQ(platform.messages.size(), 1U);
    EXPECT_EQ(Box("txtPwd").SelectionLength(), 4);
    Form().CloseBox();
  };
  EXPECT_EQ(Execute(kLine), 0);
}

TEST_F(SaveTest, EnterInEitherPasswordBoxActsAsOk) {
  for (const char* name : {"txtPwd", "txtPwd2"}) {
    provider.ClearCalls();
    platform.whileRunning = [&] {
      Form().Focus(Box(name));
      Form().PressEnter();
      EXPECT_TRUE(Form().unloaded) << name;
    };
    UtlFound({}, Null{});
    EXPECT_EQ(Execute(kLine), 0);
    EXPECT_EQ(Inserted(kUtl).size(), 1U) << name;
  }
}

TEST_F(SaveTest, EscTheCancelButtonAndTheCloseBoxWriteNothingAndCloseTheDatabase) {
  const std::function<void()> ways[] = {[this] { Form().PressEscape(); }, [this] { Form().PressAccelerator('a'); },
                                        [this] { Form().Button("btnAnnuler").Click(); }, [this] { Form().CloseBox(); }};
  for (const auto& way : ways) {
    provider.ClearCalls();
    platform.whileRunning = [&] {
      Box("txtPwd").Type("changed");
      way();
      EXPECT_TRUE(Form().unloaded);
      EXPECT_EQ(NbBasesOuvertes(), 0);
      EXPECT_EQ(BaseVlm(), nullptr);
      EXPECT_FALSE(TableCodePresente());
    };
    EXPECT_EQ(Execute(kLine), 0);
    EXPECT_EQ(OwnSources(), Texts{});
    EXPECT_EQ(provider.Count(RecordedCall::Kind::kClose), 1U);
    EXPECT_TRUE(platform.messages.empty());
  }
}

TEST_F(SaveTest, OkClosesTheDatabaseAndErasesTheTable) {
  platform.whileRunning = [this] {
    EXPECT_TRUE(TableCodePresente());
    Form().PressAccelerator('o');
    EXPECT_TRUE(Form().unloaded);
    EXPECT_EQ(BaseVlm(), nullptr);
    EXPECT_FALSE(TableCodePresente());
  };
  EXPECT_EQ(Execute(kLine), 0);
  EXPECT_EQ(provider.Count(RecordedCall::Kind::kClose), 1U);
}

constexpr const char* kDoNotCount =
    "Ce mot de passe contient des caractères qui ne comptent pas : seuls comptent les lettres sans accent, les chiffres, l'espace et la "
    "ponctuation courante (sans ~). Deux mots de passe qui ne diffèrent que par de tels caractères n'en font qu'un.\n\nL'enregistrer quand "
    "même ?";

TEST_F(SaveTest, CharactersThatTheTableDoesNotHoldAreToldAndSavedAsTheCharacterOfCode0) {
  platform.whileRunning = [this] {
    Box("txtPwd").Text("aé😀");
    Box("txtPwd2").Text("aé😀");
    Form().PressEnter();
  };
  EXPECT_EQ(Execute(kLine), 0);
  EXPECT_EQ(platform.messages, (std::vector{ShownMessage{kDoNotCount, ui::kExclamation | ui::kOkCancel, "Mot de passe"}}));
  EXPECT_EQ(Inserted(kUtl), Texts{"IdUtl=1 Nom=DUPONT MotPasse=" + Encoded("a") + std::string(2, '\0')});
}

TEST_F(SaveTest, ToldOfSuchCharactersTheOperatorMayTypeAgain) {
  platform.answers = {ui::kCancel};
  platform.whileRunning = [this] {
    Box("txtPwd").Text("~");
    Box("txtPwd2").Text("~");
    Form().Focus(Box("txtPwd2"));
    Form().PressEnter();
    EXPECT_FALSE(Form().unloaded);
    EXPECT_EQ(OwnSources(), Texts{});
    EXPECT_EQ(Form().Focused(), &Box("txtPwd"));
    EXPECT_EQ(Box("txtPwd").SelectionLength(), 1);
    Box("txtPwd").Type("a");
    Box("txtPwd2").Type("a");
    Form().PressEnter();
  };
  EXPECT_EQ(Execute(kLine), 0);
  EXPECT_EQ(platform.messages.size(), 1U);
  EXPECT_EQ(Inserted(kUtl), Texts{"IdUtl=1 Nom=DUPONT MotPasse=" + Encoded("a")});
}

class GuardTest : public SaveTest {
 protected:
  void ExpectInterrupted(const std::string& reason) {
    ASSERT_EQ(platform.messages.size(), 1U);
    EXPECT_EQ(platform.messages[0], (ShownMessage{reason + "\n\nRien n'a été écrit.", ui::kCritical, "Programme interrompu"}));
    EXPECT_EQ(Inserted(kUtl), Texts{});
    EXPECT_EQ(Updated(kUtl), Texts{});
    EXPECT_EQ(Inserted(kVlmUtl), Texts{});
    EXPECT_EQ(NbBasesOuvertes(), 0);
  }
};

TEST_F(GuardTest, TheSaveWritesOnNoRowOfAnotherName) {
  for (const char* name : {"X'/**/OR/**/'A'='A", "B'&'OB", "NOM"}) {
    platform.messages.clear();
    UtlFound({{std::int32_t{1}, "ADMIN", Encoded("chef")}}, std::int32_t{1});
    EXPECT_EQ(Save(std::string("base.mdb 0 12 ") + name + " 3 secret"), 1);
    ExpectInterrupted("La recherche de l'utilisateur <" + std::string(name) + "> a trouvé la ligne d'un autre utilisateur.");
  }
}

TEST_F(GuardTest, TheFormShowsNoPasswordOfAnotherName) {
  for (const runtime::Variant& other : {runtime::Variant("ADMIN"), runtime::Variant(Null{}), runtime::Variant("DUPONT2"),
                                        runtime::Variant("DUPÔNT"), runtime::Variant(" DUPONT")}) {
    platform.messages.clear();
    UtlFound({{std::int32_t{1}, other, Encoded("chef")}}, std::int32_t{1});
    EXPECT_EQ(Execute("base.mdb 0 12 DUPONT 3"), 1);
    ExpectInterrupted("La recherche de l'utilisateur <DUPONT> a trouvé la ligne d'un autre utilisateur.");
    EXPECT_EQ(platform.runs, 0);
  }
}

TEST_F(GuardTest, CaseAndTrailingBlanksDoNotMakeAnotherName) {
  for (const char* stored : {"dupont", "DUPONT   ", "Dupont"}) {
    provider.ClearCalls();
    UtlFound({{std::int32_t{7}, stored, Encoded("old")}}, std::int32_t{7});
    EXPECT_EQ(Save(), 0) << stored;
    EXPECT_EQ(Updated(kUtl), Texts{"Nom=DUPONT MotPasse=" + Encoded("secret")});
  }
  provider.ClearCalls();
  UtlFound({{std::int32_t{7}, "ÉLOÏSE", Encoded("old")}}, std::int32_t{7});
  EXPECT_EQ(Save("base.mdb 0 12 \"Éloïse \" 3"), 0);
  EXPECT_TRUE(platform.messages.empty());
}

TEST_F(GuardTest, ABlankNameIsRefusedBeforeTheDatabaseIsOpened) {
  for (const char* name : {"\"\"", "\"   \""}) {
    platform.messages.clear();
    EXPECT_EQ(Save(std::string("base.mdb 0 12 ") + name + " 3 secret"), 1);
    ExpectInterrupted("Le nom de l'utilisateur à créer (paramètre 4) est vide.");
    EXPECT_EQ(provider.Count(RecordedCall::Kind::kOpen), 0U);
  }
}

TEST_F(GuardTest, ANameOfMoreThan30CharactersIsRefusedBeforeTheDatabaseIsOpened) {
  const std::pair<const char*, const char*> names[] = {{"ABCDEFGHIJKLMNOPQRSTUVWXYZ01234", "31"},
                                                       {"ÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉ", "32"}};
  for (const auto& [name, length] : names) {
    platform.messages.clear();
    EXPECT_EQ(Save(std::string("base.mdb 0 12 ") + name + " 3 secret"), 1);
    ExpectInterrupted(std::string("Le nom de l'utilisateur à créer (paramètre 4) compte ") + length +
                      " caractères ; il en tient 30 au plus.");
    EXPECT_EQ(provider.Count(RecordedCall::Kind::kOpen), 0U);
  }
  platform.messages.clear();
  EXPECT_EQ(Save("base.mdb 0 12 ÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉÉ 3 secret"), 0) << "30 are welcome";
}

TEST_F(GuardTest, ANameThatTheBoxDoesNotHoldIsRefused) {
  EXPECT_EQ(Save("base.mdb 0 12 AL\xFF"
                 "EX 3 secret"),
            1);
  ExpectInterrupted("Le nom de l'utilisateur à créer (paramètre 4) contient des caractères que la fenêtre ne peut pas tenir.");
  EXPECT_EQ(platform.runs, 0);
}

TEST_F(FormTest, AReadOnlyDatabaseIsToldByNameBeforeTheFormIsShown) {
  provider.SetProperty("READ-ONLY DATA SOURCE", true);
  bool shown = true;
  platform.onMessageBox = [&](const ShownMessage&) { shown = Form().shown; };
  Start("\"data source=base.mdb;Jet OLEDB:Database Password=x;mode=read\" 0 12 DUPONT 3");
  EXPECT_EQ(platform.messages,
            (std::vector{ShownMessage{"La base <DATA SOURCE=BASE.MDB;JET OLEDB:DATABASE PASSWORD=***;MODE=READ> est en lecture seule : "
                                      "l'utilisateur ne pourra pas y être enregistré.",
                                      ui::kExclamation, "Base en lecture seule"}}));
  EXPECT_FALSE(shown);
  EXPECT_TRUE(Form().shown);
}

TEST_F(GuardTest, ADoubleQuoteIsRefusedAndNeverDropped) {
  platform.whileRunning = [this] { Form().PressEnter(); };
  LigneCommande("base.mdb 0 12 ALEX 3 secret", 4);
  EXPECT_EQ(ExecuteProgramme(), 1);
  ExpectInterrupted("Le paramètre 4 contient un guillemet (\"), qu'un paramètre ne peut pas contenir.");
  platform.messages.clear();
  EXPECT_EQ(Save("base.mdb 0 12 \"ALEX\" 3 sec\"ret"), 1);
  ExpectInterrupted("Un guillemet (\") de la ligne de commande n'est pas fermé.");
  EXPECT_EQ(provider.Count(RecordedCall::Kind::kOpen), 0U);
}

}  // namespace
}  // namespace tamlo::app

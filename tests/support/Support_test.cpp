#include "support/Support.h"

#include <gtest/gtest.h>

#include "runtime/Error.h"
#include "tests/support_lib/FakePlatform.h"

namespace tamlo::support {
namespace {

using runtime::Variant;
using tests::FakeForm;
using tests::FakePlatform;
using tests::FakeStatusBar;
using tests::FakeTextBox;
using tests::ShownMessage;
using ui::Pointer;

TEST(EstVide, ANullFieldAnEmptyTextAndBlanksAreBlank) {
  EXPECT_TRUE(EstVide(Variant(runtime::Null{})));
  EXPECT_TRUE(EstVide(Variant()));
  EXPECT_TRUE(EstVide(Variant("")));
  EXPECT_TRUE(EstVide(Variant("  ")));
  EXPECT_TRUE(EstVide(std::string_view("   ")));
}

TEST(EstVide, TheTextZeroAndTheNumberZeroAreNot) {
  EXPECT_FALSE(EstVide(Variant("0")));
  EXPECT_FALSE(EstVide(Variant(std::int16_t{0})));
  EXPECT_FALSE(EstVide(Variant(0.0)));
  EXPECT_FALSE(EstVide(Variant(false)));
  EXPECT_FALSE(EstVide(Variant(runtime::Date{0})));
}

TEST(EstVide, OnlyBlanksAreTrimmed) {
  EXPECT_FALSE(EstVide(Variant("\t")));
  EXPECT_FALSE(EstVide(Variant("\n")));
  EXPECT_FALSE(EstVide(Variant(" a ")));
}

TEST(EstVide, BytesAreBlankWhenThereAreNone) {
  EXPECT_TRUE(EstVide(Variant(runtime::Bytes{})));
  EXPECT_FALSE(EstVide(Variant(runtime::Bytes{std::byte{' '}})));
}

TEST(Sablier, StaysFromTheOutermostOnToTheOutermostOff) {
  const FakePlatform platform;
  Sablier(true);
  Sablier(true);
  EXPECT_EQ(platform.pointers, std::vector{Pointer::kHourglass});
  Sablier(false);
  EXPECT_EQ(platform.CurrentPointer(), Pointer::kHourglass);
  Sablier(false);
  EXPECT_EQ(platform.CurrentPointer(), Pointer::kDefault);
  EXPECT_EQ(platform.pointers.size(), 2U);
}

TEST(Sablier, AnUnmatchedOffSetsTheDefaultPointerAgain) {
  const FakePlatform platform;
  Sablier(true);
  Sablier(false);
  Sablier(false);
  EXPECT_EQ(platform.pointers, (std::vector{Pointer::kHourglass, Pointer::kDefault, Pointer::kDefault}));
  Sablier(true);
  EXPECT_EQ(platform.CurrentPointer(), Pointer::kHourglass);
  Sablier(false);
}

TEST(Sablier, ThePointerCodesAreElevenAndZero) {
  EXPECT_EQ(static_cast<int>(Pointer::kHourglass), 11);
  EXPECT_EQ(static_cast<int>(Pointer::kDefault), 0);
}

TEST(Sablier, NestingPastSixteenBitsOverflows) {
  const FakePlatform platform;
  for (int i = 0; i < 32767; ++i) Sablier(true);
  const runtime::PendingError pending = runtime::IgnoringErrors([] { Sablier(true); });
  EXPECT_EQ(pending.number, 6);
  EXPECT_EQ(pending.description, "Dépassement de capacité");
  for (int i = 0; i < 32767; ++i) Sablier(false);
  EXPECT_EQ(platform.pointers, (std::vector{Pointer::kHourglass, Pointer::kDefault}));
}

TEST(SelectionneTout, SelectsTheWholeTextInCharacters) {
  FakePlatform platform;
  const auto form = platform.CreateForm(1000, 1000);
  ui::TextBox& box = form->AddTextBox("txt", {});
  box.Text("été €");
  box.Select(2, 1);
  SelectionneTout(box);
  EXPECT_EQ(box.SelectionStart(), 0);
  EXPECT_EQ(box.SelectionLength(), 5);
  box.Text("");
  SelectionneTout(box);
  EXPECT_EQ(box.SelectionLength(), 0);
}

/// A form and a screen whose sizes are given as outer sizes; the centring area is taken back at the end.
class CentreFeuilleTest : public testing::Test {
 protected:
  ~CentreFeuilleTest() override { ZoneCentrage() = {}; }

  FakeForm& FormOf(std::int16_t width, std::int16_t height) {
    form_ = platform_.CreateForm(static_cast<std::int16_t>(width - FakeForm::kFrameWidth),
                                 static_cast<std::int16_t>(height - FakeForm::kFrameHeight));
    return platform_.Form();
  }

  FakePlatform platform_;
  std::unique_ptr<ui::Form> form_;
};

TEST_F(CentreFeuilleTest, TheMiddleOfTheScreenWithoutAnArea) {
  platform_.screenWidth = 10000;
  platform_.screenHeight = 8000;
  FakeForm& form = FormOf(4000, 2000);
  CentreFeuille(form);
  EXPECT_EQ(form.left, 3000);
  EXPECT_EQ(form.top, 3000);
}

TEST_F(CentreFeuilleTest, HalvesGoToTheEvenNeighbour) {
  platform_.screenWidth = 10001;
  platform_.screenHeight = 8003;
  FakeForm& form = FormOf(4000, 2000);
  CentreFeuille(form);
  EXPECT_EQ(form.left, 3000);  // 3000.5
  EXPECT_EQ(form.top, 3002);   // 3001.5
}

TEST_F(CentreFeuilleTest, TheMiddleOfAScreenWiderThanASixteenBitNumber) {
  platform_.screenWidth = 57600;
  platform_.screenHeight = 32400;
  FakeForm& form = FormOf(4000, 2000);
  CentreFeuille(form);
  EXPECT_EQ(form.left, 26800);
  EXPECT_EQ(form.top, 15200);
}

TEST_F(CentreFeuilleTest, AFormWiderThanTheScreenStartsAtZero) {
  platform_.screenWidth = 3000;
  platform_.screenHeight = 8000;
  FakeForm& form = FormOf(4000, 9000);
  CentreFeuille(form);
  EXPECT_TRUE(form.moved);
  EXPECT_EQ(form.left, 0);
  EXPECT_EQ(form.top, 0);
}

TEST_F(CentreFeuilleTest, TheMiddleOfTheAreaWhenThereIsOne) {
  ZoneCentrage() = {500, 700, 6001, 4003};
  FakeForm& form = FormOf(4000, 2000);
  CentreFeuille(form);
  EXPECT_EQ(form.left, 1500);  // 1500.5
  EXPECT_EQ(form.top, 1702);   // 1701.5
}

TEST_F(CentreFeuilleTest, NeverBeforeTheArea) {
  ZoneCentrage() = {500, -700, 1000, 1000};
  FakeForm& form = FormOf(4000, 2000);
  CentreFeuille(form);
  EXPECT_EQ(form.left, 500);
  EXPECT_EQ(form.top, -700);
}

TEST_F(CentreFeuilleTest, AnAreaWithoutWidthOrHeightIsTheScreen) {
  platform_.screenWidth = 10000;
  platform_.screenHeight = 8000;
  for (const ui::Rectangle area : {ui::Rectangle{500, 500, 0, 1000}, ui::Rectangle{500, 500, 1000, 0}}) {
    ZoneCentrage() = area;
    FakeForm& form = FormOf(4000, 2000);
    CentreFeuille(form);
    EXPECT_EQ(form.left, 3000);
    EXPECT_EQ(form.top, 3000);
  }
}

TEST(BarreEtat, WithoutOneMessagesDoNothing) {
  ASSERT_EQ(BarreEtat(), nullptr);
  AfficheMessage("copie");
  EXPECT_EQ(LitMessage(), "");
}

TEST(BarreEtat, MessagesStandBehindASingleSpaceAndShowAtOnce) {
  FakeStatusBar bar;
  BarreEtat(&bar);
  AfficheMessage("Copie de la table");
  EXPECT_EQ(bar.PanelText(1), " Copie de la table");
  EXPECT_EQ(bar.redrawn, std::vector<std::string>{" Copie de la table"});
  EXPECT_EQ(LitMessage(), "Copie de la table");
  BarreEtat(nullptr);
}

TEST(BarreEtat, AMessageReadCanBePutBack) {
  FakeStatusBar bar;
  BarreEtat(&bar);
  AfficheMessage("été");
  const std::string before = LitMessage();
  AfficheMessage("autre");
  AfficheMessage(before);
  EXPECT_EQ(bar.PanelText(1), " été");
  BarreEtat(nullptr);
}

TEST(BarreEtat, TheFirstCharacterIsDroppedWhateverItIs) {
  FakeStatusBar bar;
  BarreEtat(&bar);
  EXPECT_EQ(LitMessage(), "");
  bar.PanelText(1, "éa");
  EXPECT_EQ(LitMessage(), "a");
  BarreEtat(nullptr);
}

TEST(BarreEtat, TextsPassUnchanged) {
  EXPECT_EQ(TexteAffiche(" Été "), " Été ");
  EXPECT_EQ(TexteLu(" Été "), " Été ");
}

TEST(Msg, ShowsTheBoxAndGivesTheButtonPressed) {
  FakePlatform platform;
  platform.answers = {ui::kCancel};
  EXPECT_EQ(Msg("texte\nsuite", ui::kExclamation, "titre"), ui::kCancel);
  EXPECT_EQ(Msg("autre", ui::kCritical, "t"), ui::kOk);
  EXPECT_EQ(platform.messages, (std::vector<ShownMessage>{{"texte\nsuite", 48, "titre"}, {"autre", 16, "t"}}));
}

/// A program without a screen: no platform is in force.
class WithoutAPlatform : public testing::Test {
 protected:
  ui::Platform* const before_ = ui::UsePlatform(nullptr);
  ~WithoutAPlatform() override { ui::UsePlatform(before_); }
};

TEST_F(WithoutAPlatform, TheHourglassIsNestedAndShownNowhere) {
  Sablier(true);
  Sablier(true);
  Sablier(false);
  Sablier(false);
  Sablier(false);
  const FakePlatform platform;
  Sablier(true);
  EXPECT_EQ(platform.pointers, std::vector{Pointer::kHourglass});
  Sablier(false);
}

TEST_F(WithoutAPlatform, AMessageBoxIsAnsweredByNobody) {
  EXPECT_EQ(Msg("texte", ui::kExclamation | ui::kOkCancel, "titre"), kAucunBouton);
}

TEST_F(WithoutAPlatform, StatusTextsGoNowhere) {
  AfficheMessage("texte");
  EXPECT_EQ(LitMessage(), "");
}

TEST_F(WithoutAPlatform, AFormStaysWhereItIsUnlessThereIsAnAreaToBeCentredIn) {
  FakePlatform platform;
  const auto form = platform.CreateForm(1000, 1000);
  ui::UsePlatform(nullptr);
  CentreFeuille(*form);
  EXPECT_FALSE(platform.Form().moved);
  ZoneCentrage() = {0, 0, 10000, 8000};
  CentreFeuille(*form);
  ZoneCentrage() = {};
  EXPECT_TRUE(platform.Form().moved);
  ui::UsePlatform(&platform);
}

}  // namespace
}  // namespace tamlo::support

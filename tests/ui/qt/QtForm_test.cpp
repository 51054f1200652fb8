#include <QClipboard>
#include <QLabel>
#include <QMenu>
#include <QScreen>
#include <cmath>

#include "tests/ui/qt/QtSession.h"

namespace tamlo::ui::qt {
namespace {

QRect Pixels(Rectangle place) {
  const QScreen& screen = *QGuiApplication::primaryScreen();
  const auto x = [&](int twips) { return static_cast<int>(std::lround(twips * screen.logicalDotsPerInchX() / 1440)); };
  const auto y = [&](int twips) { return static_cast<int>(std::lround(twips * screen.logicalDotsPerInchY() / 1440)); };
  return {x(place.left), y(place.top), x(place.width), y(place.height)};
}

TEST_F(QtFormTest, ControlsStandAtTheirPlacesByTheScreensDots) {
  Show();
  EXPECT_EQ(Find("first").geometry(), Pixels({2625, 1080, 705, 315}));
  EXPECT_EQ(Find("second").geometry(), Pixels({2640, 1575, 705, 315}));
  EXPECT_EQ(Find("name").geometry(), Pixels({2625, 480, 2790, 315}));
  EXPECT_EQ(Find("ok").geometry(), Pixels({3300, 2640, 1320, 330}));
  EXPECT_EQ(Find("label").geometry(), Pixels({120, 1000, 2385, 480}));
}

/// Another font of the user's while it lives.
class UserFont {
 public:
  explicit UserFont(double points) : before_(QApplication::font()) {
    QFont font = before_;
    font.setPointSizeF(points);
    QApplication::setFont(font);
    QCoreApplication::sendPostedEvents();
  }
  ~UserFont() {
    QApplication::setFont(before_);
    QCoreApplication::sendPostedEvents();
  }
  UserFont(const UserFont&) = delete;
  UserFont& operator=(const UserFont&) = delete;

 private:
  QFont before_;
};

TEST_F(QtFormTest, TextsStandWholeAtEverySizeOfTheUsersFont) {
  label.Caption("Confirmation du mot de passe");
  Show();
  const QSize usual = Window().size();
  for (const double points : {9.0, 10.0, 13.5, 15.0, 20.0, 22.5, 30.0, 60.0}) {
    const UserFont font(points);
    const QFontMetrics metrics = Find("ok").fontMetrics();
    for (const char* button : {"ok", "cancel"}) {
      const QSize text = metrics.size(Qt::TextShowMnemonic, Find<QPushButton>(button).text());
      EXPECT_LE(text.width() + 8, Find(button).width()) << button << " " << points;
      EXPECT_LE(metrics.capHeight() + metrics.descent() + 4, Find(button).height()) << button << " " << points;
    }
    auto& shown = Find<QLabel>("label");
    EXPECT_LE(shown.heightForWidth(shown.width()), shown.height()) << points;
    EXPECT_LE(metrics.capHeight() + metrics.descent() + 4, Find("first").height()) << points;
    const QSize screen = QGuiApplication::primaryScreen()->availableGeometry().size();
    EXPECT_LE(Window().width(), screen.width()) << points;
    EXPECT_LE(Window().height(), screen.height()) << points;
    EXPECT_EQ(Window().minimumSize(), Window().maximumSize());
    if (points <= 9) {
      EXPECT_EQ(Window().size(), usual) << "the prescribed places";
    }
    if (points >= 20) {
      EXPECT_GT(Window().width(), usual.width()) << points;
    }
    // The places keep their proportions.
    EXPECT_NEAR(Find("ok").x() * 1.0 / Window().width(), 3300.0 / 6150, 0.01) << points;
    EXPECT_NEAR(Find("first").y() * 1.0 / Window().height(), 1080.0 / 3090, 0.01) << points;
  }
  EXPECT_EQ(Window().size(), usual);
}

TEST_F(QtFormTest, TheSizeToCentreTheFormWithIsTheGrownOne) {
  const std::int16_t usual = form->Width();
  const UserFont font(22.5);
  const auto large = Session().CreateForm(6150, 3090);
  large->AddButton("wide", {4710, 2640, 1320, 330}).Caption("&Annuler");
  EXPECT_GT(large->Width(), usual + 600);
}

TEST_F(QtFormTest, ABoxCountsCharactersAndNotUnits) {
  name.MaxLength(3);
  name.Text("𝔄𝔅ℭ𝔇");
  EXPECT_EQ(name.Text(), "𝔄𝔅ℭ");
  name.MaxLength(2);
  EXPECT_EQ(name.Text(), "𝔄𝔅");
  name.Text("abc");
  EXPECT_EQ(name.Text(), "ab");
}

TEST_F(QtFormTest, TheWindowHasAFixedSizeATitleAndACloseBox) {
  Show();
  const QSize size = Pixels({0, 0, 6150, 3090}).size();
  EXPECT_EQ(Window().size(), size);
  EXPECT_EQ(Window().minimumSize(), size);
  EXPECT_EQ(Window().maximumSize(), size);
  EXPECT_EQ(Window().windowTitle(), "Test");
  EXPECT_TRUE(Window().windowFlags() & Qt::WindowCloseButtonHint);
  EXPECT_FALSE(Window().windowFlags() & Qt::WindowMaximizeButtonHint);
  EXPECT_FALSE(Window().isModal());
}

TEST_F(QtFormTest, MovesByTwips) {
  form->Move(1500, 3000);
  Show();
  EXPECT_EQ(Window().pos(), Pixels({1500, 3000, 0, 0}).topLeft() + QGuiApplication::primaryScreen()->geometry().topLeft());
}

TEST_F(QtFormTest, TheOuterSizeIsInTwips) {
  EXPECT_GE(form->Width(), 6150 - 8);
  EXPECT_GE(form->Height(), 3090 - 8);
}

TEST_F(QtFormTest, APasswordShowsOneStarForEachCharacter) {
  first.Text("été");
  EXPECT_EQ(Find<QLineEdit>("first").displayText(), "***");
  EXPECT_EQ(first.Text(), "été");
}

TEST_F(QtFormTest, APasswordIsHiddenAtOnceAsItIsTyped) {
  Show();
  Type("ab");
  EXPECT_EQ(Find<QLineEdit>("first").displayText(), "**");
  EXPECT_EQ(first.Text(), "ab");
}

TEST_F(QtFormTest, APasswordGivesNothingToTheClipboard) {
  Show();
  QGuiApplication::clipboard()->setText("before");
  first.Text("secret");
  first.Select(0, 6);
  Press(Qt::Key_C, Qt::ControlModifier);
  Press(Qt::Key_Insert, Qt::ControlModifier);
  EXPECT_EQ(first.Text(), "secret");
  Press(Qt::Key_X, Qt::ControlModifier);
  first.Text("secret");
  first.Select(0, 6);
  Find<QLineEdit>("first").copy();
  Find<QLineEdit>("first").cut();
  EXPECT_EQ(QGuiApplication::clipboard()->text(), "before");
  EXPECT_FALSE(Find<QLineEdit>("first").dragEnabled());
}

TEST_F(QtFormTest, ALockedBoxCanBeSelectedAndCopiedButNotEdited) {
  Show();
  name.Text("DUPONT");
  name.SetFocus();
  name.Select(0, 6);
  Press(Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(QGuiApplication::clipboard()->text(), "DUPONT");
  Type("x");
  Press(Qt::Key_Delete);
  EXPECT_EQ(name.Text(), "DUPONT");
}

TEST_F(QtFormTest, TheEleventhCharacterIsRefused) {
  Show();
  Type("12345678901");
  EXPECT_EQ(first.Text(), "1234567890");
}

TEST_F(QtFormTest, ALongerTextAssignedIsCut) {
  first.Text("éàùçôîûâêëï");
  EXPECT_EQ(first.Text(), "éàùçôîûâêë");
}

TEST_F(QtFormTest, WithoutALimitTextsAreLong) {
  const std::string text(5000, 'x');
  name.MaxLength(3);
  name.MaxLength(0);
  name.Text(text);
  EXPECT_EQ(name.Text(), text);
}

TEST_F(QtFormTest, ALightBackgroundIsWrittenOnInBlack) {
  name.BackColor({192, 192, 192});
  const QPalette palette = Find("name").palette();
  EXPECT_EQ(palette.color(QPalette::Base), QColor(192, 192, 192));
  EXPECT_EQ(palette.color(QPalette::Text), QColor(Qt::black));
  name.BackColor({10, 10, 10});
  EXPECT_EQ(Find("name").palette().color(QPalette::Text), QColor(Qt::white));
}

TEST_F(QtFormTest, SelectionsAreCountedInCharacters) {
  name.Text(
      "a\xF0\x9F\x98\x80"
      "été");  // an emoji is two units of UTF-16
  name.Select(1, 2);
  EXPECT_EQ(Find<QLineEdit>("name").selectedText(), QString::fromUtf8("\xF0\x9F\x98\x80é"));
  EXPECT_EQ(name.SelectionStart(), 1);
  EXPECT_EQ(name.SelectionLength(), 2);
  name.Select(0, 5);
  EXPECT_EQ(name.SelectionLength(), 5);
  name.Select(3, 0);
  EXPECT_EQ(name.SelectionStart(), 3);
  EXPECT_EQ(name.SelectionLength(), 0);
}

TEST_F(QtFormTest, TabsFollowTheOrderAndTheFirstHasTheFocusAtFirst) {
  Show();
  EXPECT_EQ(QApplication::focusWidget(), &Find("first"));
  for (const char* next : {"second", "ok", "cancel", "name", "first"}) {
    Press(Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), &Find(next));
  }
  Press(Qt::Key_Tab, Qt::ShiftModifier);
  EXPECT_EQ(QApplication::focusWidget(), &Find("name"));
}

TEST_F(QtFormTest, FocusIsToldLoserFirst) {
  Show();
  EXPECT_EQ(log, "+first ");
  Press(Qt::Key_Tab);
  Press(Qt::Key_Tab);
  second.SetFocus();
  EXPECT_EQ(log, "+first -first +second -second +second ");
}

TEST_F(QtFormTest, ComingBackToTheWindowIsNoChangeOfFocus) {
  Show();
  QWidget other;
  other.show();
  other.activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
  Window().activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&Window()));
  EXPECT_EQ(QApplication::focusWidget(), &Find("first"));
  EXPECT_EQ(log, "+first ");
}

TEST_F(QtFormTest, ASelectionMadeOnFocusStaysAfterTheClickThatGaveIt) {
  second.onGotFocus = [this] { second.Select(0, 6); };
  Show();
  second.Text("secret");
  QTest::mouseClick(&Find("second"), Qt::LeftButton);
  EXPECT_EQ(second.SelectionLength(), 6);
  Type("x");
  EXPECT_EQ(second.Text(), "x");
  QTest::mouseClick(&Find("second"), Qt::LeftButton);
  EXPECT_EQ(second.SelectionLength(), 0);
}

TEST_F(QtFormTest, EnterClicksTheDefaultButtonWithoutMovingTheFocus) {
  Show();
  log.clear();
  Press(Qt::Key_Return);
  Press(Qt::Key_Enter, Qt::KeypadModifier);
  EXPECT_EQ(log, "ok ok ");
  EXPECT_EQ(QApplication::focusWidget(), &Find("first"));
}

TEST_F(QtFormTest, EnterOnAnotherButtonClicksThatOne) {
  Show();
  cancel.SetFocus();
  log.clear();
  Press(Qt::Key_Return);
  EXPECT_EQ(log, "cancel ");
}

TEST_F(QtFormTest, EscClicksTheCancelButton) {
  Show();
  log.clear();
  Press(Qt::Key_Escape);
  EXPECT_EQ(log, "cancel ");
  EXPECT_TRUE(Window().isVisible());
}

TEST_F(QtFormTest, WithoutACancelButtonEscDoesNothing) {
  cancel.Cancel(false);
  Show();
  log.clear();
  Press(Qt::Key_Escape);
  EXPECT_EQ(log, "");
  EXPECT_TRUE(Window().isVisible());
}

TEST_F(QtFormTest, AcceleratorsClickTheirButton) {
  Show();
  log.clear();
  Press(Qt::Key_O, Qt::AltModifier);
  QTest::qWait(200);  // a shortcut shows the button pressed for a moment
  Press(Qt::Key_A, Qt::AltModifier);
  QTest::qWait(200);
  EXPECT_NE(log.find("ok "), std::string::npos) << log;
  EXPECT_NE(log.find("cancel "), std::string::npos) << log;
}

TEST_F(QtFormTest, AnAcceleratorTakesTheFocusBeforeItClicks) {
  Show();
  name.SetFocus();
  log.clear();
  Press(Qt::Key_O, Qt::AltModifier);
  QTest::qWait(200);  // a shortcut shows the button pressed for a moment
  EXPECT_EQ(log, "-name ok ");
  EXPECT_EQ(QApplication::focusWidget(), &Find("ok"));
}

TEST_F(QtFormTest, TipsAndSpokenNamesReachTheToolkit) {
  first.Tip("Mot de passe");
  first.AccessibleName("Mot de passe parlé");
  EXPECT_EQ(Find("first").toolTip(), "Mot de passe");
  EXPECT_EQ(Find("first").accessibleName(), "Mot de passe parlé");
}

TEST_F(QtFormTest, ALabelKnowsItsBuddy) {
  const auto& widget = Find<QLabel>("label");
  EXPECT_EQ(widget.buddy(), &Find("first"));
  EXPECT_EQ(widget.text(), "Premier & seul");
  EXPECT_EQ(widget.textFormat(), Qt::PlainText);
}

TEST_F(QtFormTest, TheMenuOfABoxIsInFrench) {
  const std::unique_ptr<QMenu> menu(Find<QLineEdit>("name").createStandardContextMenu());
  QStringList texts;
  for (const QAction* action : menu->actions()) {
    if (!action->isSeparator()) texts << action->text().section('\t', 0, 0);
  }
  EXPECT_TRUE(texts.contains("&Copier")) << texts.join("|").toStdString();
  EXPECT_TRUE(texts.contains("Tout sélectionner")) << texts.join("|").toStdString();
}

TEST_F(QtFormTest, TheCloseBoxUnloadsOnce) {
  Show();
  log.clear();
  Window().close();
  EXPECT_EQ(log, "unload ");
  EXPECT_FALSE(Window().isVisible());
  form->Unload();
  EXPECT_EQ(log, "unload ");
}

TEST_F(QtFormTest, UnloadHidesTheWindowAndTellsNoMoreOfTheFocus) {
  Show();
  log.clear();
  form->Unload();
  EXPECT_FALSE(Window().isVisible());
  EXPECT_EQ(log, "unload ");
}

}  // namespace
}  // namespace tamlo::ui::qt

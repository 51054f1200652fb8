#include <QClipboard>
#include <QLabel>
#include <QMessageBox>
#include <QScreen>
#include <QTimer>
#include <clocale>
#include <functional>
#include <optional>

#include "runtime/Error.h"
#include "tests/ui/qt/QtSession.h"

namespace tamlo::ui::qt {
namespace {

/// Does something in the event loop that is about to run.
void Soon(std::function<void()> action) { QTimer::singleShot(0, std::move(action)); }

using QtPlatformTest = QtFormTest;

TEST(QtPlatform, NumbersAreReadWithAPointByTheLibrariesBelow) {
  static_cast<void>(Session());
  EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
}

TEST(QtPlatform, TheScreenIsMeasuredInTwips) {
  Platform& platform = Session();
  const QScreen& screen = *QGuiApplication::primaryScreen();
  EXPECT_NEAR(platform.ScreenWidth(), screen.geometry().width() * 1440 / screen.logicalDotsPerInchX(), 1);
  EXPECT_NEAR(platform.ScreenHeight(), screen.geometry().height() * 1440 / screen.logicalDotsPerInchY(), 1);
}

TEST(QtPlatform, RunReturnsAtOnceWithoutAForm) { Session().Run(); }

TEST_F(QtPlatformTest, RunLastsUntilTheLastFormIsUnloaded) {
  auto other = Session().CreateForm(1000, 1000);
  form->Show();
  other->Show();
  Soon([&] {
    form->Unload();
    log += "first ";
    Soon([&] {
      log += "second ";
      other->Unload();
    });
  });
  Session().Run();
  EXPECT_EQ(log, "+first unload first second ");
}

TEST_F(QtPlatformTest, AnErrorOfAnEventHandlerComesOutOfRunAndTheFormStays) {
  ok.onClick = [] { throw runtime::Error(9); };
  form->Show();
  Soon([&] { Find<QPushButton>("ok").click(); });
  try {
    Session().Run();
    FAIL() << "no error";
  } catch (const runtime::Error& error) {
    EXPECT_EQ(error.Number(), 9);
  }
  EXPECT_TRUE(Window().isVisible());
  EXPECT_EQ(log.find("unload"), std::string::npos);
}

TEST_F(QtPlatformTest, NoHandlerRunsAfterOneThatFailed) {
  ok.onClick = [] { throw std::runtime_error("x"); };
  form->Show();
  Soon([&] {
    log.clear();
    Find<QPushButton>("ok").click();
    Find<QPushButton>("cancel").click();
    Find("second").setFocus();
    Window().close();
  });
  EXPECT_THROW(Session().Run(), std::runtime_error);
  EXPECT_EQ(log, "");
  EXPECT_TRUE(Window().isVisible());
}

TEST_F(QtPlatformTest, AnErrorWhileClosingByTheCloseBoxComesOutOfRun) {
  form->onUnload = [] { throw runtime::Error(5); };
  form->Show();
  Soon([&] { Window().close(); });
  EXPECT_THROW(Session().Run(), runtime::Error);
  EXPECT_TRUE(Window().isVisible());
}

TEST_F(QtPlatformTest, AnErrorRaisedBeforeRunComesOutOfIt) {
  first.onGotFocus = [] { throw runtime::Error(5); };
  Show();
  EXPECT_THROW(Session().Run(), runtime::Error);
}

struct SeenBox {
  std::string title;
  std::string text;
  QMessageBox::Icon icon = QMessageBox::NoIcon;
  Qt::TextFormat format = Qt::AutoText;
  bool modal = false;
  QStringList buttons;
  bool waitCursor = false;
};

/// Looks at the message box that is up, then presses a key in it.
/// before: a key pressed with Ctrl while the box is open, ahead of the one that answers it.
SeenBox ShowBox(const std::string& text, std::int16_t buttons, const std::string& title, Qt::Key key, std::int16_t* answer,
                std::optional<Qt::Key> before = std::nullopt) {
  SeenBox seen;
  QTimer open;
  // On a busy machine the box may take its time to open, and to become the window that keys go to.
  QObject::connect(&open, &QTimer::timeout, [&] {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (box == nullptr || !box->isVisible() || !box->isActiveWindow()) return;
    open.stop();
    seen = {box->windowTitle().toStdString(),
            box->text().toStdString(),
            box->icon(),
            box->textFormat(),
            box->isModal(),
            {},
            QGuiApplication::overrideCursor() != nullptr};
    for (const QAbstractButton* button : box->buttons()) seen.buttons << button->text();
    if (before) QTest::keyClick(box, *before, Qt::ControlModifier);
    QTest::keyClick(box, key);
  });
  open.start(20);
  *answer = Session().MessageBox(text, buttons, title);
  return seen;
}

TEST_F(QtPlatformTest, AMessageBoxIsModalWithItsIconAndPlainText) {
  Show();
  std::int16_t answer = 0;
  SeenBox seen = ShowBox("\n<b>ligne</b>\n      1 - deux", kCritical, "Titre", Qt::Key_Return, &answer);
  EXPECT_EQ(seen.text, "\n<b>ligne</b>\n      1 - deux");
  EXPECT_EQ(seen.title, "Titre");
  EXPECT_EQ(seen.icon, QMessageBox::Critical);
  EXPECT_EQ(seen.format, Qt::PlainText);
  EXPECT_TRUE(seen.modal);
  EXPECT_EQ(seen.buttons, QStringList{"OK"});
  EXPECT_EQ(answer, kOk);

  seen = ShowBox("x", kExclamation, "y", Qt::Key_Escape, &answer);
  EXPECT_EQ(seen.icon, QMessageBox::Warning);
  EXPECT_EQ(answer, kOk);
}

TEST_F(QtPlatformTest, AMessageBoxWithTwoButtonsTellsWhichOneWasPressed) {
  Show();
  std::int16_t answer = 0;
  const SeenBox seen = ShowBox("Enregistrer ?", kExclamation | kOkCancel, "Mot de passe", Qt::Key_Return, &answer);
  EXPECT_EQ(seen.icon, QMessageBox::Warning);
  EXPECT_EQ(seen.buttons, (QStringList{"OK", "Annuler"}));
  EXPECT_EQ(answer, kOk);
  static_cast<void>(ShowBox("Enregistrer ?", kExclamation | kOkCancel, "Mot de passe", Qt::Key_Escape, &answer));
  EXPECT_EQ(answer, kCancel);
}

TEST_F(QtPlatformTest, AMessageBoxGivesItsTextToTheClipboard) {
  Show();
  std::int16_t answer = 0;
  ShowBox("une\nligne", kCritical, "Titre", Qt::Key_Return, &answer, Qt::Key_C);
  EXPECT_EQ(QGuiApplication::clipboard()->text(), "Titre\nune\nligne");
}

TEST_F(QtPlatformTest, AMessageBoxFromAHandlerGivesTheFocusBack) {
  ok.onClick = [this] {
    std::int16_t answer = 0;
    EXPECT_EQ(ShowBox("x", kExclamation, "y", Qt::Key_Return, &answer).text, "x");
    first.SetFocus();
    first.Select(0, 3);
  };
  Show();
  first.Text("abc");
  second.SetFocus();
  Press(Qt::Key_Return);
  EXPECT_EQ(Window().focusWidget(), &Find("first"));
  EXPECT_EQ(first.SelectionLength(), 3);
}

TEST_F(QtPlatformTest, TheHourglassIsLiftedWhileAMessageBoxIsUp) {
  Show();
  Session().SetPointer(Pointer::kHourglass);
  ASSERT_NE(QGuiApplication::overrideCursor(), nullptr);
  EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::WaitCursor);
  std::int16_t answer = 0;
  EXPECT_FALSE(ShowBox("x", kCritical, "y", Qt::Key_Return, &answer).waitCursor);
  EXPECT_NE(QGuiApplication::overrideCursor(), nullptr);
  Session().SetPointer(Pointer::kDefault);
  EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
  Session().SetPointer(Pointer::kDefault);
  EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

}  // namespace
}  // namespace tamlo::ui::qt

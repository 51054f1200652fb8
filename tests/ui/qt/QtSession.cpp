#include "tests/ui/qt/QtSession.h"

#include <cstdlib>

#include "ui/qt/QtPlatform.h"

namespace tamlo::ui::qt {

namespace {

std::unique_ptr<Platform>& Owner() {
  static std::unique_ptr<Platform> platform;
  return platform;
}

/// The toolkit must go before the program's static objects do.
class SessionEnd : public testing::Environment {
 public:
  void TearDown() override { Owner().reset(); }
};

const auto* const kSessionEnd = testing::AddGlobalTestEnvironment(new SessionEnd);  // owned by GoogleTest

}  // namespace

Platform& Session() {
  if (!Owner()) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    Owner() = CreatePlatform();
  }
  return *Owner();
}

QtFormTest::QtFormTest() {
  form->Caption("Test");
  for (TextBox* box : {&first, &second}) {
    box->Password(true);
    box->MaxLength(10);
  }
  name.Locked(true);
  ok.Caption("&OK");
  ok.Default(true);
  cancel.Caption("&Annuler");
  cancel.Cancel(true);
  label.Caption("Premier & seul");
  label.Buddy(first);
  form->TabOrder({&first, &second, &ok, &cancel, &name});
  const auto tell = [this](TextBox& box, std::string text) {
    box.onGotFocus = [this, text] { log += "+" + text + " "; };
    box.onLostFocus = [this, text] { log += "-" + text + " "; };
  };
  tell(first, "first");
  tell(second, "second");
  tell(name, "name");
  ok.onClick = [this] { log += "ok "; };
  cancel.onClick = [this] { log += "cancel "; };
  form->onUnload = [this] { log += "unload "; };
}

void QtFormTest::Show() {
  form->Show();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&Window()));
}

QDialog& QtFormTest::Window() {
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    if (auto* dialog = qobject_cast<QDialog*>(widget); dialog != nullptr && dialog->findChild<QWidget*>("first")) return *dialog;
  }
  throw std::out_of_range("no window");
}

void QtFormTest::Press(Qt::Key key, Qt::KeyboardModifiers modifiers) {
  QTest::keyClick(QApplication::focusWidget() != nullptr ? QApplication::focusWidget() : &Window(), key, modifiers);
}

void QtFormTest::Type(const char* text) { QTest::keyClicks(QApplication::focusWidget(), text); }

}  // namespace tamlo::ui::qt

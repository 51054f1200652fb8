#include "ui/qt/QtPlatform.h"

#include <QApplication>
#include <QClipboard>
#include <QEventLoop>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QTranslator>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "ui/EventBorder.h"
#include "ui/Twips.h"
#include "ui/qt/FrenchTexts.h"
#include "ui/qt/QtForm.h"

namespace tamlo::ui::qt {

namespace {

constexpr std::int16_t kIconMask = 0x70;
constexpr std::int16_t kButtonsMask = 0x0F;

QString FromText(const std::string& text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

[[noreturn]] void EndWithoutDisplay(const std::string& reason) {
  std::fprintf(stderr, "tamlo : impossible d'afficher la fenêtre. %s\n", reason.c_str());
  std::_Exit(EXIT_FAILURE);
}

std::string DisplayWanted() {
  for (const char* variable : {"QT_QPA_PLATFORM", "WAYLAND_DISPLAY", "DISPLAY"}) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return std::string(variable) + "=" + value;
  }
  return {};
}

/// While the application starts: the toolkit's remarks are dropped, its despair is told in one line. It would abort
/// next.
void WhileStarting(QtMsgType type, const QMessageLogContext& /*context*/, const QString& /*message*/) {
  if (type == QtFatalMsg) EndWithoutDisplay("L'affichage ne s'ouvre pas (" + DisplayWanted() + ").");
}

/// The toolkit's application object. It gets no argument of the command line: those are the tool's own.
class Application {
 public:
  Application() {
    if (DisplayWanted().empty()) EndWithoutDisplay("Ni DISPLAY ni WAYLAND_DISPLAY ne désigne un affichage.");
    const QtMessageHandler previous = qInstallMessageHandler(WhileStarting);
    application_ = std::make_unique<QApplication>(count_, arguments_);
    qInstallMessageHandler(previous);
    // The toolkit puts the user's locale in force for C functions too, and database drivers read numbers with them.
    std::setlocale(LC_NUMERIC, "C");
    // A message box closing before the first form shows is not the end.
    QApplication::setQuitOnLastWindowClosed(false);
    QCoreApplication::installTranslator(texts_.get());
  }

 private:
  int count_ = 1;
  char name_[6] = "tamlo";
  char* arguments_[2] = {name_, nullptr};
  std::unique_ptr<QTranslator> texts_ = FrenchTexts();
  std::unique_ptr<QApplication> application_;
};

QMessageBox::Icon IconOf(std::int16_t buttons) {
  switch (buttons & kIconMask) {
    case kCritical:
      return QMessageBox::Critical;
    case kExclamation:
      return QMessageBox::Warning;
    default:
      return QMessageBox::NoIcon;
  }
}

/// Lets Ctrl+C take the text of a message box along, as people do to report it.
void CopyOnRequest(QMessageBox& box) {
  auto* copy = new QShortcut(QKeySequence::Copy, &box);  // owned by the box
  QObject::connect(copy, &QShortcut::activated, &box,
                   [&box] { QGuiApplication::clipboard()->setText(box.windowTitle() + "\n" + box.text()); });
}

class QtPlatform : public Platform {
 public:
  std::unique_ptr<Form> CreateForm(std::int16_t clientWidth, std::int16_t clientHeight) override {
    return qt::CreateForm(border_, clientWidth, clientHeight);
  }

  std::int16_t MessageBox(const std::string& text, std::int16_t buttons, const std::string& title) override {
    const bool waiting = hourglass_;
    SetPointer(Pointer::kDefault);
    const QPointer<QWidget> form = QApplication::activeWindow();
    QMessageBox box(IconOf(buttons), FromText(title), FromText(text), QMessageBox::NoButton, form);
    box.setTextFormat(Qt::PlainText);
    const QAbstractButton* const ok = box.addButton("OK", QMessageBox::AcceptRole);
    box.setDefaultButton(qobject_cast<QPushButton*>(box.buttons().constFirst()));
    if ((buttons & kButtonsMask) == kOkCancel) box.setEscapeButton(box.addButton("Annuler", QMessageBox::RejectRole));
    CopyOnRequest(box);
    box.exec();
    const bool accepted = (buttons & kButtonsMask) != kOkCancel || box.clickedButton() == ok;
    // A window manager would give the keyboard back by itself; there need not be one.
    if (form) form->activateWindow();
    if (waiting) SetPointer(Pointer::kHourglass);
    return accepted ? kOk : kCancel;
  }

  void SetPointer(Pointer pointer) override {
    const bool hourglass = pointer == Pointer::kHourglass;
    if (std::exchange(hourglass_, hourglass) == hourglass) return;
    if (hourglass) {
      QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    } else {
      QGuiApplication::restoreOverrideCursor();
    }
  }

  std::int32_t ScreenWidth() const override {
    const QScreen& screen = *QGuiApplication::primaryScreen();
    return ScreenTwips(screen.geometry().width(), screen.logicalDotsPerInchX());
  }
  std::int32_t ScreenHeight() const override {
    const QScreen& screen = *QGuiApplication::primaryScreen();
    return ScreenTwips(screen.geometry().height(), screen.logicalDotsPerInchY());
  }

  void Run() override {
    border_.Rethrow();
    if (border_.HasForms()) loop_.exec();
    border_.Rethrow();
  }

 private:
  Application application_;
  // Of its own: ending the application's would, outside of it, also end the next message box before it shows.
  QEventLoop loop_;
  EventBorder border_{[this] { loop_.quit(); }};
  bool hourglass_ = false;
};

}  // namespace

std::unique_ptr<Platform> CreatePlatform() { return std::make_unique<QtPlatform>(); }

}  // namespace tamlo::ui::qt

#include "ui/qt/QtForm.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDialog>
#include <QFocusEvent>
#include <QLabel>
#include <QLineEdit>
#include <QProxyStyle>
#include <QPushButton>
#include <QScreen>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "ui/EventBorder.h"
#include "ui/Twips.h"

namespace tamlo::ui::qt {

namespace {

constexpr int kLongestText = 32767;

QString FromText(const std::string& text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

/// Hides a password's characters behind "*", at once, on every style.
class PasswordStyle : public QProxyStyle {
 public:
  int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget, QStyleHintReturn* returned) const override {
    if (hint == SH_LineEdit_PasswordCharacter) return '*';
    if (hint == SH_LineEdit_PasswordMaskDelay) return 0;
    return QProxyStyle::styleHint(hint, option, widget, returned);
  }
};

/// A line edit that tells when it becomes the control in use. After a click it tells so only once the click has placed
/// the cursor, so that a selection made then stays.
class LineEdit : public QLineEdit {
 public:
  using QLineEdit::QLineEdit;
  std::function<void()> onFocus;

 protected:
  void focusInEvent(QFocusEvent* event) override {
    QLineEdit::focusInEvent(event);
    focusByMouse_ = event->reason() == Qt::MouseFocusReason;
    if (!focusByMouse_ && onFocus) onFocus();
  }
  void mousePressEvent(QMouseEvent* event) override {
    QLineEdit::mousePressEvent(event);
    if (std::exchange(focusByMouse_, false) && onFocus) onFocus();
  }

 private:
  bool focusByMouse_ = false;
};

/// A button that tells when it becomes the control in use: by its accelerator too, which clicks it only then.
class PushButton : public QPushButton {
 public:
  using QPushButton::QPushButton;
  std::function<void()> onFocus;

 protected:
  bool event(QEvent* event) override {
    if (event->type() == QEvent::Shortcut) setFocus(Qt::ShortcutFocusReason);
    return QPushButton::event(event);
  }
  void focusInEvent(QFocusEvent* event) override {
    QPushButton::focusInEvent(event);
    if (onFocus) onFocus();
  }
};

/// The window: what closes it or cancels it goes to the form instead.
class Dialog : public QDialog {
 public:
  using QDialog::QDialog;
  std::function<void()> onCancel;
  /// Returns whether the window may go.
  std::function<bool()> onClose;

  void reject() override {
    if (onCancel) onCancel();
  }

 protected:
  void closeEvent(QCloseEvent* event) override { event->setAccepted(!onClose || onClose()); }
};

/// Position in a text counted in characters, as one counted in UTF-16 units, and back.
int UnitsOf(const QString& text, int characters) {
  int units = 0;
  for (; characters > 0 && units < text.size(); --characters) {
    units += text.at(units).isHighSurrogate() && units + 1 < text.size() ? 2 : 1;
  }
  return units;
}
std::int16_t CharactersOf(const QString& text, int units) { return static_cast<std::int16_t>(text.left(units).toUcs4().size()); }

/// The way from a control of the contract to its widget.
class HasWidget {
 public:
  virtual ~HasWidget() = default;
  virtual QWidget& AsWidget() = 0;
};

/// The widget of a control, which must be one of this folder.
QWidget& WidgetOf(Control& control) { return dynamic_cast<HasWidget&>(control).AsWidget(); }

/// What all controls do alike with their widget.
template <typename Contract, typename Widget>
class Wrapped : public Contract, public HasWidget {
 public:
  explicit Wrapped(Widget& widget) : widget_(widget) {}
  QWidget& AsWidget() override { return widget_; }
  void SetFocus() override { widget_.setFocus(Qt::OtherFocusReason); }
  void Tip(const std::string& text) override { widget_.setToolTip(FromText(text)); }
  void AccessibleName(const std::string& name) override { widget_.setAccessibleName(FromText(name)); }

 protected:
  Widget& widget_;  // owned by the dialog
};

class QtTextBox : public Wrapped<TextBox, LineEdit> {
 public:
  using Wrapped::Wrapped;

  std::string Text() const override { return widget_.text().toStdString(); }
  void Text(const std::string& text) override { widget_.setText(FromText(text)); }
  void MaxLength(std::int16_t characters) override { widget_.setMaxLength(characters > 0 ? characters : kLongestText); }
  void BackColor(Color color) override {
    QPalette palette = widget_.palette();
    const QColor back(color.red, color.green, color.blue);
    palette.setColor(QPalette::Base, back);
    // A dark theme writes in white, which a light background would swallow.
    palette.setColor(QPalette::Text, back.lightness() > 127 ? Qt::black : Qt::white);
    widget_.setPalette(palette);
  }
  void Password(bool on) override {
    widget_.setEchoMode(on ? QLineEdit::Password : QLineEdit::Normal);
    if (on && !style_) style_ = std::make_unique<PasswordStyle>();
    widget_.setStyle(on ? style_.get() : nullptr);
  }
  void Locked(bool on) override { widget_.setReadOnly(on); }
  void Select(std::int16_t start, std::int16_t length) override {
    const QString text = widget_.text();
    const int first = UnitsOf(text, start);
    widget_.setSelection(first, UnitsOf(text, start + length) - first);
  }
  std::int16_t SelectionStart() const override {
    const int start = widget_.hasSelectedText() ? widget_.selectionStart() : widget_.cursorPosition();
    return CharactersOf(widget_.text(), start);
  }
  std::int16_t SelectionLength() const override {
    return static_cast<std::int16_t>(CharactersOf(widget_.text(), widget_.selectionEnd()) -
                                     CharactersOf(widget_.text(), widget_.selectionStart()));
  }

 private:
  std::unique_ptr<PasswordStyle> style_;
};

class QtButton : public Wrapped<Button, PushButton> {
 public:
  QtButton(PushButton& widget, QtButton*& cancelButton) : Wrapped(widget), cancelButton_(cancelButton) {}

  void Caption(const std::string& text) override { widget_.setText(FromText(text)); }
  void Default(bool on) override { widget_.setDefault(on); }
  void Cancel(bool on) override {
    if (on) {
      cancelButton_ = this;
    } else if (cancelButton_ == this) {
      cancelButton_ = nullptr;
    }
  }
  void Press() { widget_.click(); }

 private:
  QtButton*& cancelButton_;
};

class QtLabel : public Wrapped<Label, QLabel> {
 public:
  using Wrapped::Wrapped;
  void Caption(const std::string& text) override { widget_.setText(FromText(text)); }
  void Buddy(Control& control) override { widget_.setBuddy(&WidgetOf(control)); }
};

class QtForm : public Form {
 public:
  QtForm(EventBorder& border, std::int16_t clientWidth, std::int16_t clientHeight)
      : border_(border), screen_(*QGuiApplication::primaryScreen()) {
    dialog_.setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                           Qt::WindowCloseButtonHint);
    dialog_.setFixedSize(X(clientWidth), Y(clientHeight));
    dialog_.onCancel = [this] {
      if (cancelButton_ != nullptr) cancelButton_->Press();
    };
    dialog_.onClose = [this] {
      border_.Guard([this] { Unload(); });
      return closed_;
    };
    border_.FormLoaded();
  }

  ~QtForm() override {
    if (!closed_) border_.FormUnloaded();
    unloading_ = true;
  }

  TextBox& AddTextBox(const std::string& name, Rectangle place) override {
    auto& widget = Place<LineEdit>(name, place);
    widget.setDragEnabled(false);
    auto& box = Keep(std::make_unique<QtTextBox>(widget));
    widget.onFocus = [this, &box] { border_.Guard([&] { FocusOn(&box); }); };
    return box;
  }

  Button& AddButton(const std::string& name, Rectangle place) override {
    auto& widget = Place<PushButton>(name, place);
    widget.setAutoDefault(true);
    auto& button = Keep(std::make_unique<QtButton>(widget, cancelButton_));
    widget.onFocus = [this] { border_.Guard([&] { FocusOn(nullptr); }); };
    QObject::connect(&widget, &QPushButton::clicked, &dialog_, [this, &button] {
      border_.Guard([&] {
        if (button.onClick) button.onClick();
      });
    });
    return button;
  }

  Label& AddLabel(const std::string& name, Rectangle place) override {
    auto& widget = Place<QLabel>(name, place);
    widget.setTextFormat(Qt::PlainText);
    widget.setWordWrap(true);
    widget.setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    return Keep(std::make_unique<QtLabel>(widget));
  }

  void TabOrder(std::initializer_list<Control*> controls) override {
    QWidget* previous = nullptr;
    for (Control* control : controls) {
      QWidget* widget = &WidgetOf(*control);
      if (previous == nullptr) {
        widget->setFocus();
      } else {
        QWidget::setTabOrder(previous, widget);
      }
      previous = widget;
    }
  }

  void Caption(const std::string& text) override { dialog_.setWindowTitle(FromText(text)); }
  std::int16_t Width() const override { return ToTwips(dialog_.frameGeometry().width(), screen_.logicalDotsPerInchX()); }
  std::int16_t Height() const override { return ToTwips(dialog_.frameGeometry().height(), screen_.logicalDotsPerInchY()); }
  void Move(std::int16_t left, std::int16_t top) override { dialog_.move(screen_.geometry().topLeft() + QPoint(X(left), Y(top))); }

  void Show() override {
    dialog_.show();
    // The program that started this one may hold the focus.
    dialog_.activateWindow();
  }

  void Unload() override {
    if (std::exchange(unloading_, true)) return;
    if (onUnload) onUnload();
    closed_ = true;
    dialog_.hide();
    border_.FormUnloaded();
  }

 private:
  int X(std::int16_t twips) const { return ToPixels(twips, screen_.logicalDotsPerInchX()); }
  int Y(std::int16_t twips) const { return ToPixels(twips, screen_.logicalDotsPerInchY()); }

  template <typename Widget>
  Widget& Place(const std::string& name, Rectangle place) {
    auto* widget = new Widget(&dialog_);  // owned by the dialog
    widget->setObjectName(FromText(name));
    widget->setGeometry(X(place.left), Y(place.top), X(place.width), Y(place.height));
    return *widget;
  }

  template <typename Wrapper>
  Wrapper& Keep(std::unique_ptr<Wrapper> control) {
    Wrapper& kept = *control;
    controls_.push_back(std::move(control));
    return kept;
  }

  /// The control in use changed to this text box (nullptr: to a button). Coming back to the window, or closing a menu,
  /// is no change.
  void FocusOn(QtTextBox* box) {
    if (unloading_) return;
    const bool first = !std::exchange(hadFocus_, true);
    if (!first && box == focused_) return;
    QtTextBox* left = std::exchange(focused_, box);
    if (left != nullptr && left->onLostFocus) left->onLostFocus();
    if (box != nullptr && box->onGotFocus) box->onGotFocus();
  }

  EventBorder& border_;
  QScreen& screen_;  // the application's
  // The wrappers go after the dialog, whose widgets use their styles.
  std::vector<std::unique_ptr<Control>> controls_;
  Dialog dialog_;
  QtButton* cancelButton_ = nullptr;
  QtTextBox* focused_ = nullptr;
  bool hadFocus_ = false;
  bool unloading_ = false;
  bool closed_ = false;
};

}  // namespace

std::unique_ptr<Form> CreateForm(EventBorder& border, std::int16_t clientWidth, std::int16_t clientHeight) {
  return std::make_unique<QtForm>(border, clientWidth, clientHeight);
}

}  // namespace tamlo::ui::qt

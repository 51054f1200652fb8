#include "ui/qt/QtForm.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDialog>
#include <QFocusEvent>
#include <QLabel>
#include <QFontMetrics>
#include <QLineEdit>
#include <QProxyStyle>
#include <QPushButton>
#include <QScreen>
#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "ui/EventBorder.h"
#include "ui/Growth.h"
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
  /// The user's font or style is another one now.
  std::function<void()> onFont;

  void reject() override {
    if (onCancel) onCancel();
  }

 protected:
  void closeEvent(QCloseEvent* event) override { event->setAccepted(!onClose || onClose()); }
  bool event(QEvent* event) override {
    const bool done = QDialog::event(event);
    const auto type = event->type();
    if ((type == QEvent::ApplicationFontChange || type == QEvent::StyleChange) && onFont) onFont();
    return done;
  }
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

/// The size of a text, capitals with accents and descenders included, as it is drawn at most.
QSize SizeOf(const QFontMetrics& metrics, const QString& text) {
  const int width = metrics.size(Qt::TextSingleLine | Qt::TextShowMnemonic, text).width();
  return {width, metrics.tightBoundingRect(QStringLiteral("ÉÇgj")).height()};
}

/// The way from a control of the contract to its widget, and where that stands.
class HasWidget {
 public:
  explicit HasWidget(Rectangle place) : place_(place) {}
  virtual ~HasWidget() = default;
  virtual QWidget& AsWidget() = 0;
  [[nodiscard]] const Rectangle& Place() const noexcept { return place_; }
  /// Whether all of its text that does not scroll shows in a widget of that size.
  [[nodiscard]] virtual bool Fits(const QFontMetrics& metrics, QSize size) const = 0;

 private:
  Rectangle place_;
};

/// The widget of a control, which must be one of this folder.
QWidget& WidgetOf(Control& control) { return dynamic_cast<HasWidget&>(control).AsWidget(); }

/// What all controls do alike with their widget.
template <typename Contract, typename Widget>
class Wrapped : public Contract, public HasWidget {
 public:
  Wrapped(Widget& widget, Rectangle place, std::function<void()> changed)
      : HasWidget(place), widget_(widget), changed_(std::move(changed)) {}
  QWidget& AsWidget() override { return widget_; }
  void SetFocus() override { widget_.setFocus(Qt::OtherFocusReason); }
  void Tip(const std::string& text) override { widget_.setToolTip(FromText(text)); }
  void AccessibleName(const std::string& name) override { widget_.setAccessibleName(FromText(name)); }

 protected:
  Widget& widget_;                 // owned by the dialog
  std::function<void()> changed_;  // its text is another one
};

class QtTextBox : public Wrapped<TextBox, LineEdit> {
 public:
  using Wrapped::Wrapped;

  std::string Text() const override { return widget_.text().toStdString(); }
  void Text(const std::string& text) override { Hold(FromText(text)); }
  void MaxLength(std::int16_t characters) override {
    maxLength_ = characters > 0 ? characters : kLongestText;
    Hold(widget_.text());
  }
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

  bool Fits(const QFontMetrics& metrics, QSize size) const override {
    // Two pixels of frame and one of the widget's own margin on each side; the text itself scrolls.
    return SizeOf(metrics, {}).height() <= size.height() - 6;
  }

 private:
  /// The widget counts its limit in UTF-16 units, the contract in characters.
  void Hold(const QString& text) {
    const QString held = text.left(UnitsOf(text, maxLength_));
    widget_.setMaxLength(std::max(maxLength_, static_cast<int>(held.size())));
    widget_.setText(held);
  }

  std::unique_ptr<PasswordStyle> style_;
  int maxLength_ = kLongestText;
};

class QtButton : public Wrapped<Button, PushButton> {
 public:
  QtButton(PushButton& widget, Rectangle place, std::function<void()> changed, QtButton*& cancelButton)
      : Wrapped(widget, place, std::move(changed)), cancelButton_(cancelButton) {}

  void Caption(const std::string& text) override {
    widget_.setText(FromText(text));
    changed_();
  }
  bool Fits(const QFontMetrics& metrics, QSize size) const override {
    // Frame and focus ring.
    const QSize text = SizeOf(metrics, widget_.text());
    return text.width() <= size.width() - 8 && text.height() <= size.height() - 6;
  }
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
  void Caption(const std::string& text) override {
    widget_.setText(FromText(text));
    changed_();
  }
  bool Fits(const QFontMetrics& metrics, QSize size) const override {
    const QRect text =
        metrics.boundingRect(QRect(0, 0, size.width(), kLongestText), Qt::TextWordWrap | Qt::TextShowMnemonic, widget_.text());
    return text.width() <= size.width() && text.height() <= size.height();
  }
  void Buddy(Control& control) override { widget_.setBuddy(&WidgetOf(control)); }
};

class QtForm : public Form {
 public:
  QtForm(EventBorder& border, std::int16_t clientWidth, std::int16_t clientHeight)
      : border_(border), screen_(*QGuiApplication::primaryScreen()), clientWidth_(clientWidth), clientHeight_(clientHeight) {
    dialog_.setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                           Qt::WindowCloseButtonHint);
    dialog_.setFixedSize(ClientSize());
    dialog_.onCancel = [this] {
      if (cancelButton_ != nullptr) cancelButton_->Press();
    };
    dialog_.onClose = [this] {
      border_.Guard([this] { Unload(); });
      return closed_;
    };
    dialog_.onFont = [this] { border_.Guard([this] { Layout(); }); };
    border_.FormLoaded();
  }

  ~QtForm() override {
    if (!closed_) border_.FormUnloaded();
    unloading_ = true;
  }

  TextBox& AddTextBox(const std::string& name, Rectangle place) override {
    auto& widget = Make<LineEdit>(name);
    widget.setDragEnabled(false);
    auto& box = Keep(std::make_unique<QtTextBox>(widget, place, [this] { Layout(); }));
    widget.onFocus = [this, &box] { border_.Guard([&] { FocusOn(&box); }); };
    return box;
  }

  Button& AddButton(const std::string& name, Rectangle place) override {
    auto& widget = Make<PushButton>(name);
    widget.setAutoDefault(true);
    auto& button = Keep(std::make_unique<QtButton>(
        widget, place, [this] { Layout(); }, cancelButton_));
    widget.onFocus = [this] { border_.Guard([&] { FocusOn(nullptr); }); };
    QObject::connect(&widget, &QPushButton::clicked, &dialog_, [this, &button] {
      border_.Guard([&] {
        if (button.onClick) button.onClick();
      });
    });
    return button;
  }

  Label& AddLabel(const std::string& name, Rectangle place) override {
    auto& widget = Make<QLabel>(name);
    widget.setTextFormat(Qt::PlainText);
    widget.setWordWrap(true);
    widget.setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    return Keep(std::make_unique<QtLabel>(widget, place, [this] { Layout(); }));
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

  QSize ClientSize() const { return {Grown(X(clientWidth_)), Grown(Y(clientHeight_))}; }
  int Grown(int pixels) const { return static_cast<int>(std::lround(pixels * growth_.places)); }

  template <typename Widget>
  Widget& Make(const std::string& name) {
    auto* widget = new Widget(&dialog_);  // owned by the dialog
    widget->setObjectName(FromText(name));
    return *widget;
  }

  template <typename Wrapper>
  Wrapper& Keep(std::unique_ptr<Wrapper> control) {
    Wrapper& kept = *control;
    controls_.push_back(std::move(control));
    Layout();
    return kept;
  }

  /// Gives form and controls the size that the texts need in the user's font.
  void Layout() {
    if (std::exchange(layingOut_, true)) return;
    const QFont font = QApplication::font(&dialog_);
    const QSize room = screen_.availableGeometry().size();
    const double greatest =
        std::min(room.width() / static_cast<double>(X(clientWidth_)), room.height() / static_cast<double>(Y(clientHeight_)));
    growth_ = FindGrowth(greatest, [&](const Growth& growth) { return TextsFit(Scaled(font, growth.texts), growth.places); });
    dialog_.setFont(growth_.texts < 1 ? Scaled(font, growth_.texts) : QFont());
    dialog_.setFixedSize(ClientSize());
    for (const auto& control : controls_) {
      const Rectangle& place = control->Place();
      const int left = Grown(X(place.left));
      const int top = Grown(Y(place.top));
      control->AsWidget().setGeometry(left, top, Grown(X(place.width)), Grown(Y(place.height)));
    }
    layingOut_ = false;
  }

  bool TextsFit(const QFont& font, double places) const {
    const QFontMetrics metrics(font, &dialog_);
    return std::all_of(controls_.begin(), controls_.end(), [&](const auto& control) {
      const Rectangle& place = control->Place();
      return control->Fits(metrics, QSize(static_cast<int>(X(place.width) * places), static_cast<int>(Y(place.height) * places)));
    });
  }

  static QFont Scaled(QFont font, double factor) {
    if (factor == 1) return font;
    if (font.pixelSize() > 0) {
      font.setPixelSize(std::max(1, static_cast<int>(font.pixelSize() * factor)));
    } else {
      font.setPointSizeF(font.pointSizeF() * factor);
    }
    return font;
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
  std::int16_t clientWidth_;
  std::int16_t clientHeight_;
  Growth growth_;
  bool layingOut_ = false;
  // The wrappers go after the dialog, whose widgets use their styles.
  std::vector<std::unique_ptr<HasWidget>> controls_;
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

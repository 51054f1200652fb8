#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>

/// The user interface services that the system needs, as a contract. Lengths and positions are twips (1440 an inch), texts UTF-8.
/// Everything is called from the user-interface thread.
namespace tamlo::ui {

struct Rectangle {
  std::int16_t left = 0;
  std::int16_t top = 0;
  std::int16_t width = 0;
  std::int16_t height = 0;
};

struct Color {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;
  friend constexpr bool operator==(Color, Color) = default;
};

/// Buttons and icons of a message box, to be added up; and the button that was pressed.
enum MessageBoxCode : std::int16_t { kOkOnly = 0, kOkCancel = 1, kCritical = 16, kExclamation = 48 };
enum MessageBoxButton : std::int16_t { kOk = 1, kCancel = 2 };

enum class Pointer : std::int16_t { kDefault = 0, kHourglass = 11 };

/// What all controls share. Controls belong to their form and live as long as it.
class Control {
 public:
  virtual ~Control() = default;
  virtual void SetFocus() = 0;
  /// Shown when the pointer rests on the control.
  virtual void Tip(const std::string& text) = 0;
  /// The name that assistive programs speak.
  virtual void AccessibleName(const std::string& name) = 0;
};

class TextBox : public Control {
 public:
  [[nodiscard]] virtual std::string Text() const = 0;
  virtual void Text(const std::string& text) = 0;
  /// Most characters that the box holds: typing more is refused, a longer text assigned is cut. 0 is without limit.
  virtual void MaxLength(std::int16_t characters) = 0;
  virtual void BackColor(Color color) = 0;
  /// True: shows "*" for each character, and gives nothing to the clipboard.
  virtual void Password(bool on) = 0;
  /// Locked: can be selected but not edited.
  virtual void Locked(bool on) = 0;
  /// Selection in characters from 0.
  virtual void Select(std::int16_t start, std::int16_t length) = 0;
  [[nodiscard]] virtual std::int16_t SelectionStart() const = 0;
  [[nodiscard]] virtual std::int16_t SelectionLength() const = 0;

  std::function<void()> onGotFocus;
  std::function<void()> onLostFocus;
};

class Button : public Control {
 public:
  /// "&" marks the accelerator.
  virtual void Caption(const std::string& text) = 0;
  /// Pressed by Enter, by Esc.
  virtual void Default(bool on) = 0;
  virtual void Cancel(bool on) = 0;
  std::function<void()> onClick;
};

class Label : public Control {
 public:
  virtual void Caption(const std::string& text) = 0;
  /// The control that the label's accelerator and assistive programs go to.
  virtual void Buddy(Control& control) = 0;
};

/// A dialog window of fixed size. Places are those at the toolkit's usual text size: with a larger one the form and all its places grow
/// together, as far as the texts need it to stand whole. Made hidden; unloading it (Unload, the close box, the end of the user's session)
/// calls onUnload once.
class Form {
 public:
  virtual ~Form() = default;

  virtual TextBox& AddTextBox(const std::string& name, Rectangle place) = 0;
  virtual Button& AddButton(const std::string& name, Rectangle place) = 0;
  virtual Label& AddLabel(const std::string& name, Rectangle place) = 0;
  /// Controls take the focus in the order of this call's arguments, the first when the form opens.
  virtual void TabOrder(std::initializer_list<Control*> controls) = 0;

  virtual void Caption(const std::string& text) = 0;
  /// Outer size, frame included, in twips, as grown for what was added up to now.
  [[nodiscard]] virtual std::int16_t Width() const = 0;
  [[nodiscard]] virtual std::int16_t Height() const = 0;
  virtual void Move(std::int16_t left, std::int16_t top) = 0;
  /// Shows without blocking.
  virtual void Show() = 0;
  /// Closes for good. Does nothing on a form already unloaded.
  virtual void Unload() = 0;

  std::function<void()> onUnload;
};

/// A status bar control: panels are counted from 1.
class StatusBar {
 public:
  virtual ~StatusBar() = default;
  [[nodiscard]] virtual std::string PanelText(std::int16_t panel) const = 0;
  virtual void PanelText(std::int16_t panel, const std::string& text) = 0;
  /// Redraws at once.
  virtual void Refresh() = 0;
};

/// One toolkit. The main file makes one and puts it in force with UsePlatform.
class Platform {
 public:
  virtual ~Platform() = default;
  /// A form whose client area has that size in twips.
  [[nodiscard]] virtual std::unique_ptr<Form> CreateForm(std::int16_t clientWidth, std::int16_t clientHeight) = 0;
  /// A modal message box; returns the button pressed. Line feeds in the text are line ends.
  virtual std::int16_t MessageBox(const std::string& text, std::int16_t buttons, const std::string& title) = 0;
  virtual void SetPointer(Pointer pointer) = 0;
  /// Size of the screen that forms are centred on, in twips; at most 65534, so that its middle still is a 16-bit position.
  [[nodiscard]] virtual std::int32_t ScreenWidth() const = 0;
  [[nodiscard]] virtual std::int32_t ScreenHeight() const = 0;
  /// Handles events until the last form is unloaded. An exception that leaves an event handler stops it and comes out here.
  virtual void Run() = 0;
};

/// The platform in force, nullptr when none is: a program without a screen needs none.
[[nodiscard]] Platform* PlatformInForce() noexcept;
/// The same for what cannot do without, such as a form. Error 91 when none is.
[[nodiscard]] Platform& CurrentPlatform();
/// Puts a platform in force (nullptr: none); not owned. Returns the one before.
Platform* UsePlatform(Platform* platform) noexcept;

}  // namespace tamlo::ui

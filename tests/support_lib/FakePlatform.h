#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "ui/Platform.h"

namespace tamlo::tests {

class FakeForm;
class FakePlatform;

/// What every fake control lets a test see.
struct ControlState {
  std::string name;
  ui::Rectangle place;
  std::string tip;
  std::string accessibleName;
};

/// A text box whose settings can be read and into which a test types like a person.
class FakeTextBox final : public ui::TextBox {
 public:
  FakeTextBox(FakeForm& form, std::string name, ui::Rectangle place);

  void SetFocus() override;
  void Tip(const std::string& text) override { state.tip = text; }
  void AccessibleName(const std::string& name) override { state.accessibleName = name; }
  [[nodiscard]] std::string Text() const override { return text_; }
  /// Puts the caret in front of the text. Assigned text is cut to the greatest length; bytes that are no character become U+FFFD.
  void Text(const std::string& text) override;
  void MaxLength(std::int16_t characters) override;
  void BackColor(ui::Color color) override { backColor = color; }
  void Password(bool on) override { password = on; }
  void Locked(bool on) override { locked = on; }
  void Select(std::int16_t start, std::int16_t length) override;
  [[nodiscard]] std::int16_t SelectionStart() const override { return selectionStart_; }
  [[nodiscard]] std::int16_t SelectionLength() const override { return selectionLength_; }

  /// Types into the box, which takes the focus first: the selection is replaced, a locked box takes nothing, a full one
  /// nothing more.
  void Type(std::string_view text);
  /// What a person sees: a "*" for each character of a password.
  [[nodiscard]] std::string Shown() const;
  /// What "copy" puts in the clipboard: the selection, nothing from a password.
  [[nodiscard]] std::string Copied() const;

  ControlState state;
  std::int16_t maxLength = 0;
  ui::Color backColor{255, 255, 255};
  bool password = false;
  bool locked = false;

 private:
  FakeForm& form_;
  std::string text_;
  std::int16_t selectionStart_ = 0;
  std::int16_t selectionLength_ = 0;
};

class FakeButton final : public ui::Button {
 public:
  FakeButton(FakeForm& form, std::string name, ui::Rectangle place);

  void SetFocus() override;
  void Tip(const std::string& text) override { state.tip = text; }
  void AccessibleName(const std::string& name) override { state.accessibleName = name; }
  void Caption(const std::string& text) override { caption = text; }
  void Default(bool on) override { isDefault = on; }
  void Cancel(bool on) override { isCancel = on; }

  /// Clicks with the mouse: the focus comes first, then the click.
  void Click();

  ControlState state;
  std::string caption;
  bool isDefault = false;
  bool isCancel = false;

 private:
  FakeForm& form_;
};

class FakeLabel final : public ui::Label {
 public:
  FakeLabel(std::string name, ui::Rectangle place) : state{std::move(name), place, {}, {}} {}

  void SetFocus() override {}
  void Tip(const std::string& text) override { state.tip = text; }
  void AccessibleName(const std::string& name) override { state.accessibleName = name; }
  void Caption(const std::string& text) override { caption = text; }
  void Buddy(ui::Control& control) override { buddy = &control; }

  ControlState state;
  std::string caption;
  ui::Control* buddy = nullptr;
};

/// A form without a window. Focus events come as a window system sends them: the loser first, then the winner, none
/// while hidden. The platform that made it must outlive it.
class FakeForm final : public ui::Form {
 public:
  /// The frame around the client area, in twips.
  static constexpr std::int16_t kFrameWidth = 90;
  static constexpr std::int16_t kFrameHeight = 405;

  FakeForm(FakePlatform& platform, std::int16_t clientWidth, std::int16_t clientHeight);
  ~FakeForm() override;
  FakeForm(const FakeForm&) = delete;
  FakeForm& operator=(const FakeForm&) = delete;

  ui::TextBox& AddTextBox(const std::string& name, ui::Rectangle place) override;
  ui::Button& AddButton(const std::string& name, ui::Rectangle place) override;
  ui::Label& AddLabel(const std::string& name, ui::Rectangle place) override;
  void TabOrder(std::initializer_list<ui::Control*> controls) override { tabOrder = controls; }
  void Caption(const std::string& text) override { caption = text; }
  [[nodiscard]] std::int16_t Width() const override { return static_cast<std::int16_t>(clientWidth + kFrameWidth); }
  [[nodiscard]] std::int16_t Height() const override { return static_cast<std::int16_t>(clientHeight + kFrameHeight); }
  void Move(std::int16_t newLeft, std::int16_t newTop) override;
  void Show() override;
  void Unload() override;

  /// A control by its name. std::out_of_range when there is none.
  [[nodiscard]] FakeTextBox& TextBox(const std::string& name) { return *textBoxes.at(name); }
  [[nodiscard]] FakeButton& Button(const std::string& name) { return *buttons.at(name); }
  [[nodiscard]] FakeLabel& Label(const std::string& name) { return *labels.at(name); }

  /// Keys as a person presses them. Enter clicks the button that has the focus, else the default one; Esc clicks the
  /// cancel button.
  void PressEnter();
  void PressEscape();
  void PressTab();
  void PressBackTab();
  /// The accelerator with that letter: clicks the button whose caption marks it, without regard to case.
  void PressAccelerator(char letter);
  /// The close box of the window.
  void CloseBox() { Unload(); }

  /// Gives the focus to a control; before the form is shown it is only remembered.
  void Focus(ui::Control& control);
  [[nodiscard]] ui::Control* Focused() const { return focused_; }

  std::int16_t clientWidth;
  std::int16_t clientHeight;
  std::int16_t left = 0;
  std::int16_t top = 0;
  bool moved = false;
  bool shown = false;
  bool unloaded = false;
  std::string caption;
  std::vector<ui::Control*> tabOrder;
  std::map<std::string, std::unique_ptr<FakeTextBox>> textBoxes;
  std::map<std::string, std::unique_ptr<FakeButton>> buttons;
  std::map<std::string, std::unique_ptr<FakeLabel>> labels;
  /// Names of the text boxes, buttons and labels in the order in which they were added.
  std::vector<std::string> added;

 private:
  void MoveFocus(std::ptrdiff_t step);

  FakePlatform& platform_;
  ui::Control* focused_ = nullptr;
};

/// A message box that was shown.
struct ShownMessage {
  std::string text;
  std::int16_t buttons = 0;
  std::string title;
  friend bool operator==(const ShownMessage&, const ShownMessage&) = default;
  friend std::ostream& operator<<(std::ostream& out, const ShownMessage& message) {
    return out << '"' << message.title << "\" " << message.buttons << " \"" << message.text << '"';
  }
};

/// A platform without a screen, in force for as long as it lives.
class FakePlatform final : public ui::Platform {
 public:
  FakePlatform() : previous_(ui::UsePlatform(this)) {}
  ~FakePlatform() override { ui::UsePlatform(previous_); }
  FakePlatform(const FakePlatform&) = delete;
  FakePlatform& operator=(const FakePlatform&) = delete;

  [[nodiscard]] std::unique_ptr<ui::Form> CreateForm(std::int16_t clientWidth, std::int16_t clientHeight) override;
  /// Keeps the box and gives the next answer of the script, "OK" when there is none left.
  std::int16_t MessageBox(const std::string& text, std::int16_t buttons, const std::string& title) override;
  void SetPointer(ui::Pointer pointer) override { pointers.push_back(pointer); }
  [[nodiscard]] std::int32_t ScreenWidth() const override { return screenWidth; }
  [[nodiscard]] std::int32_t ScreenHeight() const override { return screenHeight; }
  /// Does what the test put in whileRunning (nothing when it put nothing in) and returns; its exceptions come out.
  void Run() override;

  /// Forms made and not yet destroyed, oldest first.
  [[nodiscard]] const std::vector<FakeForm*>& Forms() const { return forms_; }
  /// The newest of them. std::out_of_range when there is none.
  [[nodiscard]] FakeForm& Form() const;
  [[nodiscard]] ui::Pointer CurrentPointer() const { return pointers.empty() ? ui::Pointer::kDefault : pointers.back(); }

  std::vector<ShownMessage> messages;
  std::deque<std::int16_t> answers;
  /// Called while a message box is up.
  std::function<void(const ShownMessage&)> onMessageBox;
  std::vector<ui::Pointer> pointers;
  std::function<void()> whileRunning;
  int runs = 0;
  std::int32_t screenWidth = 15360;
  std::int32_t screenHeight = 11520;

 private:
  friend class FakeForm;

  ui::Platform* previous_;
  std::vector<FakeForm*> forms_;
};

/// A status bar that remembers what it showed at each redraw (panel 1).
class FakeStatusBar final : public ui::StatusBar {
 public:
  [[nodiscard]] std::string PanelText(std::int16_t panel) const override;
  void PanelText(std::int16_t panel, const std::string& text) override { panels_[panel] = text; }
  void Refresh() override { redrawn.push_back(PanelText(1)); }

  std::vector<std::string> redrawn;

 private:
  std::map<std::int16_t, std::string> panels_;
};

}  // namespace tamlo::tests

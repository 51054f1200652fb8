#pragma once

#include <string>

#include "ui/Platform.h"
#include "ui/win32/Native.h"

namespace tamlo::ui::win32 {

class ControlWindow;

/// What a control tells the form that holds it.
class ControlHost {
 public:
  virtual ~ControlHost() = default;
  virtual void FocusReached(ControlWindow& control) = 0;
  virtual void TipChanged(ControlWindow& control, const std::wstring& text) = 0;
  /// A text that must show whole is another one.
  virtual void CaptionChanged() = 0;
};

/// How places in twips become pixels: the screen's dots an inch and the form's growth.
struct Measure {
  UINT dotsPerInch = USER_DEFAULT_SCREEN_DPI;
  double growth = 1;
  [[nodiscard]] LONG Pixels(std::int16_t twips) const;
};

/// The native side of a control: its window, its place in twips, what it draws with. The window goes with the form's,
/// before this object.
class ControlWindow {
 public:
  ControlWindow(ControlHost& host, HWND window, Rectangle place) : host_(host), window_(window), place_(place) {}
  virtual ~ControlWindow() = default;
  ControlWindow(const ControlWindow&) = delete;
  ControlWindow& operator=(const ControlWindow&) = delete;

  [[nodiscard]] HWND Window() const noexcept { return window_; }
  [[nodiscard]] WORD Id() const noexcept { return static_cast<WORD>(GetDlgCtrlID(window_)); }
  [[nodiscard]] const std::wstring& SpokenName() const noexcept { return spokenName_; }
  /// The contract's object.
  [[nodiscard]] virtual Control& AsControl() noexcept = 0;

  /// Puts the window at its place by that measure, behind another in tab order, gives it the font and shows it.
  virtual void PlaceAt(const Measure& measure, HFONT font, HWND behind);
  /// Whether all of its text that does not scroll shows at its place. The device, which is of the window's screen, has the
  /// font.
  [[nodiscard]] virtual bool Fits(const Measure& measure, HDC device) const = 0;
  /// The brush of the background and its colours put into the device; none: the system's own.
  [[nodiscard]] virtual HBRUSH Background(HDC /*device*/) { return nullptr; }
  /// The user pressed it (its command reached the form).
  virtual void Pressed() {}
  /// It gained the focus (its notice reached the form).
  virtual void Focused() { host_.FocusReached(*this); }
  /// Whether the window would have no name for assistive programs but for SpokenName.
  [[nodiscard]] virtual bool NeedsSpokenName() const noexcept { return false; }

 protected:
  [[nodiscard]] RECT PixelPlace(const Measure& measure) const;

  ControlHost& host_;
  HWND window_;
  Rectangle place_;
  std::wstring spokenName_;
};

class Win32Button;

/// Where the form keeps which of its buttons Esc presses.
struct CancelButton {
  Win32Button* button = nullptr;
};

/// The part of the contract that all controls do alike.
template <typename Contract>
class Win32Control : public Contract, public ControlWindow {
 public:
  using ControlWindow::ControlWindow;
  Control& AsControl() noexcept override { return *this; }
  /// The way of a dialog, which also hands on which button Enter presses.
  void SetFocus() override { SendMessageW(GetParent(window_), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(window_), TRUE); }
  void Tip(const std::string& text) override { host_.TipChanged(*this, ToWide(text)); }
  void AccessibleName(const std::string& name) override { spokenName_ = ToWide(name); }
};

class Win32TextBox : public Win32Control<TextBox> {
 public:
  Win32TextBox(ControlHost& host, HWND form, WORD id, Rectangle place);

  std::string Text() const override { return FromWide(WindowText(window_)); }
  void Text(const std::string& text) override;
  void MaxLength(std::int16_t characters) override;
  void BackColor(Color color) override;
  void Password(bool on) override;
  void Locked(bool on) override { SendMessageW(window_, EM_SETREADONLY, on ? TRUE : FALSE, 0); }
  void Select(std::int16_t start, std::int16_t length) override;
  std::int16_t SelectionStart() const override;
  std::int16_t SelectionLength() const override;

  HBRUSH Background(HDC device) override;
  bool Fits(const Measure& measure, HDC device) const override;
  void Focused() override;
  bool NeedsSpokenName() const noexcept override { return true; }

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam);

  WNDPROC native_ = nullptr;  ///< what the system's own box does with a message
  std::int16_t maxLength_ = 0;
  bool password_ = false;
  bool focusByMouse_ = false;
  COLORREF color_ = 0;
  DrawingObject<HBRUSH> brush_;
};

class Win32Button : public Win32Control<Button> {
 public:
  Win32Button(ControlHost& host, HWND form, WORD id, Rectangle place, CancelButton& cancel);

  void Caption(const std::string& text) override {
    SetWindowTextW(window_, ToWide(text).c_str());
    host_.CaptionChanged();
  }
  bool Fits(const Measure& measure, HDC device) const override;
  void Default(bool on) override;
  void Cancel(bool on) override;
  void Pressed() override {
    if (onClick) onClick();
  }

 private:
  CancelButton& cancel_;
};

class Win32Label : public Win32Control<Label> {
 public:
  Win32Label(ControlHost& host, HWND form, WORD id, Rectangle place);

  void Caption(const std::string& text) override {
    SetWindowTextW(window_, ToWide(text).c_str());
    host_.CaptionChanged();
  }
  bool Fits(const Measure& measure, HDC device) const override;
  void Buddy(Control& control) override { buddy_ = &control; }
  [[nodiscard]] Control* BuddyControl() const noexcept { return buddy_; }
  void PlaceAt(const Measure& measure, HFONT font, HWND behind) override;

 private:
  Control* buddy_ = nullptr;
};

}  // namespace tamlo::ui::win32

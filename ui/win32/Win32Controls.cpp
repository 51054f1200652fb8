#include "ui/win32/Win32Controls.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "ui/Twips.h"

namespace tamlo::ui::win32 {

namespace {

/// Hidden, until it is placed.
HWND MakeWindow(HWND form, const wchar_t* kind, DWORD style, DWORD extendedStyle, WORD id) {
  const auto menu = reinterpret_cast<HMENU>(static_cast<UINT_PTR>(id));
  return Checked(CreateWindowExW(extendedStyle, kind, L"", WS_CHILD | style, 0, 0, 0, 0, form, menu, GetModuleHandleW(nullptr), nullptr),
                 "CreateWindowEx");
}

/// Position in a text counted in characters, as one counted in UTF-16 units, and back.
DWORD UnitsOf(std::wstring_view text, int characters) {
  std::size_t units = 0;
  for (; characters > 0 && units < text.size(); --characters) units += IS_HIGH_SURROGATE(text[units]) ? 2 : 1;
  return static_cast<DWORD>(std::min(units, text.size()));
}
std::int16_t CharactersOf(std::wstring_view text, DWORD units) {
  std::int16_t characters = 0;
  for (std::size_t i = 0; i < std::min<std::size_t>(units, text.size()); ++i) {
    if (!IS_LOW_SURROGATE(text[i])) ++characters;
  }
  return characters;
}

struct Selection {
  DWORD start = 0;
  DWORD end = 0;
};

Selection SelectionOf(HWND window) {
  Selection selection;
  SendMessageW(window, EM_GETSEL, reinterpret_cast<WPARAM>(&selection.start), reinterpret_cast<LPARAM>(&selection.end));
  return selection;
}

/// The size of a text on a device: on one line, or on as many as a width makes of it.
SIZE SizeOf(HDC device, const std::wstring& text, LONG width = 0) {
  RECT place{0, 0, width, 0};
  DrawTextW(device, text.c_str(), -1, &place, DT_CALCRECT | (width == 0 ? UINT{DT_SINGLELINE} : UINT{DT_WORDBREAK}));
  return {place.right, place.bottom};
}

/// What a frame and the room inside of it take of a length.
LONG FrameOf(const Measure& measure) { return 2 * GetSystemMetricsForDpi(SM_CXEDGE, measure.dotsPerInch); }

}  // namespace

LONG Measure::Pixels(std::int16_t twips) const { return std::lround(ToPixels(twips, dotsPerInch) * growth); }

RECT ControlWindow::PixelPlace(const Measure& measure) const {
  const LONG left = measure.Pixels(place_.left);
  const LONG top = measure.Pixels(place_.top);
  return {left, top, left + measure.Pixels(place_.width), top + measure.Pixels(place_.height)};
}

void ControlWindow::PlaceAt(const Measure& measure, HFONT font, HWND behind) {
  const RECT place = PixelPlace(measure);
  SendMessageW(window_, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
  SetWindowPos(window_, behind, place.left, place.top, place.right - place.left, place.bottom - place.top, SWP_NOACTIVATE | SWP_SHOWWINDOW);
}

Win32TextBox::Win32TextBox(ControlHost& host, HWND form, WORD id, Rectangle place)
    : Win32Control(host, MakeWindow(form, WC_EDITW, WS_TABSTOP | ES_AUTOHSCROLL, WS_EX_CLIENTEDGE, id), place) {
  SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  native_ = reinterpret_cast<WNDPROC>(SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Procedure)));
}

LRESULT CALLBACK Win32TextBox::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  return reinterpret_cast<Win32TextBox*>(GetWindowLongPtrW(window, GWLP_USERDATA))->OnMessage(message, wParam, lParam);
}

void Win32TextBox::Text(const std::string& text) {
  std::wstring wide = ToWide(text);
  // The native box ends a text at a character of code 0: what came after it would be gone unseen.
  std::replace(wide.begin(), wide.end(), L'\0', L'\xFFFD');
  if (maxLength_ > 0) wide.resize(UnitsOf(wide, maxLength_));
  SetWindowTextW(window_, wide.c_str());
}

void Win32TextBox::MaxLength(std::int16_t characters) {
  maxLength_ = std::max<std::int16_t>(characters, 0);
  SendMessageW(window_, EM_LIMITTEXT, static_cast<WPARAM>(maxLength_), 0);
  if (maxLength_ > 0 && runtime::Length(Text()) > static_cast<std::size_t>(maxLength_)) Text(Text());
}

void Win32TextBox::BackColor(Color color) {
  color_ = RGB(color.red, color.green, color.blue);
  brush_ = DrawingObject<HBRUSH>(CreateSolidBrush(color_));
  InvalidateRect(window_, nullptr, TRUE);
}

HBRUSH Win32TextBox::Background(HDC device) {
  if (brush_.Get() == nullptr) return nullptr;
  // A dark theme writes in white, which a light background would swallow.
  const bool light = GetRValue(color_) + GetGValue(color_) + GetBValue(color_) > 3 * 127;
  SetTextColor(device, light ? RGB(0, 0, 0) : RGB(255, 255, 255));
  SetBkColor(device, color_);
  return brush_.Get();
}

bool Win32TextBox::Fits(const Measure& measure, HDC device) const {
  // Its text scrolls to the side, not up.
  return SizeOf(device, L"Ég").cy <= measure.Pixels(place_.height) - FrameOf(measure);
}

bool Win32Button::Fits(const Measure& measure, HDC device) const {
  const SIZE text = SizeOf(device, WindowText(window_));
  const LONG frame = FrameOf(measure);
  return text.cx <= measure.Pixels(place_.width) - 2 * frame && text.cy <= measure.Pixels(place_.height) - frame;
}

bool Win32Label::Fits(const Measure& measure, HDC device) const {
  const LONG width = measure.Pixels(place_.width);
  const SIZE text = SizeOf(device, WindowText(window_), width);
  return text.cx <= width && text.cy <= measure.Pixels(place_.height);
}

void Win32TextBox::Password(bool on) {
  password_ = on;
  SendMessageW(window_, EM_SETPASSWORDCHAR, on ? L'*' : 0, 0);
  InvalidateRect(window_, nullptr, TRUE);
}

void Win32TextBox::Select(std::int16_t start, std::int16_t length) {
  const std::wstring text = WindowText(window_);
  SendMessageW(window_, EM_SETSEL, UnitsOf(text, start), static_cast<LPARAM>(UnitsOf(text, start + length)));
}

std::int16_t Win32TextBox::SelectionStart() const { return CharactersOf(WindowText(window_), SelectionOf(window_).start); }

std::int16_t Win32TextBox::SelectionLength() const {
  const std::wstring text = WindowText(window_);
  const Selection selection = SelectionOf(window_);
  return static_cast<std::int16_t>(CharactersOf(text, selection.end) - CharactersOf(text, selection.start));
}

LRESULT Win32TextBox::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  // A password gives nothing to the clipboard, whichever way it is asked.
  if (password_ && (message == WM_COPY || message == WM_CUT)) return 0;
  const bool click = message == WM_LBUTTONDOWN && GetFocus() != window_;
  focusByMouse_ = focusByMouse_ || click;
  const LRESULT answer = CallWindowProcW(native_, window_, message, wParam, lParam);
  if (click) {
    // The focus is told once the click has placed the caret, and the drag that the click began ends: a selection made
    // then stays.
    if (GetCapture() == window_) ReleaseCapture();
    focusByMouse_ = false;
    host_.FocusReached(*this);
  }
  return answer;
}

void Win32TextBox::Focused() {
  if (!focusByMouse_) ControlWindow::Focused();
}

Win32Button::Win32Button(ControlHost& host, HWND form, WORD id, Rectangle place, CancelButton& cancel)
    : Win32Control(host, MakeWindow(form, WC_BUTTONW, WS_TABSTOP | BS_PUSHBUTTON | BS_NOTIFY, 0, id), place), cancel_(cancel) {}

void Win32Button::Default(bool on) {
  const HWND form = GetParent(window_);
  if (on) SendMessageW(form, DM_SETDEFID, Id(), 0);
  SendMessageW(window_, BM_SETSTYLE, on ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON, TRUE);
}

void Win32Button::Cancel(bool on) {
  if (on) {
    cancel_.button = this;
  } else if (cancel_.button == this) {
    cancel_.button = nullptr;
  }
}

Win32Label::Win32Label(ControlHost& host, HWND form, WORD id, Rectangle place)
    : Win32Control(host, MakeWindow(form, WC_STATICW, SS_LEFT, 0, id), place) {}

void Win32Label::PlaceAt(const Measure& measure, HFONT font, HWND behind) {
  // The text stands in the middle of its place, on as many lines as it needs.
  const RECT place = PixelPlace(measure);
  const HDC device = GetDC(window_);
  const HGDIOBJ before = SelectObject(device, font);
  const SIZE text = SizeOf(device, WindowText(window_), place.right - place.left);
  SelectObject(device, before);
  ReleaseDC(window_, device);
  const LONG height = std::min(text.cy, place.bottom - place.top);
  SendMessageW(window_, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
  SetWindowPos(window_, behind, place.left, place.top + (place.bottom - place.top - height) / 2, place.right - place.left, height,
               SWP_NOACTIVATE | SWP_SHOWWINDOW);
}

}  // namespace tamlo::ui::win32

#include "ui/win32/Win32Form.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "ui/EventBorder.h"
#include "ui/Growth.h"
#include "ui/Twips.h"
#include "ui/win32/Win32Controls.h"

namespace tamlo::ui::win32 {

namespace {

constexpr DWORD kFormStyle = WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_3DLOOK | DS_NOIDLEMSG;
constexpr WORD kFirstControl = 1000;
/// Number of the program's icon among its resources.
constexpr WORD kProgramIcon = 1;

/// The form asks itself for what can wait until it stands on the screen.
constexpr UINT kShown = WM_APP;

/// The open forms, for the message loop.
std::vector<HWND>& OpenForms() {
  static std::vector<HWND> forms;
  return forms;
}

/// The font that the user chose for messages, at a resolution, made smaller by a factor.
DrawingObject<HFONT> MessageFont(UINT dotsPerInch, double factor) {
  NONCLIENTMETRICSW metrics{};
  metrics.cbSize = sizeof metrics;
  SystemParametersInfoForDpi(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0, dotsPerInch);
  metrics.lfMessageFont.lfHeight = static_cast<LONG>(metrics.lfMessageFont.lfHeight * factor);
  return DrawingObject<HFONT>(CreateFontIndirectW(&metrics.lfMessageFont));
}

class Win32Form : public Form, public ControlHost {
 public:
  Win32Form(EventBorder& border, const PointerState& pointer, std::int16_t clientWidth, std::int16_t clientHeight)
      : border_(border), pointer_(pointer), clientWidth_(clientWidth), clientHeight_(clientHeight) {
    // A dialog without controls: the template is only its head, with no menu, no class and no title.
    struct alignas(4) {
      DLGTEMPLATE head{kFormStyle, 0, 0, 0, 0, 10, 10};
      WORD menu = 0;
      WORD kind = 0;
      WORD title = 0;
    } blank;
    window_ =
        Checked(CreateDialogIndirectParamW(GetModuleHandleW(nullptr), &blank.head, nullptr, Procedure, reinterpret_cast<LPARAM>(this)),
                "CreateDialogIndirectParam");
    dpi_ = GetDpiForWindow(window_);
    Resize();
    OpenForms().push_back(window_);
    border_.FormLoaded();
  }

  ~Win32Form() override {
    if (!closed_) border_.FormUnloaded();
    unloading_ = true;
    std::erase(OpenForms(), window_);
    SetWindowLongPtrW(window_, DWLP_USER, 0);
    DestroyWindow(window_);
  }

  TextBox& AddTextBox(const std::string& /*name*/, Rectangle place) override {
    return Add(std::make_unique<Win32TextBox>(*this, window_, NextId(), place));
  }
  Button& AddButton(const std::string& /*name*/, Rectangle place) override {
    return Add(std::make_unique<Win32Button>(*this, window_, NextId(), place, cancel_));
  }
  Label& AddLabel(const std::string& /*name*/, Rectangle place) override {
    return Add(std::make_unique<Win32Label>(*this, window_, NextId(), place));
  }
  void TabOrder(std::initializer_list<Control*> controls) override { tabOrder_ = controls; }

  void Caption(const std::string& text) override { SetWindowTextW(window_, ToWide(text).c_str()); }
  std::int16_t Width() const override { return ToTwips(OuterPlace().right - OuterPlace().left, dpi_); }
  std::int16_t Height() const override { return ToTwips(OuterPlace().bottom - OuterPlace().top, dpi_); }
  void Move(std::int16_t left, std::int16_t top) override {
    SetWindowPos(window_, nullptr, ToPixels(left, dpi_), ToPixels(top, dpi_), 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
  }

  void Show() override {
    if (unloading_) return;
    Layout();
    ShowWindow(window_, SW_SHOW);
    // The program that started this one may hold the front.
    SetForegroundWindow(window_);
    if (!hadFocus_ && !tabOrder_.empty()) tabOrder_.front()->SetFocus();
    PostMessageW(window_, kShown, 0, 0);
  }

  void Unload() override {
    if (std::exchange(unloading_, true)) return;
    if (onUnload) onUnload();
    closed_ = true;
    ShowWindow(window_, SW_HIDE);
    border_.FormUnloaded();
  }

 private:
  RECT OuterPlace() const {
    RECT place{};
    GetWindowRect(window_, &place);
    return place;
  }
  Measure CurrentMeasure() const { return {dpi_, growth_.places}; }

  /// The largest growth at which the window stays on the screen.
  double GreatestGrowth() const {
    MONITORINFO monitor{};
    monitor.cbSize = sizeof monitor;
    GetMonitorInfoW(MonitorFromWindow(window_, MONITOR_DEFAULTTONEAREST), &monitor);
    const RECT frame = FrameFor({0, 0, 0, 0});
    const double width = monitor.rcWork.right - monitor.rcWork.left - (frame.right - frame.left);
    const double height = monitor.rcWork.bottom - monitor.rcWork.top - (frame.bottom - frame.top);
    return std::min(width / ToPixels(clientWidth_, dpi_), height / ToPixels(clientHeight_, dpi_));
  }

  RECT FrameFor(RECT client) const {
    AdjustWindowRectExForDpi(&client, static_cast<DWORD>(GetWindowLongPtrW(window_, GWL_STYLE)), FALSE,
                             static_cast<DWORD>(GetWindowLongPtrW(window_, GWL_EXSTYLE)), dpi_);
    return client;
  }

  bool TextsFit(const Growth& growth) const {
    const DrawingObject<HFONT> font = MessageFont(dpi_, growth.texts);
    const HDC device = GetDC(window_);
    const HGDIOBJ before = SelectObject(device, font.Get());
    const Measure measure{dpi_, growth.places};
    const bool fit = std::all_of(controls_.begin(), controls_.end(), [&](const auto& control) { return control->Fits(measure, device); });
    SelectObject(device, before);
    ReleaseDC(window_, device);
    return fit;
  }

  /// Gives the window the size that the texts need in the user's font.
  void Grow() {
    growth_ = FindGrowth(GreatestGrowth(), [this](const Growth& growth) { return TextsFit(growth); });
    Resize();
  }

  void CaptionChanged() override { Grow(); }

  WORD NextId() const { return static_cast<WORD>(kFirstControl + controls_.size()); }

  template <typename Wrapper>
  Wrapper& Add(std::unique_ptr<Wrapper> control) {
    Wrapper& added = *control;
    controls_.push_back(std::move(control));
    return added;
  }

  ControlWindow* WindowOf(const Control* wanted) const {
    const auto found =
        std::find_if(controls_.begin(), controls_.end(), [wanted](const auto& control) { return &control->AsControl() == wanted; });
    return found == controls_.end() ? nullptr : found->get();
  }
  ControlWindow* WindowOf(HWND wanted) const {
    const auto found =
        std::find_if(controls_.begin(), controls_.end(), [wanted](const auto& control) { return control->Window() == wanted; });
    return found == controls_.end() ? nullptr : found->get();
  }

  /// Gives the window the size that its client area asks for at its resolution.
  void Resize() {
    const RECT place = FrameFor({0, 0, CurrentMeasure().Pixels(clientWidth_), CurrentMeasure().Pixels(clientHeight_)});
    SetWindowPos(window_, nullptr, 0, 0, place.right - place.left, place.bottom - place.top, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  }

  /// Places the controls and stacks their windows in tab order. A label stands right before its buddy: that is where its
  /// accelerator leads and whose name it gives.
  void Layout() {
    DrawingObject<HFONT> font = MessageFont(dpi_, growth_.texts);
    HWND behind = HWND_TOP;
    const auto place = [&](ControlWindow& control) {
      control.PlaceAt(CurrentMeasure(), font.Get(), behind);
      behind = control.Window();
    };
    std::vector<ControlWindow*> others;
    for (const auto& control : controls_) others.push_back(control.get());
    for (const Control* next : tabOrder_) {
      ControlWindow* control = WindowOf(next);
      if (control == nullptr) continue;
      if (ControlWindow* label = LabelOf(*control)) {
        place(*label);
        std::erase(others, label);
      } else if (const HWND spoken = SpokenLabelOf(*control)) {
        SetWindowPos(spoken, behind, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
        behind = spoken;
      }
      place(*control);
      std::erase(others, control);
    }
    for (ControlWindow* control : others) place(*control);
    font_ = std::move(font);
  }

  ControlWindow* LabelOf(const ControlWindow& wanted) const {
    const auto found = std::find_if(controls_.begin(), controls_.end(), [&](const auto& control) {
      const auto* label = dynamic_cast<const Win32Label*>(control.get());
      return label != nullptr && label->BuddyControl() != nullptr && WindowOf(label->BuddyControl()) == &wanted;
    });
    return found == controls_.end() ? nullptr : found->get();
  }

  /// The hidden label that gives a text box without a label its spoken name; made once.
  HWND SpokenLabelOf(const ControlWindow& wanted) {
    if (!wanted.NeedsSpokenName() || wanted.SpokenName().empty()) return nullptr;
    HWND& label = spokenLabels_[&wanted];
    if (label == nullptr) {
      label = CreateWindowExW(0, WC_STATICW, wanted.SpokenName().c_str(), WS_CHILD, 0, 0, 0, 0, window_, nullptr, GetModuleHandleW(nullptr),
                              nullptr);
    }
    return label;
  }

  /// The control in use changed. Coming back to the window is no change.
  void FocusReached(ControlWindow& control) override {
    border_.Guard([&] {
      if (unloading_) return;
      auto* box = dynamic_cast<Win32TextBox*>(&control);
      const bool first = !std::exchange(hadFocus_, true);
      if (!first && box == focused_) return;
      Win32TextBox* const left = std::exchange(focused_, box);
      if (left != nullptr && left->onLostFocus) left->onLostFocus();
      if (box != nullptr && box->onGotFocus) box->onGotFocus();
    });
  }

  void SetIcon() const {
    const HICON icon = LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(kProgramIcon));
    if (icon == nullptr) return;
    SendMessageW(window_, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(icon));
    SendMessageW(window_, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(icon));
  }

  /// Tips are not needed before the user can point at anything: until then they are only kept.
  void TipChanged(ControlWindow& control, const std::wstring& text) override {
    tipTexts_[&control] = text;
    if (tips_ != nullptr) PutTip(control, text);
  }

  void MakeTips() {
    if (tips_ != nullptr || tipTexts_.empty()) return;
    tips_ = Checked(CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX, CW_USEDEFAULT,
                                    CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, window_, nullptr, GetModuleHandleW(nullptr), nullptr),
                    "CreateWindowEx");
    for (const auto& [control, text] : tipTexts_) PutTip(*control, text);
  }

  void PutTip(const ControlWindow& control, std::wstring text) const {
    TTTOOLINFOW tool{};
    tool.cbSize = sizeof tool;
    tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
    tool.hwnd = window_;
    tool.uId = reinterpret_cast<UINT_PTR>(control.Window());
    tool.lpszText = text.data();
    SendMessageW(tips_, TTM_DELTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
    if (!text.empty()) SendMessageW(tips_, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
  }

  void OnCommand(WORD id, WORD notice) {
    ControlWindow* control = WindowOf(GetDlgItem(window_, id));
    if (notice == EN_SETFOCUS || notice == BN_SETFOCUS) {
      if (control != nullptr) control->Focused();
      return;
    }
    // A button that tells its focus tells the second of two fast clicks apart, too.
    if (unloading_ || (notice != BN_CLICKED && notice != BN_DOUBLECLICKED)) return;
    // Esc comes as the dialog's own cancel command.
    if (id == IDCANCEL) control = cancel_.button;
    if (control != nullptr) control->Pressed();
  }

  /// The answer to a message as a dialog procedure gives it: 0 leaves it to the dialog.
  INT_PTR OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
      case WM_COMMAND:
        border_.Guard([&] { OnCommand(LOWORD(wParam), HIWORD(wParam)); });
        return TRUE;
      case kShown:
        border_.Guard([this] {
          SetIcon();
          MakeTips();
        });
        return TRUE;
      case WM_CLOSE:
        border_.Guard([this] { Unload(); });
        return TRUE;
      case WM_SETCURSOR:
        if (!pointer_.hourglass) return FALSE;
        SetCursor(LoadCursorW(nullptr, IDC_WAIT));
        SetWindowLongPtrW(window_, DWLP_MSGRESULT, TRUE);
        return TRUE;
      case WM_CTLCOLOREDIT:
      case WM_CTLCOLORSTATIC:
        if (ControlWindow* control = WindowOf(reinterpret_cast<HWND>(lParam))) {
          return reinterpret_cast<INT_PTR>(control->Background(reinterpret_cast<HDC>(wParam)));
        }
        return FALSE;
      case WM_DPICHANGED: {
        const auto* place = reinterpret_cast<const RECT*>(lParam);
        dpi_ = HIWORD(wParam);
        SetWindowPos(window_, nullptr, place->left, place->top, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
        Grow();
        Layout();
        return TRUE;
      }
      case WM_SETTINGCHANGE:
        // The user's text size, perhaps.
        border_.Guard([this] {
          Grow();
          if (font_.Get() != nullptr) Layout();
        });
        return FALSE;
      case WM_ENDSESSION:
        // The system ends the process as soon as it has its answer.
        if (wParam != 0) border_.Guard([this] { Unload(); });
        return TRUE;
      default:
        return FALSE;
    }
  }

  static INT_PTR CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
      SetWindowLongPtrW(window, DWLP_USER, lParam);
      return FALSE;  // the focus is set when the form is shown
    }
    auto* form = reinterpret_cast<Win32Form*>(GetWindowLongPtrW(window, DWLP_USER));
    return form != nullptr && form->window_ == window ? form->OnMessage(message, wParam, lParam) : FALSE;
  }

  EventBorder& border_;
  const PointerState& pointer_;
  std::int16_t clientWidth_;
  std::int16_t clientHeight_;
  HWND window_ = nullptr;
  Growth growth_;
  UINT dpi_ = USER_DEFAULT_SCREEN_DPI;  // of the monitor that the window is on
  HWND tips_ = nullptr;                 // owned by the window
  std::map<const ControlWindow*, std::wstring> tipTexts_;
  std::map<const ControlWindow*, HWND> spokenLabels_;
  DrawingObject<HFONT> font_;
  std::vector<std::unique_ptr<ControlWindow>> controls_;
  std::vector<Control*> tabOrder_;
  CancelButton cancel_;
  Win32TextBox* focused_ = nullptr;
  bool hadFocus_ = false;
  bool unloading_ = false;
  bool closed_ = false;
};

}  // namespace

std::unique_ptr<Form> CreateForm(EventBorder& border, const PointerState& pointer, std::int16_t clientWidth, std::int16_t clientHeight) {
  return std::make_unique<Win32Form>(border, pointer, clientWidth, clientHeight);
}

bool FormsTake(void* message) noexcept {
  const auto& forms = OpenForms();
  return std::any_of(forms.begin(), forms.end(), [message](HWND form) { return IsDialogMessageW(form, static_cast<MSG*>(message)) != 0; });
}

}  // namespace tamlo::ui::win32

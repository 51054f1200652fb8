#include "ui/win32/Win32Platform.h"

#include "ui/EventBorder.h"
#include "ui/Twips.h"
#include "ui/win32/Native.h"
#include "ui/win32/Win32Form.h"

namespace tamlo::ui::win32 {

namespace {

class Win32Platform : public Platform {
 public:
  Win32Platform() {
    const INITCOMMONCONTROLSEX classes{sizeof classes, ICC_STANDARD_CLASSES | ICC_TAB_CLASSES};
    InitCommonControlsEx(&classes);
  }

  std::unique_ptr<Form> CreateForm(std::int16_t clientWidth, std::int16_t clientHeight) override {
    return win32::CreateForm(border_, pointer_, clientWidth, clientHeight);
  }

  std::int16_t MessageBox(const std::string& text, std::int16_t buttons, const std::string& title) override {
    const bool waiting = pointer_.hourglass;
    SetPointer(Pointer::kDefault);
    // The contract's codes are the system's own.
    const int pressed =
        MessageBoxW(GetActiveWindow(), ToWide(text).c_str(), ToWide(title).c_str(), static_cast<UINT>(buttons) | MB_SETFOREGROUND);
    if (waiting) SetPointer(Pointer::kHourglass);
    return static_cast<std::int16_t>(pressed);
  }

  void SetPointer(Pointer pointer) override {
    pointer_.hourglass = pointer == Pointer::kHourglass;
    SetCursor(LoadCursorW(nullptr, pointer_.hourglass ? IDC_WAIT : IDC_ARROW));
  }

  std::int32_t ScreenWidth() const override { return ScreenTwips(GetSystemMetrics(SM_CXSCREEN), GetDpiForSystem()); }
  std::int32_t ScreenHeight() const override { return ScreenTwips(GetSystemMetrics(SM_CYSCREEN), GetDpiForSystem()); }

  void Run() override {
    border_.Rethrow();
    ended_ = !border_.HasForms();
    MSG message{};
    while (!ended_ && GetMessageW(&message, nullptr, 0, 0) > 0) {
      if (FormsTake(&message)) continue;
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
    border_.Rethrow();
  }

 private:
  /// Wakes the loop up so that it sees that it is over. A quit message would stay behind when no loop runs, and close
  /// the next message box unseen.
  void EndLoop() {
    ended_ = true;
    PostThreadMessageW(GetCurrentThreadId(), WM_NULL, 0, 0);
  }

  EventBorder border_{[this] { EndLoop(); }};
  PointerState pointer_;
  bool ended_ = false;
};

}  // namespace

std::unique_ptr<Platform> CreatePlatform() { return std::make_unique<Win32Platform>(); }

}  // namespace tamlo::ui::win32

// The smallest program that shows a dialog: what the tool's start is measured against.
#include <windows.h>

int main() {
  struct alignas(4) {
    DLGTEMPLATE head{WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME, 0, 0, 0, 0, 200, 100};
    WORD menu = 0;
    WORD kind = 0;
    WORD title = 0;
  } blank;
  const HWND window = CreateDialogIndirectParamW(GetModuleHandleW(nullptr), &blank.head, nullptr, nullptr, 0);
  SetWindowTextW(window, L"Dialogue vide");
  ShowWindow(window, SW_SHOW);
  MSG message{};
  while (IsWindow(window) != 0 && GetMessageW(&message, nullptr, 0, 0) > 0) {
    if (message.message == WM_CLOSE || (message.hwnd == window && message.message == WM_NULL)) DestroyWindow(window);
    DispatchMessageW(&message);
  }
}

#pragma once

#include <windows.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>

namespace tamlo::tests {

/// Asks until the answer is true or ten seconds are over; gives the last answer.
inline bool Eventually(const std::function<bool()>& asked) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!asked()) {
    if (std::chrono::steady_clock::now() > end) return asked();
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

/// The visible dialog of that title, waited for; nullptr when none comes.
inline HWND WaitForDialog(const wchar_t* title) {
  HWND found = nullptr;
  Eventually([&] {
    found = FindWindowW(L"#32770", title);
    return found != nullptr && IsWindowVisible(found) != 0;
  });
  return found;
}

/// The text of a window, of any process.
inline std::wstring TextOf(HWND window) {
  std::wstring text(1000, L'\0');
  text.resize(static_cast<std::size_t>(SendMessageW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
  return text;
}

/// The text of a message box: its static that is not the icon.
inline std::wstring MessageTextOf(HWND box) {
  std::wstring text;
  for (HWND child = FindWindowExW(box, nullptr, L"Static", nullptr); child != nullptr;
       child = FindWindowExW(box, child, L"Static", nullptr)) {
    if ((GetWindowLongPtrW(child, GWL_STYLE) & SS_TYPEMASK) != SS_ICON) text = TextOf(child);
  }
  return text;
}
inline bool HasIcon(HWND box) {
  for (HWND child = FindWindowExW(box, nullptr, L"Static", nullptr); child != nullptr;
       child = FindWindowExW(box, child, L"Static", nullptr)) {
    if ((GetWindowLongPtrW(child, GWL_STYLE) & SS_TYPEMASK) == SS_ICON) return true;
  }
  return false;
}

}  // namespace tamlo::tests

#pragma once

// The native header for the .cpp files of this folder, without the names that it takes away from ours.
#include <windows.h>

#include <commctrl.h>

#undef MessageBox
#undef CreateForm

#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "runtime/Text.h"

namespace tamlo::ui::win32 {

[[nodiscard]] inline std::wstring ToWide(std::string_view text) {
  const std::u16string units = runtime::ToUtf16(text);
  return {units.begin(), units.end()};
}
[[nodiscard]] inline std::string FromWide(std::wstring_view text) { return runtime::FromUtf16(std::u16string(text.begin(), text.end())); }

/// The text of a window of this process.
[[nodiscard]] inline std::wstring WindowText(HWND window) {
  std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
  text.resize(static_cast<std::size_t>(GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
  return text;
}

/// Raises the system's own error when a call gave nothing.
template <typename Handle>
Handle Checked(Handle handle, const char* call) {
  if (handle == nullptr) throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), call);
  return handle;
}

/// A native drawing object, deleted with its owner.
template <typename Handle>
class DrawingObject {
 public:
  explicit DrawingObject(Handle handle = nullptr) noexcept : handle_(handle) {}
  DrawingObject(DrawingObject&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  DrawingObject& operator=(DrawingObject&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  DrawingObject(const DrawingObject&) = delete;
  DrawingObject& operator=(const DrawingObject&) = delete;
  ~DrawingObject() {
    if (handle_ != nullptr) DeleteObject(handle_);
  }
  [[nodiscard]] Handle Get() const noexcept { return handle_; }

 private:
  Handle handle_;
};

}  // namespace tamlo::ui::win32

#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

namespace tamlo::app {

/// An X server without a screen for one test program, on a display number of its own, and an operator in front of it:
/// finds windows, types, closes, reads the clipboard. Waiting ends with std::runtime_error after 20 seconds. The server
/// goes with the object, and also when the program dies.
class VirtualDisplay {
 public:
  using WindowId = unsigned long;

  VirtualDisplay();
  ~VirtualDisplay();
  VirtualDisplay(const VirtualDisplay&) = delete;
  VirtualDisplay& operator=(const VirtualDisplay&) = delete;

  /// ":N".
  [[nodiscard]] const std::string& Name() const noexcept { return name_; }

  /// The visible window of that process and title, once it has the keyboard.
  WindowId WaitFor(pid_t process, const std::string& title);
  /// Until no window of that process and title is visible.
  void WaitUntilGone(pid_t process, const std::string& title);
  /// Types characters, presses a key ("Return", "alt+o") in the window that has the keyboard.
  void Type(const std::string& text);
  void Press(const std::string& key);
  /// What the close box of a window manager sends.
  void Close(WindowId window);
  /// The clipboard's text; waits until there is some.
  [[nodiscard]] std::string Clipboard();
  /// Takes the clipboard away from whoever holds it.
  void EmptyClipboard();
  /// Keeps a picture as NAME.png in the folder that TAMLO_SCREENSHOTS names; nothing without it.
  void Screenshot(const std::string& name);

 private:
  struct Connection;
  [[nodiscard]] WindowId Find(pid_t process, const std::string& title);
  void RunXdotool(const std::string& arguments, const std::string& input);

  pid_t server_ = 0;
  std::string name_;
  std::unique_ptr<Connection> connection_;
};

}  // namespace tamlo::app

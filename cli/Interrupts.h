#pragma once

namespace tamlo::cli {

/// While it lives Ctrl-C does not end the program: it is noted, and whoever waits is woken. One at a time (Interrupts_posix.cpp,
/// Interrupts_win32.cpp).
class Interrupts {
 public:
  Interrupts();
  ~Interrupts();
  Interrupts(const Interrupts&) = delete;
  Interrupts& operator=(const Interrupts&) = delete;

  /// Whether Ctrl-C was typed since Forget, or the program has to end.
  [[nodiscard]] static bool Seen() noexcept;
  /// Whether the system wants the program to end (the terminal is gone, the machine goes down). Forget does not change it.
  [[nodiscard]] static bool Ending() noexcept;
  static void Forget() noexcept;
  /// On POSIX systems, a descriptor that can be read once something was noted or the terminal's size has changed; whoever was woken reads it
  /// empty. -1 elsewhere.
  [[nodiscard]] static int Wakes() noexcept;
};

}  // namespace tamlo::cli

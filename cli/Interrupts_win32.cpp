#include <windows.h>

#include <atomic>

#include "cli/Interrupts.h"

namespace tamlo::cli {
namespace {

std::atomic<bool> typed{false};

/// Called in a thread of the system's own. What it is not told of, the closing of the window, ends the program.
BOOL WINAPI Note(DWORD event) {
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) return FALSE;
  typed = true;
  return TRUE;
}

}  // namespace

Interrupts::Interrupts() {
  typed = false;
  SetConsoleCtrlHandler(Note, TRUE);
}

Interrupts::~Interrupts() { SetConsoleCtrlHandler(Note, FALSE); }

bool Interrupts::Seen() noexcept { return typed; }
bool Interrupts::Ending() noexcept { return false; }
void Interrupts::Forget() noexcept { typed = false; }
int Interrupts::Wakes() noexcept { return -1; }

}  // namespace tamlo::cli

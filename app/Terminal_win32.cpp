#include <windows.h>

#include "app/Terminal.h"
#include "runtime/Text.h"

namespace tamlo::app {

namespace {

/// A program with windows has no console of its own; the one that it was started from is borrowed.
bool WriteToConsole(const std::string& text) {
  if (AttachConsole(ATTACH_PARENT_PROCESS) == 0) return false;
  const HANDLE console =
      CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
  bool whole = false;
  if (console != INVALID_HANDLE_VALUE) {
    const std::u16string units = runtime::ToUtf16(text);
    const std::wstring wide(units.begin(), units.end());
    DWORD written = 0;
    whole = WriteConsoleW(console, wide.data(), static_cast<DWORD>(wide.size()), &written, nullptr) != 0 && written == wide.size();
    CloseHandle(console);
  }
  FreeConsole();
  return whole;
}

}  // namespace

bool EcritTerminal(const std::string& texte) {
  const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  if (output == nullptr || output == INVALID_HANDLE_VALUE) return WriteToConsole(texte);
  DWORD written = 0;
  return WriteFile(output, texte.data(), static_cast<DWORD>(texte.size()), &written, nullptr) != 0 && written == texte.size();
}

}  // namespace tamlo::app

#include <windows.h>

#include "base/Utf16.h"
#include "cli/Interrupts.h"
#include "cli/LineReader.h"

namespace tamlo::cli {
namespace {

/// The console edits the line and keeps those of this run for its arrow keys.
class ConsoleLines final : public LineReader {
 public:
  Got Read(const std::string& prompt, std::string& line) override {
    const std::u16string shown = base::ToUtf16(prompt);
    DWORD done = 0;
    WriteConsoleW(GetStdHandle(STD_ERROR_HANDLE), shown.data(), static_cast<DWORD>(shown.size()), &done, nullptr);
    std::u16string units;
    const bool whole = ReadUnits(units);
    if (Interrupts::Seen()) {
      Interrupts::Forget();
      return Got::kDropped;
    }
    constexpr char16_t kCtrlZ = 0x1A;
    if (!whole || units.starts_with(kCtrlZ)) return Got::kEnd;
    line = base::FromUtf16(units);
    return Got::kLine;
  }
  void Remember(const std::string& /*line*/) override {}

 private:
  /// False where there is nothing more to read.
  static bool ReadUnits(std::u16string& units) {
    wchar_t unit = 0;
    for (DWORD read = 0; ReadConsoleW(GetStdHandle(STD_INPUT_HANDLE), &unit, 1, &read, nullptr) != 0;) {
      if (read == 0) {
        // The handler of Ctrl-C runs in another thread: it may not have noted it yet.
        for (int i = 0; i < 20 && !Interrupts::Seen(); ++i) Sleep(10);
        return false;
      }
      if (unit == L'\n') return true;
      if (unit != L'\r') units += static_cast<char16_t>(unit);
    }
    return false;
  }
};

}  // namespace

std::unique_ptr<LineReader> OpenLineReader(LineReader::Completer /*completer*/) { return std::make_unique<ConsoleLines>(); }

}  // namespace tamlo::cli

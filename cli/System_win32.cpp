#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <cerrno>
#include <cwchar>
#include <memory>

#include "base/FilePath.h"
#include "base/Utf16.h"
#include "cli/System.h"

namespace tamlo::cli {
namespace {

std::string FromWide(const wchar_t* text, std::size_t length) { return base::FromUtf16(std::u16string(text, text + length)); }

std::wstring Wide(const std::string& text) {
  const std::u16string units = base::ToUtf16(text);
  return {units.begin(), units.end()};
}

bool IsTerminal(DWORD stream) {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(stream), &mode) != 0;
}

/// The terminal of the process, typed signs not shown while it lives.
class SilentTerminal {
 public:
  SilentTerminal() : in_(Open(L"CONIN$")), out_(Open(L"CONOUT$")) {
    if (GetConsoleMode(in_, &before_) == 0) return;
    works_ = SetConsoleMode(in_, (before_ & ~DWORD{ENABLE_ECHO_INPUT}) | ENABLE_LINE_INPUT | ENABLE_PROCESSED_INPUT) != 0;
  }
  ~SilentTerminal() {
    if (works_) SetConsoleMode(in_, before_);
    for (const HANDLE one : {in_, out_})
      if (one != INVALID_HANDLE_VALUE) CloseHandle(one);
  }
  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;

  [[nodiscard]] bool Works() const noexcept { return works_; }
  void Write(const std::string& text) const {
    const std::wstring wide = Wide(text);
    DWORD written = 0;
    WriteConsoleW(out_, wide.data(), static_cast<DWORD>(wide.size()), &written, nullptr);
  }
  [[nodiscard]] std::string Line() const {
    std::wstring line;
    wchar_t unit = 0;
    for (DWORD read = 0; ReadConsoleW(in_, &unit, 1, &read, nullptr) != 0 && read == 1 && unit != L'\n';)
      if (unit != L'\r') line += unit;
    return FromWide(line.data(), line.size());
  }

 private:
  static HANDLE Open(const wchar_t* name) {
    return CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
  }

  HANDLE in_;
  HANDLE out_;
  DWORD before_ = 0;
  bool works_ = false;
};

}  // namespace

std::vector<std::string> Words(int /*count*/, char** /*words*/) {
  int count = 0;
  const std::unique_ptr<wchar_t*, decltype(&LocalFree)> words(CommandLineToArgvW(GetCommandLineW(), &count), &LocalFree);
  std::vector<std::string> read;
  for (int i = 0; words != nullptr && i < count; ++i) read.push_back(FromWide(words.get()[i], std::wcslen(words.get()[i])));
  return read;
}

std::optional<std::string> Variable(const std::string& name) {
  const std::wstring wanted = Wide(name);
  std::wstring value(GetEnvironmentVariableW(wanted.c_str(), nullptr, 0), L'\0');
  value.resize(GetEnvironmentVariableW(wanted.c_str(), value.data(), static_cast<DWORD>(value.size())));
  if (value.empty()) return std::nullopt;
  return FromWide(value.data(), value.size());
}

std::optional<std::string> AskSilently(const std::string& question) {
  const SilentTerminal terminal;
  if (!terminal.Works()) return std::nullopt;
  terminal.Write(question);
  std::string line = terminal.Line();
  terminal.Write("\n");
  return line.empty() ? std::nullopt : std::optional<std::string>(std::move(line));
}

bool InputIsTyped() noexcept { return IsTerminal(STD_INPUT_HANDLE); }

bool ErrorsAreSeen() noexcept { return IsTerminal(STD_ERROR_HANDLE); }

bool SystemSpeaksFrench() noexcept { return PRIMARYLANGID(GetUserDefaultUILanguage()) == LANG_FRENCH; }

std::FILE* OpenToWrite(const std::string& path) noexcept try {
  return _wfopen(base::FilePath(path).c_str(), L"wb");
} catch (const std::exception&) {
  errno = EINVAL;
  return nullptr;
}

Streams::Streams() {
  for (std::FILE* stream : {stdin, stdout, stderr}) _setmode(_fileno(stream), _O_BINARY);
  // A character may not reach a terminal in two pieces.
  std::setvbuf(stdout, nullptr, _IOFBF, std::size_t{1} << 16U);
  if (!IsTerminal(STD_OUTPUT_HANDLE) && !IsTerminal(STD_ERROR_HANDLE)) return;
  characters_ = GetConsoleOutputCP();
  SetConsoleOutputCP(CP_UTF8);
}

Streams::~Streams() {
  if (characters_ == 0) return;
  std::fflush(stdout);
  SetConsoleOutputCP(characters_);
}

}  // namespace tamlo::cli

// Graphviz's own program, run without a shell in between.
#include <windows.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "cli/Diagram.h"
#include "cli/Failure.h"
#include "cli/Messages.h"

namespace tamlo::cli {
namespace {

/// A file in the folder for such, gone with this object.
class PassingFile {
 public:
  PassingFile() {
    std::array<wchar_t, MAX_PATH + 1> folder{};
    std::array<wchar_t, MAX_PATH + 1> name{};
    const bool there =
        GetTempPathW(static_cast<DWORD>(folder.size()), folder.data()) != 0 && GetTempFileNameW(folder.data(), L"tdb", 0, name.data()) != 0;
    if (!there) throw Failure(Status::kFailed, Say(Said::kCannotWrite, {"TEMP", std::to_string(GetLastError())}));
    path_ = name.data();
  }
  ~PassingFile() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
  PassingFile(const PassingFile&) = delete;
  PassingFile& operator=(const PassingFile&) = delete;
  [[nodiscard]] const std::filesystem::path& Path() const noexcept { return path_; }

 private:
  std::filesystem::path path_;
};

/// Its status; 127 when it is not there.
DWORD RunDot(const std::filesystem::path& in, const std::filesystem::path& out) {
  std::wstring line = L"dot.exe -Tsvg -o \"" + out.wstring() + L"\" \"" + in.wstring() + L"\"";
  STARTUPINFOW start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION process{};
  if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &process) == 0) return 127;
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD status = 1;
  GetExitCodeProcess(process.hProcess, &status);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return status;
}

}  // namespace

std::string SvgOf(const std::string& digraph) {
  const PassingFile in;
  const PassingFile out;
  std::ofstream(in.Path(), std::ios::binary) << digraph;
  const DWORD status = RunDot(in.Path(), out.Path());
  if (status == 127) throw Failure(Status::kFailed, Say(Said::kNoGraphviz));
  if (status != 0) throw Failure(Status::kFailed, Say(Said::kGraphvizFailed, {std::to_string(status)}));
  std::ifstream svg(out.Path(), std::ios::binary);
  return {std::istreambuf_iterator<char>(svg), {}};
}

}  // namespace tamlo::cli

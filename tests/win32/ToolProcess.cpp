#include "tests/win32/ToolProcess.h"

#include <winternl.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace tamlo::tests {

std::filesystem::path BuildFolder() {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return std::filesystem::path(path).parent_path().parent_path().parent_path();
}

ToolProcess::ToolProcess(const std::wstring& program, const std::wstring& arguments) {
  static int count = 0;
  output_ = std::filesystem::temp_directory_path() /
            (L"tamlo-output-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count));
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  const HANDLE output = CreateFileW(output_.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, &inherited, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
  std::wstring line = L"\"" + (BuildFolder() / program).make_preferred().wstring() + L"\" " + arguments;
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdOutput = output;
  start.hStdError = output;
  PROCESS_INFORMATION made{};
  const BOOL done = CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &made);
  CloseHandle(output);
  if (done == 0) throw std::runtime_error("the program does not start: error " + std::to_string(GetLastError()));
  CloseHandle(made.hThread);
  process_ = made.hProcess;
}

ToolProcess::~ToolProcess() {
  if (WaitForSingleObject(process_, 0) != WAIT_OBJECT_0) {
    TerminateProcess(process_, 99);
    WaitForSingleObject(process_, 5000);
  }
  CloseHandle(process_);
  std::error_code ignored;
  std::filesystem::remove(output_, ignored);
}

int ToolProcess::Wait() const {
  if (WaitForSingleObject(process_, 30000) != WAIT_OBJECT_0) return -1;
  DWORD status = 0;
  GetExitCodeProcess(process_, &status);
  return static_cast<int>(status);
}

namespace {

template <typename T>
void ReadMemory(HANDLE process, const void* from, T* to, std::size_t bytes = sizeof(T)) {
  if (ReadProcessMemory(process, from, to, bytes, nullptr) == 0) throw std::runtime_error("the program's memory cannot be read");
}

}  // namespace

std::wstring ToolProcess::CommandLine() const {
  PROCESS_BASIC_INFORMATION about{};
  if (NtQueryInformationProcess(process_, ProcessBasicInformation, &about, sizeof about, nullptr) != 0) {
    throw std::runtime_error("the program cannot be asked");
  }
  PEB block{};
  ReadMemory(process_, about.PebBaseAddress, &block);
  RTL_USER_PROCESS_PARAMETERS parameters{};
  ReadMemory(process_, block.ProcessParameters, &parameters);
  std::wstring line(parameters.CommandLine.Length / sizeof(wchar_t), L'\0');
  ReadMemory(process_, parameters.CommandLine.Buffer, line.data(), parameters.CommandLine.Length);
  return line;
}

std::string ToolProcess::Output() const {
  static_cast<void>(Wait());
  std::ifstream file(output_, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace tamlo::tests

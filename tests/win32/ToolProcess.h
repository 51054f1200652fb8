#pragma once

#include "tests/win32/Windows.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tamlo::tests {

/// A program of this build, started by a test and ended with the object when it has not ended itself.
class ToolProcess {
 public:
  /// The program's file lies at that place below the build's folder; the arguments part is one text, as the program
  /// sees it.
  ToolProcess(const std::wstring& program, const std::wstring& arguments);
  ~ToolProcess();
  ToolProcess(const ToolProcess&) = delete;
  ToolProcess& operator=(const ToolProcess&) = delete;

  /// The exit status, once the program has ended; -1 when it has not after 30 seconds.
  [[nodiscard]] int Wait() const;
  /// Its command line as another program sees it now.
  [[nodiscard]] std::wstring CommandLine() const;
  /// What it wrote to its standard output, once it has ended.
  [[nodiscard]] std::string Output() const;

 private:
  std::filesystem::path output_;
  HANDLE process_ = nullptr;
};

/// The folder of this build.
[[nodiscard]] std::filesystem::path BuildFolder();

}  // namespace tamlo::tests

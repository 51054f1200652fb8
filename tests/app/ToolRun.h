#pragma once

#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tamlo::app {

/// One run of the tool's program as another program starts it. Ended with the object when it has not ended itself.
class ToolRun {
 public:
  struct Settings {
    std::vector<std::string> arguments;
    /// On top of a bare environment: nothing of the tester's own settings.
    std::map<std::string, std::string> environment;
    /// Run as a user without privileges where the tester is root, whom nothing is closed to.
    bool unprivileged = false;
  };

  explicit ToolRun(const Settings& settings);
  ~ToolRun();
  ToolRun(const ToolRun&) = delete;
  ToolRun& operator=(const ToolRun&) = delete;

  [[nodiscard]] pid_t Process() const noexcept { return process_; }
  /// The exit status, once the program has ended; minus the signal's number when one ended it. std::runtime_error after
  /// 30 seconds.
  int Wait();
  /// What it wrote to the standard error, once it has ended.
  [[nodiscard]] std::string Errors() const;
  /// /proc/PID/NAME: its bytes, the target of its link.
  [[nodiscard]] std::string ProcFile(const std::string& name) const;
  [[nodiscard]] std::string ProcLink(const std::string& name) const;
  /// Whether another process of the tool's user may look into it (its environment, as a debugger would).
  [[nodiscard]] bool ReadableByItsUser() const;
  /// How often a text stands in its writable memory, and how many bytes were looked at; false when that memory cannot be
  /// read.
  [[nodiscard]] bool CountInMemory(const std::string& text, std::size_t& looked, std::size_t& found) const;

 private:
  pid_t process_ = 0;
  bool unprivileged_ = false;
  int errors_ = -1;
  std::optional<int> status_;
};

}  // namespace tamlo::app

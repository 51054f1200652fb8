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

 private:
  pid_t process_ = 0;
  int errors_ = -1;
  std::optional<int> status_;
};

}  // namespace tamlo::app

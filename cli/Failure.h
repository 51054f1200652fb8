#pragma once

#include <stdexcept>
#include <string>

namespace tamlo::cli {

/// What the program ends with.
enum class Status : int { kDone = 0, kDifferences = 1, kUsage = 2, kCannotOpen = 3, kFailed = 4, kCancelled = 130 };

/// Ends the command with a line on standard error and that status.
class Failure : public std::runtime_error {
 public:
  Failure(Status status, const std::string& text) : std::runtime_error(text), status_(status) {}
  [[nodiscard]] Status With() const noexcept { return status_; }

 private:
  Status status_;
};

}  // namespace tamlo::cli

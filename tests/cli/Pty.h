#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {

/// A program at a terminal of its own (a pseudo-terminal of the system), driven as a person does it: keys in, what the screen is sent out.
class Pty {
 public:
  /// Starts it in that folder with these variables ("NAME=value") besides the test's own.
  Pty(const TemporaryFolder& folder, const std::vector<std::string>& words, const std::vector<std::string>& environment);
  /// What still runs is ended.
  ~Pty();
  Pty(const Pty&) = delete;
  Pty& operator=(const Pty&) = delete;

  void Type(const std::string& keys) const;
  /// Waits until the text has come since the last call of this; all that came until its end. A failure of the test when it does not come.
  std::string Await(const std::string& text, int seconds = 30);
  /// Waits until it has ended; its exit status, -1 for a signal.
  int Wait();
  [[nodiscard]] pid_t Process() const { return process_; }

 private:
  bool ReadSome(int milliseconds);

  int terminal_ = -1;
  pid_t process_ = -1;
  std::string seen_;
};

}  // namespace tamlo::tests

#pragma once

#include <string>
#include <vector>

#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {

/// tamlo-db as a process of its own, which can be struck. It runs in the folder, in English, with the password of the servers; what it says of
/// errors stands in running.err.
class Running {
 public:
  Running(const TemporaryFolder& folder, const std::vector<std::string>& arguments);
  void Strike(int signal) const;
  /// Whether it has ended by itself.
  [[nodiscard]] bool Ended();
  /// Its status; the signal as a negative number.
  int Wait();

 private:
  int process_ = 0;
  int status_ = 0;
  bool ended_ = false;
};

}  // namespace tamlo::tests

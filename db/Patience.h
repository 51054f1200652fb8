#pragma once

#include <chrono>

namespace tamlo::db {

/// The waits of somebody who tries again for as long as ten seconds.
class Patience {
 public:
  /// Waits a little longer than the last time; false, without a wait, when the time is over.
  [[nodiscard]] bool Encore();

 private:
  std::chrono::steady_clock::time_point debut_;
  int essais_ = 0;
};

}  // namespace tamlo::db

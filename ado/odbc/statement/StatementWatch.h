#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "ado/odbc/driver/Handle.h"

namespace tamlo::ado::odbc {

/// Ends the statements of one connection that take too long, where the driver takes a time limit and does not heed it (MariaDB's, SQLite's):
/// a thread of its own cancels what runs there. It does so through a statement that is never executed: the driver of SQLite would else free what the
/// running one uses. One statement at a time is watched. The thread begins with the first one and ends with this object.
class StatementWatch {
 public:
  explicit StatementWatch(void* connection);
  ~StatementWatch();
  StatementWatch(const StatementWatch&) = delete;
  StatementWatch& operator=(const StatementWatch&) = delete;

  /// From now on what runs on the connection has so many seconds.
  void Begin(std::int32_t seconds);
  /// True when it was cancelled since Begin. No cancelling is under way afterwards.
  bool End() noexcept;

 private:
  using Clock = std::chrono::steady_clock;
  void Run();

  Handle idle_;
  std::mutex lock_;
  std::condition_variable change_;
  Clock::time_point deadline_;
  Clock::time_point wakes_ = Clock::time_point::max();  // when the thread looks again by itself
  bool watching_ = false;
  bool cancelled_ = false;
  bool ends_ = false;
  std::thread thread_;
};

}  // namespace tamlo::ado::odbc

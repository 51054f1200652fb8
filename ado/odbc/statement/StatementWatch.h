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
/// running one uses. One statement at a time is watched. The thread begins with the first one and ends with this object. What is watched can
/// also be ended before its time, by Cancel.
class StatementWatch {
 public:
  explicit StatementWatch(void* connection);
  ~StatementWatch();
  StatementWatch(const StatementWatch&) = delete;
  StatementWatch& operator=(const StatementWatch&) = delete;

  /// From now on what runs on the connection has so many seconds; 0 is without limit. running: the statement through which it has to be cancelled
  /// where the driver does nothing through another one (PostgreSQL's), else null.
  void Begin(std::int32_t seconds, void* running = nullptr);
  /// True when its time was over since Begin. No cancelling is under way afterwards.
  bool End() noexcept;
  /// Statements without a limit are to be watched too.
  void AllowCancel() noexcept { cancelAllowed_ = true; }
  [[nodiscard]] bool CancelAllowed() const noexcept { return cancelAllowed_; }
  /// Ends what runs now, from any thread. Nothing where nothing is watched.
  void Cancel() noexcept;

 private:
  using Clock = std::chrono::steady_clock;
  void Run();

  Handle idle_;
  std::mutex lock_;
  std::condition_variable change_;
  Clock::time_point deadline_;
  Clock::time_point wakes_ = Clock::time_point::max();  // when the thread looks again by itself
  void* running_ = nullptr;
  bool cancelAllowed_ = false;
  bool watching_ = false;
  bool cancelled_ = false;
  bool ends_ = false;
  std::thread thread_;
};

}  // namespace tamlo::ado::odbc

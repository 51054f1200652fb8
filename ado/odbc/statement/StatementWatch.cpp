#include "ado/odbc/statement/StatementWatch.h"

#include <string>
#include <system_error>

#include "ado/odbc/driver/NativeHeaders.h"
#include "runtime/Error.h"

namespace tamlo::ado::odbc {
namespace {

/// A statement that had not quite begun is not cancelled by the first attempt.
constexpr auto kAgain = std::chrono::milliseconds(500);
/// No limit, as far as a clock can be asked to wait.
constexpr auto kForever = std::chrono::hours(24 * 365);

}  // namespace

StatementWatch::StatementWatch(void* connection) : idle_(Handle::Kind::kStatement, connection) {
  try {
    thread_ = std::thread([this] { Run(); });
  } catch (const std::system_error& error) {
    throw runtime::Error(runtime::kProviderFailure, "Aucun fil d'exécution n'a pu être créé pour surveiller les instructions.", "odbc")
        .WithDiagnostics({{"", 0, error.what()}});
  }
}

StatementWatch::~StatementWatch() {
  {
    const std::lock_guard guard(lock_);
    ends_ = true;
  }
  change_.notify_all();
  thread_.join();
}

void StatementWatch::Begin(std::int32_t seconds, void* running) {
  bool earlier = false;
  {
    const std::lock_guard guard(lock_);
    deadline_ = Clock::now() + (seconds > 0 ? std::chrono::seconds(seconds) : kForever);
    running_ = running;
    watching_ = true;
    cancelled_ = false;
    earlier = deadline_ < wakes_;
  }
  // Otherwise the thread wakes early enough, and a statement costs no switch between threads.
  if (earlier) change_.notify_all();
}

bool StatementWatch::End() noexcept {
  const std::lock_guard guard(lock_);
  watching_ = false;
  return cancelled_;
}

void StatementWatch::Cancel() noexcept {
  const std::lock_guard guard(lock_);
  if (watching_) SQLCancel(running_ != nullptr ? running_ : idle_.Get());
}

void StatementWatch::Run() {
  std::unique_lock guard(lock_);
  while (!ends_) {
    if (!watching_) {
      wakes_ = Clock::time_point::max();
      change_.wait(guard);
    } else if (Clock::now() < deadline_) {
      wakes_ = deadline_;
      change_.wait_until(guard, wakes_);
    } else {
      // The lock is held: nothing else begins on the connection before the driver has cancelled this one.
      cancelled_ = true;
      SQLCancel(idle_.Get());
      deadline_ = Clock::now() + kAgain;
    }
  }
}

}  // namespace tamlo::ado::odbc

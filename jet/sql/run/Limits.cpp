#include "jet/sql/Limits.h"

#include <sqlite3.h>

#include <atomic>
#include <string>
#include <utility>

#include "jet/sql/Interruption.h"
#include "jet/value/Error.h"

namespace jet::sql {
namespace {

std::atomic<bool> interrupted{false};

}  // namespace

void InterruptStatements(bool wanted) noexcept { interrupted = wanted; }

Budget::Stretch::Stretch(Budget& budget, const StatementLimits& limits, std::chrono::nanoseconds& spent)
    : budget_(budget), spent_(spent), begin_(std::chrono::steady_clock::now()), outermost_(budget.depth_++ == 0) {
  if (!outermost_) return;
  budget_.limits_ = limits;
  budget_.deadline_ = begin_ + std::chrono::seconds(limits.seconds) - spent;
  budget_.memoryBefore_ = sqlite3_memory_used();
  budget_.held_ = 0;
  budget_.passed_ = Passed::kNone;
}

Budget::Stretch::~Stretch() {
  --budget_.depth_;
  if (outermost_) spent_ += std::chrono::steady_clock::now() - begin_;
}

bool Budget::IsUsedUp() noexcept {
  if (depth_ == 0) return false;
  if (interrupted.load(std::memory_order_relaxed)) passed_ = Passed::kTime;
  if (limits_.seconds > 0 && std::chrono::steady_clock::now() > deadline_) passed_ = Passed::kTime;
  if (limits_.megabytes > 0 && sqlite3_memory_used() - memoryBefore_ + held_ > (std::int64_t{limits_.megabytes} << 20))
    passed_ = Passed::kMemory;
  return passed_ != Passed::kNone;
}

void Budget::RaiseIfPassed() {
  switch (std::exchange(passed_, Passed::kNone)) {
    case Passed::kNone:
      return;
    case Passed::kTime:
      if (interrupted) throw Error(ErrorCode::kLimit, "the statement was interrupted");
      throw Error(ErrorCode::kLimit, "the statement takes more than " + std::to_string(limits_.seconds) + " seconds");
    case Passed::kMemory:
      throw Error(ErrorCode::kLimit, "the statement takes more than " + std::to_string(limits_.megabytes) + " MB of memory");
  }
}

void Budget::Hold(std::size_t bytes) {
  held_ += static_cast<std::int64_t>(bytes);
  if (limits_.megabytes > 0 && held_ > (std::int64_t{limits_.megabytes} << 20)) {
    passed_ = Passed::kMemory;
    RaiseIfPassed();
  }
}

void Budget::Require() {
  if (IsUsedUp()) RaiseIfPassed();
}

}  // namespace jet::sql

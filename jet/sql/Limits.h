#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace jet::sql {

/// What a statement may use up; 0 is without limit. What goes beyond is error kLimit: the statement has then changed nothing, and the session
/// is usable.
struct StatementLimits {
  std::int32_t seconds = 0;       ///< of work; the time between two calls does not count for a query
  std::int64_t rows = 0;          ///< that a query gives, also one inside of a change
  std::int32_t megabytes = 1024;  ///< of memory for the evaluation, in the whole process, beyond what is in use when the work begins
};

/// What is left to the statement that is at work. One for each session; statements inside of others share what the outer one has left.
class Budget {
 public:
  /// One stretch of work: the outermost one begins the count.
  class Stretch {
   public:
    /// spent: of the same statement in earlier stretches; it goes on there.
    Stretch(Budget& budget, const StatementLimits& limits, std::chrono::nanoseconds& spent);
    ~Stretch();
    Stretch(const Stretch&) = delete;
    Stretch& operator=(const Stretch&) = delete;

   private:
    Budget& budget_;
    std::chrono::nanoseconds& spent_;
    std::chrono::steady_clock::time_point begin_;
    bool outermost_;
  };

  /// True when more is used up than there was; asked by the evaluator again and again.
  [[nodiscard]] bool IsUsedUp() noexcept;
  /// Error kLimit, saying which limit, when IsUsedUp found one passed. Forgets it.
  void RaiseIfPassed();
  /// The same, asked now.
  void Require();
  /// So many bytes more are kept until the work ends. Error kLimit.
  void Hold(std::size_t bytes);

 private:
  enum class Passed { kNone, kTime, kMemory };
  int depth_ = 0;
  StatementLimits limits_;
  std::chrono::steady_clock::time_point deadline_;
  std::int64_t memoryBefore_ = 0;
  std::int64_t held_ = 0;
  Passed passed_ = Passed::kNone;
};

}  // namespace jet::sql

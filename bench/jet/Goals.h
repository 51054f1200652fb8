#pragma once

#include <chrono>
#include <cstdio>

namespace jet::bench {

using Clock = std::chrono::steady_clock;

inline double Seconds(Clock::time_point since) { return std::chrono::duration<double>(Clock::now() - since).count(); }

/// Prints what was measured against what is wanted, and keeps whether all was reached: the exit status of a bench.
class Goals {
 public:
  void AtLeast(const char* what, double measured, double wanted, const char* unit) {
    Tell(what, measured, ">=", wanted, unit, measured >= wanted);
  }
  void AtMost(const char* what, double measured, double wanted, const char* unit) {
    Tell(what, measured, "<=", wanted, unit, measured <= wanted);
  }
  /// Something could not be measured or went wrong.
  void Missed(const char* why) {
    std::printf("MISSED: %s\n", why);
    missed_ = true;
  }
  [[nodiscard]] int ExitStatus() const { return missed_ ? 1 : 0; }

 private:
  void Tell(const char* what, double measured, const char* relation, double wanted, const char* unit, bool reached) {
    std::printf("%-62s %9.2f %s (wanted %s %g)%s\n", what, measured, unit, relation, wanted, reached ? "" : " MISSED");
    missed_ = missed_ || !reached;
  }
  bool missed_ = false;
};

}  // namespace jet::bench

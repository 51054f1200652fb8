#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "move/Progress.h"

namespace tamlo::cli {

/// Shows on standard error how far a copy is: a line that is written over again on a terminal ("bar"), a line for each table that is complete
/// ("log"), or nothing ("none").
class CopyProgress {
 public:
  explicit CopyProgress(const std::string& form);
  ~CopyProgress();
  CopyProgress(const CopyProgress&) = delete;
  CopyProgress& operator=(const CopyProgress&) = delete;

  void Show(const move::Progress& progress);
  /// Takes the line away, for another one to be written.
  void Clear();

 private:
  using Clock = std::chrono::steady_clock;
  void ShowLine(const move::Progress& progress, double perSecond);

  bool bar_;
  bool log_;
  bool shown_ = false;
  std::size_t place_ = 0;     // of the table at hand
  std::int64_t before_ = 0;   // its rows when this run began with it
  Clock::time_point begun_;   // when
  Clock::time_point last_{};  // when the line was written
};

}  // namespace tamlo::cli

#pragma once

#include <chrono>
#include <cstdint>
#include <map>
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
  /// When this run began with a table, and with how many rows.
  struct Begun {
    std::int64_t rows;
    Clock::time_point at;
  };
  std::map<std::size_t, Begun> begun_;  // by their places
  Clock::time_point last_{};            // when the line was written
};

}  // namespace tamlo::cli

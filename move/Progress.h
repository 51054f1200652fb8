#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "move/Rejects.h"

namespace tamlo::move {

/// How far a copy is.
struct Progress {
  std::string table;      ///< whose rows are on their way; empty while definitions are made
  std::size_t place = 0;  ///< from 1
  std::size_t tables = 0;
  std::int64_t rows = 0;     ///< of the table, in this run or an earlier one
  std::uint64_t ofRows = 0;  ///< that the source said it has
  bool complete = false;     ///< the table is
};

/// What a copy tells and asks while it runs: it tells one thing at a time, from any of its threads.
struct Watch {
  std::function<void(const Progress&)> progress;
  std::function<void(const Refusal&)> refused;
  std::function<bool()> cancelled;  ///< true ends the copy behind the batch at hand
};

}  // namespace tamlo::move

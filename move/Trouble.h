#pragma once

#include <string>
#include <vector>

#include "base/Error.h"

namespace tamlo::move {

/// Why a copy does not begin, or gives up, for a reason that no engine tells.
enum class Trouble {
  kTableExists,      ///< the target has the tables that `what` lists
  kTableMissing,     ///< a copy of rows alone: the target lacks the table
  kColumnMissing,    ///< the table there, the column that it lacks
  kHalfDone,         ///< an earlier copy ended half-way in the target
  kNothingToResume,  ///< none did
  kOtherPlan,        ///< one did, but it was another copy than the one that is asked for
  kTooManyRefused,   ///< how many rows were refused
  kCannotWrite,      ///< a file, and why
};

class CopyError : public base::Error {
 public:
  CopyError(Trouble trouble, std::vector<std::string> about)
      : base::Error(about.empty() ? std::string("copy") : about.front()), trouble_(trouble), about_(std::move(about)) {}
  [[nodiscard]] Trouble Why() const noexcept { return trouble_; }
  /// What the sentence about it names, in the order above.
  [[nodiscard]] const std::vector<std::string>& About() const noexcept { return about_; }

 private:
  Trouble trouble_;
  std::vector<std::string> about_;
};

}  // namespace tamlo::move

#pragma once

#include <span>
#include <string>
#include <vector>

#include "move/Lanes.h"
#include "move/Progress.h"

namespace tamlo::move {

struct TableOutcome {
  std::string name;
  std::string there;
  std::int64_t copied = 0;
  std::int64_t refused = 0;
  std::int64_t counted = -1;  ///< rows that the target says it has; -1 where it was not asked
  bool wasThere = false;      ///< and had rows of its own, maybe
};

struct Outcome {
  std::vector<TableOutcome> tables;
  std::vector<schema::Finding> findings;  ///< beyond those of the plan: what the target refused to make, rows without their parents
  std::int64_t refused = 0;
  bool cancelled = false;  ///< what is there is committed, and the copy can be resumed
  /// Nothing was refused and all numbers agree.
  [[nodiscard]] bool Whole() const;
};

/// Carries out a plan; the rows on all lanes at once, of which the first does everything else. What it has done by the time it ends, however that is, stands in a small table of the target and is committed with it:
/// with Options::resume it goes on from there, and no row is there twice or missing. A copy that is complete takes the table away.
/// An index or a relation that the target refuses for the rows it holds is a finding; the rows stay.
/// Errors: CopyError for what forbids it, with nothing written; runtime::Error, which names the table, for what the engines refuse.
[[nodiscard]] Outcome Run(const Plan& plan, std::span<const Lane> lanes, const Options& options, const Watch& watch = {});

/// After a copy that failed: whether one can go on. True, too, where the target does not answer.
[[nodiscard]] bool CanResume(Target& target);

}  // namespace tamlo::move

#pragma once

#include <atomic>
#include <mutex>

#include "db/pompe/EcritureLignes.h"
#include "move/Lanes.h"
#include "move/Ledger.h"
#include "move/Progress.h"

namespace tamlo::move {

/// What the rows of a whole copy share, whatever lane they take.
struct RowCopy {
  Ledger& ledger;
  RejectFile& rejects;
  const Plan& plan;
  const Options& options;
  const Watch& watch;
  std::atomic<std::int64_t> refused = 0;  ///< so far, of all tables
  std::atomic<bool> failed = false;       ///< on some lane: the others end behind their batch
  std::mutex telling;                     ///< who tells something does so alone
  std::mutex rejecting;                   ///< held from the lines of refused rows to the commit of the batch that they are of
};

/// Brings the rows of one table that are not there yet. False when it was cancelled, or a lane failed; what is there is committed and noted.
/// Errors: runtime::Error that names the table; CopyError with kTooManyRefused.
[[nodiscard]] bool CopyRows(RowCopy& copy, const Lane& lane, std::size_t table);

/// Where the rows of a table go, and how they are read for it.
[[nodiscard]] db::pompe::CibleLignes TargetOf(Target& there, const PlannedTable& table);
[[nodiscard]] db::pompe::Lecture ReadingOf(const schema::Dialect& there, const PlannedTable& table);

}  // namespace tamlo::move

#pragma once

#include "move/Ledger.h"
#include "move/Progress.h"
#include "move/Source.h"

namespace tamlo::move {

/// What the rows of a whole copy share.
struct RowCopy {
  const Source& source;
  Target& target;
  Ledger& ledger;
  RejectFile& rejects;
  const Plan& plan;
  const Options& options;
  const Watch& watch;
  std::int64_t refused = 0;  ///< so far, of all tables
};

/// Brings the rows of one table that are not there yet. False when it was cancelled; what is there is committed and noted. Errors:
/// runtime::Error that names the table; CopyError with kTooManyRefused.
[[nodiscard]] bool CopyRows(RowCopy& copy, std::size_t table);

}  // namespace tamlo::move

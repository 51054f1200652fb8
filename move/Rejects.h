#pragma once

#include <cstdint>
#include <string>

#include "db/pompe/PompeParLots.h"
#include "move/Plan.h"

namespace tamlo::move {

/// A row that the target refused, for people.
struct Refusal {
  std::string table;
  std::int64_t row = 0;  ///< in the source's order, from 1
  std::string column;    ///< empty where nobody tells it
  std::string value;     ///< the beginning of what stands in that column
  std::string reason;    ///< as the engine or its driver says it
};

[[nodiscard]] Refusal Explain(const PlannedTable& table, const db::pompe::LigneRefusee& refused);

/// The file of refused rows: one JSON object a line with table, row, column, reason and all values as texts. Lines are held back until Commit,
/// so that it tells what the target holds. Error of all operations: CopyError with kCannotWrite.
class RejectFile {
 public:
  /// Without a name nothing is written. What stands behind keep bytes was written for rows that never came: it goes.
  RejectFile(std::string path, std::uint64_t keep);

  void Add(const PlannedTable& table, const Refusal& refusal, const db::pompe::LigneSource& row);
  /// Writes what is held back; the size of the file with it.
  std::uint64_t Commit();
  /// Forgets what is held back.
  void Forget() { held_.clear(); }

 private:
  std::string path_;
  std::string held_;
  std::uint64_t bytes_;
};

}  // namespace tamlo::move

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

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

/// A refused row as the file of refused rows has it: a JSON object on one line, with table, row, column, reason and all values as texts.
[[nodiscard]] std::string RejectLine(const PlannedTable& table, const Refusal& refusal, const db::pompe::LigneSource& row);

/// The file of refused rows. It tells what the target holds: lines are written with the batch that they are of, and go when it did not come.
/// Error of all operations: CopyError with kCannotWrite.
class RejectFile {
 public:
  /// Without a name nothing is written. What stands behind keep bytes was written for rows that never came: it goes.
  RejectFile(std::string path, std::uint64_t keep);

  [[nodiscard]] bool IsWanted() const noexcept { return !path_.empty(); }
  /// Writes the lines; the size of the file with them.
  std::uint64_t Append(std::string_view lines);

 private:
  std::string path_;
  std::uint64_t bytes_;
};

}  // namespace tamlo::move

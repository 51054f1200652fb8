#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace tamlo::move {

/// What becomes of a table that the target has already.
enum class IfExists : std::uint8_t {
  kFail,     ///< nothing is written at all
  kAppend,   ///< it stays as it is, and the rows come behind its own
  kReplace,  ///< it is dropped first
};

enum class Parts : std::uint8_t { kAll, kSchemaOnly, kDataOnly };

struct Options {
  std::function<bool(const std::string&)> wanted;  ///< whether a table of that name is to be copied; empty: all of them
  bool others = true;                              ///< stored queries and links are copied too, where the target takes them
  Parts parts = Parts::kAll;
  IfExists ifExists = IfExists::kFail;
  std::int64_t batch = 20000;       ///< rows that are written and committed together
  std::int64_t mostRefused = 1000;  ///< rows that may be refused before the copy gives up
  std::string rejectFile;           ///< where refused rows go; empty: they are only told
  bool resume = false;              ///< goes on where an earlier copy ended
  bool verifyCounts = true;         ///< compares the numbers of rows at the end
};

}  // namespace tamlo::move

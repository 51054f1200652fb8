#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/Source.h"

namespace tamlo::cli {

/// What a column of a server, or of an SQLite file, holds exactly: so that a value that it would round, cut or pad is known before it goes there.
struct ServerColumn {
  enum class Takes : std::uint8_t {
    kTruth,
    kWhole,
    kDecimal,
    kSingle,
    kDouble,
    kMoment,
    kDay,
    kTime,
    kText,
    kBytes,
    kGuid,
    kOther,    ///< the engine's own, which goes there as a text for the engine to judge
    kNothing,  ///< nothing that could be said to arrive as it is
  };
  std::string name;
  std::string declared;  ///< as the engine spells it
  Takes takes = Takes::kOther;
  bool numberToo = false;           ///< of kTruth: it is a small number in truth
  bool fixed = false;               ///< of texts: blanks at the end do not count; of bytes: `length` of them and no fewer
  std::optional<int> length;        ///< characters of a text, bytes
  std::optional<int> whole;         ///< of kDecimal: digits in front of the point
  std::optional<int> scale;         ///< of numbers: digits behind it
  std::optional<int> digits;        ///< of kDecimal: digits in all that count
  int fraction = 6;                 ///< of moments and times: digits behind the second
  std::int64_t least = INT64_MIN;   ///< of kWhole
  std::uint64_t most = INT64_MAX;   ///< of kWhole
  std::vector<std::string> labels;  ///< of kOther: these alone
  bool several = false;             ///< of labels: with commas between them, in their order
  bool numeric = false;             ///< of kOther: SQLite makes numbers of texts that look like some
};

/// The columns of a table, in their order. Errors: runtime::Error.
[[nodiscard]] std::vector<ServerColumn> ServerColumns(ado::Connection& connection, std::optional<schema::Engine> engine,
                                                      const std::string& table);

}  // namespace tamlo::cli

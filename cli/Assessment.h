#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/Source.h"
#include "schema/Ddl.h"

/// What a move to another engine would lose, found before it.
namespace tamlo::cli {

/// What a value loses there.
enum class Loss {
  kFinerThanMilliseconds,
  kNoDay,         ///< a number that is no day of the years 100 to 9999
  kNotANumber,    ///< NaN where the engine has none
  kInfinite,      ///< the same of the infinities
  kNegativeZero,  ///< becomes 0
  kNul,           ///< a character 0 inside of a text
  kEmptyText,     ///< is null there
  kEqualKeys,     ///< texts of a unique index that are equal there
  kNoParent,      ///< a text that refers to one that is not equal there
  kTooLong,       ///< a text or bytes longer than the column there
  kOutOfRange,    ///< a number beyond the column there
  kOtherType,     ///< none of the column's type, as SQLite lets stand
  kRowSize,       ///< a row that is too long there
};

inline constexpr std::size_t kKindsOfLoss = 13;

/// For programs: a short name that stays as it is.
[[nodiscard]] std::string_view KeyOf(Loss loss);

/// Values of one column that lose the same.
struct Sighting {
  std::string table;
  std::string column;  ///< of several, with commas between them
  Loss loss = Loss::kNul;
  std::uint64_t rows = 0;
  std::string example;  ///< the beginning of the first one
};

struct TableSize {
  std::string name;
  std::uint64_t rows = 0;
  std::uint64_t bytes = 0;  ///< of the values, texts as UTF-8
};

struct Assessment {
  std::string source;                       ///< as the user named it
  const schema::Dialect* engine = nullptr;  ///< the target
  std::vector<TableSize> tables;
  std::vector<schema::Renaming> renamings;  ///< nothing is lost by them
  std::vector<schema::Finding> findings;    ///< of the definitions
  std::vector<Sighting> sightings;          ///< of the rows
  [[nodiscard]] bool LosesNothing() const noexcept { return findings.empty() && sightings.empty(); }
};

/// Reads all definitions and all rows, of a file or a server. Errors: those of the engine; Failure that names table and row.
[[nodiscard]] Assessment Assess(Opened& opened, const schema::Dialect& engine);

/// What is lost, in the user's words.
[[nodiscard]] std::string LossText(const Sighting& sighting, const schema::Dialect& engine);

/// For a terminal; a page that needs no other file; for programs.
[[nodiscard]] std::string AsText(const Assessment& assessment);
[[nodiscard]] std::string AsHtml(const Assessment& assessment);
[[nodiscard]] std::string AsJson(const Assessment& assessment);

}  // namespace tamlo::cli

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tamlo::cli {

/// One value of a text file.
struct Cell {
  enum class Kind {
    kNull,
    kBare,   ///< may be of any type
    kText,   ///< is a text and nothing else
    kTruth,  ///< "true" or "false"
  };
  Kind kind = Kind::kNull;
  std::string text;
};

/// Rows of a text file, one after another. Errors of all operations: Failure, naming file and line.
class Records {
 public:
  virtual ~Records() = default;
  /// The names that the file gives to its columns.
  [[nodiscard]] virtual const std::vector<std::string>& Header() const = 0;
  /// As many cells as the header has; false behind the last row.
  virtual bool Next(std::vector<Cell>& cells) = 0;
  /// The line on which the row begins, from 1.
  [[nodiscard]] virtual std::int64_t Line() const = 0;
};

struct RecordOptions {
  std::string format;  ///< csv, tsv or jsonl
  std::string encoding = "utf-8";
  char delimiter = '\0';  ///< of csv and tsv; 0: the format's own
  std::string null;       ///< the text without quotes that is null
};

/// Values between commas (or another delimiter) as RFC 4180 has them: a quote stands in front and at the end, twice inside. The first row
/// names the columns. Rows of another length than it, quotes in the middle of a value and behind its end, and quotes that do not end are refused.
[[nodiscard]] std::unique_ptr<Records> OpenDelimited(const std::string& path, const RecordOptions& options);
/// One object a line; the columns are the names of all of them, in the order in which they are first met. Values that are objects or lists
/// are refused.
[[nodiscard]] std::unique_ptr<Records> OpenJsonLines(const std::string& path, const RecordOptions& options);
/// By RecordOptions::format.
[[nodiscard]] std::unique_ptr<Records> OpenRecords(const std::string& path, const RecordOptions& options);

}  // namespace tamlo::cli

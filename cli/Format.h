#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cli/Output.h"
#include "jet/value/Value.h"

namespace tamlo::cli {

/// How values are spelled.
struct Spelling {
  std::string null;
  std::string yes = "1";
  std::string no = "0";
  bool base64 = false;  ///< bytes; else hexadecimal digits
};

/// Writes rows in one form. A null, an empty text and a text that looks like either can be told apart in all forms but that for people.
class RowFormat {
 public:
  virtual ~RowFormat() = default;
  virtual void Begin(const std::string& table, const std::vector<std::string>& columns) = 0;
  virtual void Row(const std::vector<jet::Value>& values) = 0;
  /// After the last row of the table.
  virtual void End() = 0;
  /// Whether days without a time are to come as moments, not as texts.
  [[nodiscard]] virtual bool WantsMoments() const { return false; }
};

/// "csv", "tsv", "json", "jsonl", "sql" or "table". Null for any other.
[[nodiscard]] std::unique_ptr<RowFormat> FormatNamed(const std::string& name, Output& output, const Spelling& spelling);

/// Appends the value as plain text: numbers with ".", amounts with four decimals, days as YYYY-MM-DD HH:MM:SS with milliseconds where there
/// are some. Null appends Spelling::null.
void AppendPlain(std::string& text, const jet::Value& value, const Spelling& spelling);
/// Appends the value as JSON.
void AppendJson(std::string& text, const jet::Value& value, const Spelling& spelling);
/// Appends the text between quotes as JSON has them.
void AppendJsonText(std::string& text, std::string_view value);

}  // namespace tamlo::cli

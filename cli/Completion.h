#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/LineReader.h"
#include "cli/Source.h"
#include "cli/StatementText.h"
#include "schema/Model.h"

namespace tamlo::cli {

/// What may stand where a person types a statement: names of the database, read at first need, and words of SQL. opened must outlive it.
class Completion {
 public:
  explicit Completion(Opened& opened) : opened_(opened) {}
  /// before: the line up to the cursor; begun: the statement's earlier lines. A database that cannot be read gives words alone.
  [[nodiscard]] LineReader::Completion At(std::string_view before, const StatementText& begun);
  /// The definitions may be others now.
  void Forget() { known_.reset(); }

 private:
  [[nodiscard]] const schema::Database& Known();
  [[nodiscard]] std::vector<std::string> Columns(std::string_view owner, std::string_view statement);
  [[nodiscard]] std::vector<std::string> AnyName(const std::string& statement, bool begun);
  void AddTables(std::vector<std::string>& names);
  void AddColumns(const std::vector<std::string>& tables, std::vector<std::string>& names);

  Opened& opened_;
  std::optional<schema::Database> known_;
};

}  // namespace tamlo::cli

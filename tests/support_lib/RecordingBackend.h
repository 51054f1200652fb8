#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support_lib/RecordingProvider.h"

namespace tamlo::tests {

/// The script and the record behind a RecordingProvider, shared with the connections opened on it.
struct RecordingProvider::Backend {
  struct Failure {
    std::string text;
    bool prefix = false;
    std::int32_t number = 0;
    std::string description;
    int times = -1;
    std::int32_t native = 0;  // with it, what a server tells of its own
    std::string sqlState = "HY000";
  };
  using Failures = std::vector<Failure>;

  void Record(RecordedCall call) {
    calls.push_back(std::move(call));
    if (onCall) onCall(calls.back());
  }
  void Record(RecordedCall::Kind kind, const std::string& text);
  /// Raises the first scripted failure that meets the text and has times left.
  static void RaiseScripted(Failures& failures, const std::string& text);

  [[nodiscard]] ScriptedTable* Find(const std::string& name) const;
  /// Error when there is none.
  [[nodiscard]] ScriptedTable& Existing(const std::string& name) const;
  /// Applies what a CREATE TABLE or DROP TABLE says to the tables.
  void Apply(const std::string& statement);

  std::map<std::string, std::shared_ptr<ScriptedResult>> answers;
  std::map<std::string, std::shared_ptr<ScriptedResult>> prefixAnswers;
  Failures statementFailures;
  Failures openFailures;
  Failures writeFailures;
  Failures readFailures;
  Failures rollbackFailures;
  std::vector<std::shared_ptr<ScriptedTable>> tables;
  std::map<std::string, runtime::Variant> properties;
  std::vector<RecordedCall> calls;
  std::function<void(const RecordedCall&)> onCall;
  int transactionLevel = 0;
  /// The rows of all tables when each open transaction was begun: a rollback brings them back. Definitions stay.
  std::vector<std::vector<std::pair<std::shared_ptr<ScriptedTable>, std::vector<std::vector<runtime::Variant>>>>> rowsBefore;
  bool seek = false;
  bool update = true;
};

/// Takes a possibly quoted name ([x], "x", `x`, x, with an owner before it) off the front of text.
[[nodiscard]] std::string TakeName(std::string_view& text);
/// The table that "SELECT [TOP n] * FROM name [ORDER BY ...]" reads, or an empty text for any other statement.
[[nodiscard]] std::string WholeTableOf(const std::string& statement);
/// The statement without " WHERE [TABLE]='...'" at its end, by which readers of the catalog narrow their reading: they get all rows.
[[nodiscard]] std::string WithoutTableFilter(const std::string& statement);
/// The definition that a CREATE TABLE statement describes; types are read by their first word.
[[nodiscard]] ScriptedTable ParseCreateTable(std::string_view afterKeyword);

/// A connection to the backend.
[[nodiscard]] std::unique_ptr<ado::ProviderConnection> ConnectTo(const std::shared_ptr<RecordingProvider::Backend>& backend,
                                                                 const ado::OpenRequest& request);

}  // namespace tamlo::tests

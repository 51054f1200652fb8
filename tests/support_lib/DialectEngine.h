#pragma once

#include <cstdint>
#include <string>

#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {

/// A database in memory that executes one of the dialects for which there is no server on a test machine, reached through ODBC by the data
/// source named after the provider ("sqloledb", "OraOLEDB.Oracle"). The process gets an odbc.ini of its own for that. One object per dialect
/// at a time; the process behind it ends with it, and also when the program dies. An engine that does not start is an exception.
class DialectEngine {
 public:
  enum class Dialect { kSqlServer, kOracle };

  explicit DialectEngine(Dialect dialect);
  ~DialectEngine();
  DialectEngine(const DialectEngine&) = delete;
  DialectEngine& operator=(const DialectEngine&) = delete;

  /// Empties the database. No connection may be in the middle of a statement; connections opened before are not to be used again.
  void Reset();
  /// Ends the engine at once, in the middle of whatever it does.
  void Kill() noexcept;

  /// Login of the data source.
  [[nodiscard]] std::string User() const { return dialect_ == Dialect::kOracle ? "ADM" : "sa"; }
  [[nodiscard]] std::string Password() const { return dialect_ == Dialect::kOracle ? "adm" : "sa"; }
  [[nodiscard]] int Port() const noexcept { return port_; }

  /// Checks every statement that the engine was sent so far against the dialect's grammar. Empty when all read well; else one line for each
  /// that does not. Statements that the real server refuses too, and tests expect to be refused, are named in grammar/expected.json.
  [[nodiscard]] std::string CheckGrammar() const;

 private:
  void Start();
  void WriteDataSource() const;
  [[nodiscard]] std::string ReadLine();

  Dialect dialect_;
  TemporaryFolder folder_;
  int process_ = 0;
  int toEngine_ = -1;
  int fromEngine_ = -1;
  int port_ = 0;
};

}  // namespace tamlo::tests

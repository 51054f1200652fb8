#pragma once

#include <memory>
#include <string>

#include "cli/Format.h"
#include "cli/Source.h"
#include "jet/sql/Session.h"

namespace tamlo::cli {

/// What a statement has done.
struct StatementResult {
  bool gaveRows = false;
  std::int64_t rows = -1;    ///< that it gave or changed; -1 where nobody knows
  bool interrupted = false;  ///< by Ctrl-C: nothing more is known of it
};

/// Runs statements on an open database, one after another; each is kept as soon as it is done, unless the statements themselves begin a
/// transaction. opened must outlive it.
class Statements {
 public:
  /// access: what it was opened for. Where Ctrl-C is to end a statement that runs, there must be Interrupts.
  Statements(Opened& opened, Access access, bool interruptible);
  ~Statements();
  Statements(const Statements&) = delete;
  Statements& operator=(const Statements&) = delete;

  /// Writes the rows of a statement in a form that calls them name. Failure with kFailed, in one line, for what is refused.
  StatementResult Run(const std::string& sql, const std::string& name, RowFormat& format);

 private:
  StatementResult RunInFile(const std::string& sql, const std::string& name, RowFormat& format);
  StatementResult RunOnServer(const std::string& sql, const std::string& name, RowFormat& format);

  Opened& opened_;
  Access access_;
  bool interruptible_;
  std::unique_ptr<jet::sql::Session> session_;  // Access files
};

}  // namespace tamlo::cli

#pragma once

#include <memory>
#include <string>

#include "cli/Format.h"
#include "cli/Given.h"
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

  /// Values for the parameters of the statements to come; must outlive this. all: each statement has to have all of them.
  void Parameters(Given& given, bool all) noexcept {
    given_ = &given;
    all_ = all;
  }
  /// Writes the rows of a statement in a form that calls them name. Failure with kFailed, in one line, for what is refused.
  StatementResult Run(const std::string& sql, const std::string& name, RowFormat& format);

 private:
  StatementResult RunInFile(const std::string& sql, const std::string& name, RowFormat& format);
  [[nodiscard]] std::unique_ptr<jet::sql::Query> OpenInFile(const std::string& sql, std::int64_t& affected, bool asNumbers);
  [[nodiscard]] ado::Recordset OpenOnServer(const std::string& sql, std::int64_t& affected);
  StatementResult RunOnServer(const std::string& sql, const std::string& name, RowFormat& format);

  Opened& opened_;
  Access access_;
  bool interruptible_;
  Given none_;
  bool all_ = false;
  Given* given_ = &none_;
  std::unique_ptr<jet::sql::Session> session_;  // Access files
};

}  // namespace tamlo::cli

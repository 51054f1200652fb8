#pragma once

#include <memory>
#include <string>

#include "tests/cli/Command.h"
#include "tests/move/Cells.h"
#include "tests/support_lib/MariaDbServer.h"
#include "tests/support_lib/PostgresServer.h"

namespace tamlo::tests {

/// An engine as the target of a copy, read by its own client.
class TargetEngine {
 public:
  virtual ~TargetEngine() = default;
  /// Its name on the command's line.
  [[nodiscard]] virtual std::string Name() const = 0;
  virtual void Empty() = 0;
  /// What its client prints of statements, a line a row, NULL empty.
  virtual Ran Ask(const std::string& statements) = 0;
  /// All rows of a table: truth values as 1 and 0, bytes in hexadecimal digits.
  virtual Rows RowsOf(const std::string& table, const std::string& order = {}) = 0;
  [[nodiscard]] virtual std::string Quoted(const std::string& name) const { return '"' + name + '"'; }
  [[nodiscard]] virtual PrivateServer* Server() { return nullptr; }

  const TemporaryFolder folder;
};

/// "sqlite", "mariadb" or "postgresql".
std::unique_ptr<TargetEngine> EngineCalled(const std::string& name);

}  // namespace tamlo::tests

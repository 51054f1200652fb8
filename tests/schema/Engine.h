#pragma once

#include <memory>
#include <string>

#include "ado/Connection.h"
#include "schema/Address.h"
#include "tests/cli/Command.h"
#include "tests/support_lib/MariaDbServer.h"
#include "tests/support_lib/PostgresServer.h"

namespace tamlo::tests {

/// One of the engines, with the client that its makers give.
class Engine {
 public:
  /// "mariadb", "postgresql" or "sqlite".
  explicit Engine(const std::string& name);

  [[nodiscard]] const schema::Dialect& Dialect() const { return *schema::FindDialect(name_); }
  /// Makes the database empty.
  void Empty();
  /// Has the client run the statements; it stops at the first error.
  Ran Client(const std::string& sql);
  /// The database's name for tamlo-db. The password of servers is "tamlo".
  [[nodiscard]] std::string Url() const;
  [[nodiscard]] std::unique_ptr<ado::Connection> Connect() const;
  [[nodiscard]] const TemporaryFolder& Folder() const { return folder_; }

 private:
  std::string name_;
  TemporaryFolder folder_;
  std::unique_ptr<MariaDbServer> maria_;
  std::unique_ptr<PostgresServer> postgres_;
};

}  // namespace tamlo::tests

#pragma once

#include <string>

#include "tests/support_lib/PrivateServer.h"

namespace tamlo::tests {

/// A PostgreSQL server with a database "tamlo" and its owner "tamlo", password "tamlo".
class PostgresServer : public PrivateServer {
 public:
  PostgresServer() : PrivateServer("postgres.sh") {}

  /// A connection string without user and password.
  [[nodiscard]] std::string ConnectionString(const std::string& database = "tamlo") const {
    return "DRIVER={PostgreSQL Unicode};SERVERNAME=" + Folder() + ";PORT=5432;DATABASE=" + database + ";BoolsAsChar=0;MaxVarcharSize=8190";
  }
};

}  // namespace tamlo::tests

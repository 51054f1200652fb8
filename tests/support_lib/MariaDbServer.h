#pragma once

#include <string>

#include "tests/support_lib/PrivateServer.h"

namespace tamlo::tests {

/// A MariaDB server with a database "tamlo" and a user "tamlo", password "tamlo", who may do everything.
class MariaDbServer : public PrivateServer {
 public:
  MariaDbServer() : PrivateServer("mariadb.sh") {}

  [[nodiscard]] std::string Socket() const { return Folder() + "/s"; }
  /// A connection string without user and password.
  [[nodiscard]] std::string ConnectionString(const std::string& database = "tamlo") const {
    return "DRIVER={MariaDB Unicode};SOCKET=" + Socket() + ";DATABASE=" + database + ";CHARSET=utf8mb4";
  }
};

}  // namespace tamlo::tests

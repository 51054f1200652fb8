#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ado/Provider.h"
#include "ado/Types.h"

namespace tamlo::ado {

class Connection;
struct RecordsetState;

/// What reaches into a provider's connection besides recordsets (catalogs, bulk inserts, prepared commands): told before the connection goes,
/// so that it lets go of what lies below it. Whoever is told takes itself out of ConnectionState::dependents.
class Dependent {
 public:
  Dependent() = default;
  Dependent(const Dependent&) = delete;
  Dependent& operator=(const Dependent&) = delete;
  virtual void ConnectionCloses() noexcept = 0;

 protected:
  ~Dependent() = default;
};

/// What a Connection and the recordsets and catalogs opened on it share. Lives as long as the last of them.
struct ConnectionState {
  ConnectionState() = default;
  ConnectionState(const ConnectionState&) = delete;
  ConnectionState& operator=(const ConnectionState&) = delete;
  ~ConnectionState();

  Connection* owner = nullptr;  ///< null once the Connection is gone
  std::string provider = "MSDASQL";
  std::string connectionString;
  std::string userId;
  std::string password;
  bool registeredOnly = false;
  bool generalNumbers = false;
  std::int32_t connectionTimeout = 15;
  std::int32_t commandTimeout = 30;
  CursorLocation cursorLocation = adUseServer;
  std::unique_ptr<ProviderConnection> native;  ///< null when closed
  std::vector<RecordsetState*> recordsets;     ///< the open ones; not owned
  std::vector<Dependent*> dependents;          ///< the others; not owned
  bool rollbackRefused = false;                ///< the last attempt to end a transaction was a rollback that failed

  /// The provider's connection; error number when closed.
  [[nodiscard]] ProviderConnection& Native(std::int32_t errorNumber) const;
  /// Closes the recordsets, then the connection. Nothing when closed already.
  void Close() noexcept;
};

}  // namespace tamlo::ado

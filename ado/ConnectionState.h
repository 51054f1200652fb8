#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ado/Provider.h"
#include "ado/Types.h"

namespace tamlo::ado {

struct RecordsetState;

/// What a Connection and the recordsets and catalogs opened on it share. Lives as long as the last of them.
struct ConnectionState {
  ConnectionState() = default;
  ConnectionState(const ConnectionState&) = delete;
  ConnectionState& operator=(const ConnectionState&) = delete;
  ~ConnectionState();

  std::string provider = "MSDASQL";
  std::string connectionString;
  std::string userId;
  std::string password;
  bool registeredOnly = false;
  std::int32_t connectionTimeout = 15;
  std::int32_t commandTimeout = 30;
  CursorLocation cursorLocation = adUseServer;
  std::unique_ptr<ProviderConnection> native;  ///< null when closed
  std::vector<RecordsetState*> recordsets;     ///< the open ones; not owned
  bool rollbackRefused = false;                ///< the last attempt to end a transaction was a rollback that failed

  /// The provider's connection; error number when closed.
  [[nodiscard]] ProviderConnection& Native(std::int32_t errorNumber) const;
  /// Closes the recordsets, then the connection. Nothing when closed already.
  void Close() noexcept;
};

}  // namespace tamlo::ado

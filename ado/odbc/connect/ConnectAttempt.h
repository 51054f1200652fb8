#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ado/odbc/driver/Handle.h"
#include "ado/odbc/facts/DriverFacts.h"
#include "runtime/Error.h"

namespace tamlo::ado::odbc {

/// What became of an attempt to connect.
struct ConnectOutcome {
  Handle connection;  ///< connected where connected is true
  bool connected = false;
  DriverFacts facts;                         ///< of the driver, where connected
  std::vector<runtime::Diagnostic> records;  ///< of a refusal, in the driver's order; empty where it said nothing
};

/// Connects and learns of the driver. Drivers are told the limit, but MariaDB's (3.1.15) does not heed it while the server says nothing: the
/// work is done by a thread of its own, which is left to itself when the time is over. It then owns all that it touches, and disconnects
/// should it come to an end. timeoutSeconds 0 is without limit and without a thread. A time that is over gives a record with the SQLSTATE
/// HYT00. The text must be no longer than kLongestConnectionText.
[[nodiscard]] ConnectOutcome TryToConnect(const std::string& connectionText, std::int32_t timeoutSeconds);

/// Bytes of a connection text. The driver manager counts in 16 bits with a sign, and hands texts to narrow drivers as bytes: what is longer
/// loses its end, and with it the login.
inline constexpr std::size_t kLongestConnectionText = 32766;

}  // namespace tamlo::ado::odbc

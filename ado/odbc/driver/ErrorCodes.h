#pragma once

#include <cstdint>

namespace tamlo::ado::odbc {

/// What a backend's own code of an error says, where the SQLSTATE beside it does not.
enum class CodeMeaning : std::uint8_t {
  kDuplicateKey = 1,    ///< with the state 23000
  kRights = 2,          ///< something that the login may not do
  kConnectionLost = 4,  ///< nothing more is heard on the connection
  kLockTimeout = 8,     ///< another one held what was wanted for too long
  kBeyondTheRow = 16    ///< not of one row's values: the next row would meet the same
};

/// Whether the code means that on any of the backends that are known. Codes of different backends that are the same number are not told apart.
[[nodiscard]] bool Means(std::int32_t code, CodeMeaning meaning) noexcept;

}  // namespace tamlo::ado::odbc

#pragma once

#include <cstdint>
#include <string>

namespace tamlo::ado::odbc {

/// What a driver answers about itself. Asked for only where the answer makes a difference.
class DriverAnswers {
 public:
  enum class Question { kProduct, kVersion, kDriver, kQuote, kPatternEscape, kDatabase, kCharacterSet };

  virtual ~DriverAnswers() = default;
  /// Empty where the driver does not answer.
  [[nodiscard]] virtual std::string Text(Question which) const = 0;
  /// The bits of SQL_GETDATA_EXTENSIONS; 0 where the driver does not answer.
  [[nodiscard]] virtual std::uint32_t Reads() const = 0;
  /// Whether the server, asked by a statement, says that the connection has a database.
  [[nodiscard]] virtual bool HasDatabase() const = 0;
};

}  // namespace tamlo::ado::odbc

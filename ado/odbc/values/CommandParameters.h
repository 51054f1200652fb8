#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "ado/Command.h"
#include "ado/odbc/facts/DriverFacts.h"
#include "ado/odbc/statement/Statement.h"
#include "ado/odbc/values/ParameterSet.h"

namespace tamlo::ado::odbc {

/// A statement whose texts travel beside it where the driver would not keep them: literals with characters beyond the 16-bit plane.
class BoundTexts {
 public:
  BoundTexts() = default;
  BoundTexts(std::string_view text, const DriverFacts& facts);
  [[nodiscard]] const std::string& Sql() const noexcept { return sql_; }
  [[nodiscard]] bool NeedsNone() const noexcept { return literals_.empty(); }
  /// Binds the literals and the caller's values, each at its mark. Errors: -2147467259 when there are not as many values as marks; those of
  /// Encode. The statement must have been prepared.
  void AddTo(ParameterSet& set, Statement& statement, std::span<const ado::Parameter> parameters, const DriverFacts& facts) const;

 private:
  std::string sql_;
  std::vector<std::string> literals_;
  std::vector<std::size_t> marksBefore_;
};

/// Bytes of a text that goes as a short one.
constexpr std::size_t kLongestShortText = 4000;

/// How many values a prepared statement wants; nothing where the driver does not tell.
[[nodiscard]] std::optional<std::size_t> MarksOf(Statement& statement);

}  // namespace tamlo::ado::odbc

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ado/Connection.h"

namespace tamlo::schema {

/// A row of an answer, each value as text; nothing for null. Truth values are "1" and "0".
class Answer {
 public:
  explicit Answer(std::vector<std::optional<std::string>> values) : values_(std::move(values)) {}
  /// The text; empty for null.
  [[nodiscard]] const std::string& operator[](std::size_t place) const;
  [[nodiscard]] bool IsNull(std::size_t place) const { return !values_.at(place); }
  /// The whole number; 0 for null and for what is none.
  [[nodiscard]] std::int64_t Number(std::size_t place) const;
  /// True for "1", "YES", "t" and "true" in whatever case.
  [[nodiscard]] bool Truth(std::size_t place) const;

 private:
  std::vector<std::optional<std::string>> values_;
};

/// The rows of a query, all of them at once: for catalogs, not for tables. Errors: runtime::Error.
[[nodiscard]] std::vector<Answer> Ask(ado::Connection& connection, const std::string& sql);

}  // namespace tamlo::schema

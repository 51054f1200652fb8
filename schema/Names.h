#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>

#include "schema/Dialect.h"

namespace tamlo::schema {

/// Names of one space (tables of a database, columns of a table, indexes...) on an engine: each name of the source has one there, no two have
/// the same without regard to case.
class Names {
 public:
  explicit Names(const Dialect& dialect) : dialect_(dialect) {}
  /// Nobody else may have that name.
  void Reserve(std::string_view name);
  /// The name that the wish becomes: itself, or shortened to the engine's limit at a whole character, or with "_2", "_3"... behind where it is
  /// taken. Blanks at its end go where the engine does not take them.
  [[nodiscard]] std::string Take(std::string_view wish);

 private:
  [[nodiscard]] std::string Fitted(std::string_view name, std::string_view behind) const;

  const Dialect& dialect_;
  std::set<std::string> taken_;  ///< folded
};

}  // namespace tamlo::schema

#pragma once

#include <string>
#include <string_view>

namespace tamlo::schema {

/// A type as a server spells it, "character varying(50)", as its name and what stands between the parentheses.
struct DeclaredType {
  std::string full;
  std::string name;  ///< what stands before the parentheses and behind them
  int first = 0, second = 0;
  bool sized = false;
  explicit DeclaredType(std::string_view text);
};

}  // namespace tamlo::schema

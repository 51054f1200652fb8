#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/CellValues.h"

namespace tamlo::cli {

/// Finds the narrowest type that all values of a column have: the one under which each is written again as it stands in the file. Leading
/// zeros, "+5" and "1,5" are therefore texts.
class TypeGuess {
 public:
  explicit TypeGuess(const Reading& reading) : reading_(reading) {}
  void See(const Cell& cell);
  /// The column of that name. Without any value it is a text.
  [[nodiscard]] jet::ColumnDef Column(const std::string& name) const;

 private:
  void SeeDecimal(const std::string& text);

  const Reading& reading_;
  bool any_ = false;
  bool truth_ = true;
  bool whole_ = true;
  bool decimal_ = true;
  bool real_ = true;
  bool moment_ = true;
  bool guid_ = true;
  int scale_ = -1;
  int digits_ = 0;
  std::size_t length_ = 0;
};

/// A type as a person writes it: boolean, byte, integer, long, counter, single, double, currency, decimal(p,s), date, text(n), memo, binary(n),
/// ole, guid. Nothing for any other text.
[[nodiscard]] std::optional<jet::ColumnDef> TypeNamed(std::string_view text);

/// "Name=type,Name=type", in the order in which they stand. Failure with kUsage for anything else.
[[nodiscard]] std::vector<jet::ColumnDef> ReadTypes(const std::string& text);

}  // namespace tamlo::cli

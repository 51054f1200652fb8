#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/CellValues.h"

namespace tamlo::cli {

/// How large the types may be that a person gives.
struct TypeLimits {
  int text = 255;    ///< characters
  int binary = 510;  ///< bytes
  int digits = 28;
  bool big = false;  ///< whether there are numbers of 64 bits
};

/// A column of a table that is to be made.
struct WantedColumn {
  jet::ColumnDef column;
  bool big = false;  ///< of 64 bits, which `column` has as a decimal
};

/// Finds the narrowest type that all values of a column have: the one under which each is written again as it stands in the file. Leading
/// zeros, "+5" and "1,5" are therefore texts.
class TypeGuess {
 public:
  explicit TypeGuess(const Reading& reading) : reading_(reading) {}
  void See(const Cell& cell);
  /// The column of that name. Without any value it is a text. big: whole numbers beyond 32 bits have 64.
  [[nodiscard]] WantedColumn Column(const std::string& name, bool big) const;

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

/// A type as a person writes it: boolean, byte, integer, long, big, counter, single, double, currency, decimal(p,s), date, text(n), memo,
/// binary(n), ole, guid. Nothing for any other text.
[[nodiscard]] std::optional<WantedColumn> TypeNamed(std::string_view text, const TypeLimits& limits);

/// "Name=type,Name=type", in the order in which they stand. Failure with kUsage for anything else.
[[nodiscard]] std::vector<WantedColumn> ReadTypes(const std::string& text, const TypeLimits& limits);

}  // namespace tamlo::cli
